#include "tools/Acquisition.h"

#include <algorithm>
#include <numeric>

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
      std::vector<size_t> sizes(segmentSizes.begin(), segmentSizes.end());
      std::vector<std::uint8_t>& block = blocks_.emplace_back(std::accumulate(sizes.begin(), sizes.end(), size_t{0}));
      std::vector<void*> bases;
      size_t offset = 0;
      for (size_t size : sizes) {
        bases.push_back(block.data() + offset);
        offset += size;
      }
      gentl_.check(
          gentl_.DSAnnounceCompositeBuffer(stream_, sizes.size(), bases.data(), sizes.data(), nullptr, &buffer),
          "DSAnnounceCompositeBuffer");
    }
    buffers_.push_back(buffer);
    gentl_.check(gentl_.DSQueueBuffer(stream_, buffer), "DSQueueBuffer");
  }
  gentl_.check(gentl_.GCRegisterEvent(stream_, EVENT_NEW_BUFFER, &newBuffer_), "GCRegisterEvent");
  // Counted, not required: a producer without a stream error event streams all the same.
  if (gentl_.GCRegisterEvent(stream_, EVENT_ERROR, &errors_) != GC_ERR_SUCCESS) errors_ = nullptr;
}

Acquisition::FlowLayout Acquisition::flowLayout() const {
  FlowLayout layout;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  size_t size = 0;
  if (gentl_.DSGetInfo(stream_, STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR, &type, nullptr, &size) != GC_ERR_SUCCESS ||
      size == 0) {
    return layout;
  }
  layout.prefetchDescriptor.resize(size);
  gentl_.check(
      gentl_.DSGetInfo(stream_, STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR, &type, layout.prefetchDescriptor.data(), &size),
      "DSGetInfo(STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR)");
  layout.prefetchDescriptor.resize(size);
  uint32_t flows = 0;
  gentl_.check(gentl_.DSGetNumFlows(stream_, &flows), "DSGetNumFlows");
  for (uint32_t flow = 0; flow < flows; ++flow) {
    layout.sizes.push_back(infoValue<std::uint64_t>(
        gentl_,
        [&](INFO_DATATYPE* infoType, void* buffer, size_t* infoSize) {
          return gentl_.DSGetFlowInfo(stream_, flow, FLOW_INFO_SIZE, infoType, buffer, infoSize);
        },
        "DSGetFlowInfo(FLOW_INFO_SIZE)"));
  }
  return layout;
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
  blocks_.clear();
  if (newBuffer_ != nullptr) gentl_.GCUnregisterEvent(stream_, EVENT_NEW_BUFFER);
  if (errors_ != nullptr) gentl_.GCUnregisterEvent(stream_, EVENT_ERROR);
  newBuffer_ = nullptr;
  errors_ = nullptr;
  gentl_.DSClose(stream_);
  stream_ = nullptr;
}

void Acquisition::start(std::uint64_t count) {
  gentl_.check(gentl_.DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, count == 0 ? GENTL_INFINITE : count),
               "DSStartAcquisition");
  started_ = true;
}

Acquisition::Frame Acquisition::next(std::uint64_t timeoutMs) {
  if (std::optional<Frame> frame = tryNext(timeoutMs)) return *frame;
  throw ToolError("no frame arrived within " + std::to_string(timeoutMs) + " ms: " + gentl_.lastError());
}

std::uint64_t Acquisition::takeErrorEvents() {
  std::uint64_t count = 0;
  char item[256];
  size_t size = sizeof(item);
  while (errors_ != nullptr && gentl_.EventGetData(errors_, item, &size, 0) == GC_ERR_SUCCESS) {
    ++count;
    size = sizeof(item);
  }
  return count;
}

std::optional<Acquisition::Frame> Acquisition::tryNext(std::uint64_t timeoutMs) {
  EVENT_NEW_BUFFER_DATA data{};
  size_t size = sizeof(data);
  const GC_ERROR result = gentl_.EventGetData(newBuffer_, &data, &size, timeoutMs);
  if (result == GC_ERR_TIMEOUT) return std::nullopt;
  gentl_.check(result, "EventGetData");
  Frame frame;
  frame.buffer = data.BufferHandle;
  frame.frameId = bufferInfo<std::uint64_t>(frame.buffer, BUFFER_INFO_FRAMEID, 0);
  frame.sizeFilled = bufferInfo<size_t>(frame.buffer, BUFFER_INFO_SIZE_FILLED, payloadSize_);
  frame.base = static_cast<const std::uint8_t*>(bufferInfo<void*>(frame.buffer, BUFFER_INFO_BASE, nullptr));
  if (!blocks_.empty()) {
    // A composite buffer: its segments lie back to back in the block announced for it.
    const auto index =
        static_cast<std::size_t>(std::find(buffers_.begin(), buffers_.end(), frame.buffer) - buffers_.begin());
    if (index < blocks_.size()) {
      frame.base = blocks_[index].data();
      frame.sizeFilled = blocks_[index].size();
    }
  }
  frame.imageOffset = bufferInfo<size_t>(frame.buffer, BUFFER_INFO_IMAGEOFFSET, 0);
  frame.payloadType = static_cast<std::int32_t>(bufferInfo<size_t>(frame.buffer, BUFFER_INFO_PAYLOADTYPE, 0));
  frame.width = bufferInfo<size_t>(frame.buffer, BUFFER_INFO_WIDTH, 0);
  frame.height = bufferInfo<size_t>(frame.buffer, BUFFER_INFO_HEIGHT, 0);
  frame.paddingX = bufferInfo<size_t>(frame.buffer, BUFFER_INFO_XPADDING, 0);
  frame.pixelFormat = bufferInfo<std::uint64_t>(frame.buffer, BUFFER_INFO_PIXELFORMAT, 0);
  frame.incomplete = bufferInfo<bool8_t>(frame.buffer, BUFFER_INFO_IS_INCOMPLETE, 0) != 0;
  if (frame.incomplete && blocks_.empty()) {
    // Kept whole: the part that never came shows what the buffer held before, as on a real link.
    frame.sizeFilled = bufferInfo<size_t>(frame.buffer, BUFFER_INFO_SIZE, frame.sizeFilled);
  }
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
