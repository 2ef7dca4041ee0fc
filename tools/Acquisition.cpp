#include "tools/Acquisition.h"

#include "tools/InfoQuery.h"
#include "tools/ToolError.h"

namespace lmmocktl {

Acquisition::Acquisition(const GenTLLibrary& gentl, DEV_HANDLE device, const std::string& streamId) : gentl_(gentl) {
  gentl_.check(gentl_.DevOpenDataStream(device, streamId.c_str(), &stream_), "DevOpenDataStream(" + streamId + ")");
}

void Acquisition::announce(unsigned bufferCount, std::size_t payloadSize,
                           const std::vector<std::size_t>& segmentSizes) {
  auto streamInfo = [this](STREAM_INFO_CMD command) {
    return [this, command](INFO_DATATYPE* type, void* buffer, size_t* size) {
      return gentl_.DSGetInfo(stream_, command, type, buffer, size);
    };
  };
  bool8_t defined = 1;
  try {
    defined = infoValue<bool8_t>(gentl_, streamInfo(STREAM_INFO_DEFINES_PAYLOADSIZE), "DSGetInfo");
  } catch (const ToolError&) {
  }
  payloadSize_ =
      defined != 0 ? infoValue<size_t>(gentl_, streamInfo(STREAM_INFO_PAYLOAD_SIZE), "DSGetInfo") : payloadSize;
  if (payloadSize_ == 0) throw ToolError("the stream reports a payload size of 0");
  buffers_.reserve(bufferCount);
  for (unsigned i = 0; i < bufferCount; ++i) {
    BUFFER_HANDLE buffer = nullptr;
    if (segmentSizes.empty()) {
      gentl_.check(gentl_.DSAllocAndAnnounceBuffer(stream_, payloadSize_, nullptr, &buffer),
                   "DSAllocAndAnnounceBuffer");
    } else {
      std::vector<void*> bases;
      std::vector<size_t> sizes(segmentSizes.begin(), segmentSizes.end());
      for (std::size_t size : segmentSizes) {
        segments_.emplace_back(size);
        bases.push_back(segments_.back().data());
      }
      gentl_.check(
          gentl_.DSAnnounceCompositeBuffer(stream_, sizes.size(), bases.data(), sizes.data(), nullptr, &buffer),
          "DSAnnounceCompositeBuffer");
    }
    buffers_.push_back(buffer);
    gentl_.check(gentl_.DSQueueBuffer(stream_, buffer), "DSQueueBuffer");
  }
  gentl_.check(gentl_.GCRegisterEvent(stream_, EVENT_NEW_BUFFER, &newBuffer_), "GCRegisterEvent");
}

Acquisition::~Acquisition() { release(); }

void Acquisition::release() {
  if (stream_ == nullptr) return;
  try {
    stop();
  } catch (const ToolError&) {
    // Tearing down: the stream is closed below whatever the stop said.
  }
  gentl_.DSFlushQueue(stream_, ACQ_QUEUE_ALL_DISCARD);
  for (BUFFER_HANDLE buffer : buffers_) gentl_.DSRevokeBuffer(stream_, buffer, nullptr, nullptr);
  buffers_.clear();
  segments_.clear();
  if (newBuffer_ != nullptr) gentl_.GCUnregisterEvent(stream_, EVENT_NEW_BUFFER);
  newBuffer_ = nullptr;
  gentl_.DSClose(stream_);
  stream_ = nullptr;
}

void Acquisition::start(std::uint64_t count) {
  gentl_.check(gentl_.DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, count == 0 ? GENTL_INFINITE : count),
               "DSStartAcquisition");
  started_ = true;
}

Acquisition::Frame Acquisition::next(std::uint64_t timeoutMs) {
  EVENT_NEW_BUFFER_DATA data{};
  size_t size = sizeof(data);
  const GC_ERROR result = gentl_.EventGetData(newBuffer_, &data, &size, timeoutMs);
  if (result == GC_ERR_TIMEOUT) {
    throw ToolError("no frame arrived within " + std::to_string(timeoutMs) + " ms: " + gentl_.lastError());
  }
  gentl_.check(result, "EventGetData");
  Frame frame;
  frame.buffer = data.BufferHandle;
  frame.frameId = bufferInfo<std::uint64_t>(frame.buffer, BUFFER_INFO_FRAMEID, 0);
  frame.sizeFilled = bufferInfo<size_t>(frame.buffer, BUFFER_INFO_SIZE_FILLED, payloadSize_);
  frame.base = static_cast<const std::uint8_t*>(bufferInfo<void*>(frame.buffer, BUFFER_INFO_BASE, nullptr));
  frame.imageOffset = bufferInfo<size_t>(frame.buffer, BUFFER_INFO_IMAGEOFFSET, 0);
  frame.payloadType = static_cast<std::int32_t>(bufferInfo<size_t>(frame.buffer, BUFFER_INFO_PAYLOADTYPE, 0));
  frame.width = bufferInfo<size_t>(frame.buffer, BUFFER_INFO_WIDTH, 0);
  frame.height = bufferInfo<size_t>(frame.buffer, BUFFER_INFO_HEIGHT, 0);
  frame.paddingX = bufferInfo<size_t>(frame.buffer, BUFFER_INFO_XPADDING, 0);
  frame.pixelFormat = bufferInfo<std::uint64_t>(frame.buffer, BUFFER_INFO_PIXELFORMAT, 0);
  frame.incomplete = bufferInfo<bool8_t>(frame.buffer, BUFFER_INFO_IS_INCOMPLETE, 0) != 0;
  if (frame.base == nullptr) throw ToolError("DSGetBufferInfo(BUFFER_INFO_BASE) failed: " + gentl_.lastError());
  return frame;
}

void Acquisition::requeue(const Frame& frame) {
  gentl_.check(gentl_.DSQueueBuffer(stream_, frame.buffer), "DSQueueBuffer");
}

void Acquisition::stop() {
  if (!started_) return;
  started_ = false;
  gentl_.check(gentl_.DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT), "DSStopAcquisition");
}

std::uint64_t Acquisition::underruns() const {
  try {
    return infoValue<std::uint64_t>(
        gentl_,
        [this](INFO_DATATYPE* type, void* buffer, size_t* size) {
          return gentl_.DSGetInfo(stream_, STREAM_INFO_NUM_UNDERRUN, type, buffer, size);
        },
        "DSGetInfo");
  } catch (const ToolError&) {
    return 0;
  }
}

}  // namespace lmmocktl
