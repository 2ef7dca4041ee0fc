#include "stream/DataStream.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

#include "base/GenericException.h"
#include "base/Info.h"
#include "module/ProducerIdentity.h"

namespace lumo::mockTL {

using error::GenericException;

namespace {

// Register ids of the data stream description.
enum : std::uint32_t {
  kQueuedRegister = 4001,
  kAnnouncedRegister = 4002,
  kAwaitingDeliveryRegister = 4003,
  kDeliveredRegister = 4004,
  kUnderrunRegister = 4005,
  kStartedRegister = 4006,
  kGrabbingRegister = 4007,
  kStreamIdRegister = 4008,
};

constexpr std::size_t kAnnounceAlignment = 1;
constexpr std::size_t kMaxChunks = 0;
// A numeric stream answer: written without looking at the caller's size, as consumers of this
// query have always been served.
template <class T>
void reportNumber(INFO_DATATYPE& type, void* destination, std::size_t& size, T value, INFO_DATATYPE tag) {
  info::ReportInfoNumericUnchecked(type, destination, size, value, tag);
}

void reportFlag(INFO_DATATYPE& type, void* destination, std::size_t& size, bool value) {
  reportNumber(type, destination, size, static_cast<std::uint8_t>(value ? 1 : 0), INFO_DATATYPE_BOOL8);
}

// The flow table and descriptor answers are not refused for a short buffer: consumers ask the
// size first and have always been answered so. A shorter buffer gets as many bytes as it holds,
// never more, and the full size.
void reportBytes(INFO_DATATYPE& type, void* destination, std::size_t& size, const std::vector<std::uint8_t>& bytes) {
  if (destination != nullptr && !bytes.empty()) {
    std::memcpy(destination, bytes.data(), std::min(size, bytes.size()));
  }
  size = bytes.size();
  type = INFO_DATATYPE_BUFFER;
}

// Makes a Resource around a freshly created buffer; running out of memory on the way is the
// consumer's GC_ERR_OUT_OF_MEMORY.
template <class Make>
std::shared_ptr<Resource> makeResource(const char* where, Make make, void* privateData) {
  try {
    return std::make_shared<Resource>(Module::published(make()), privateData);
  } catch (const std::bad_alloc&) {
    throw GenericException(GC_ERR_OUT_OF_MEMORY, where, "Failed to allocate memory for the announced buffer");
  }
}

}  // namespace

DataStream::DataStream(const std::shared_ptr<Module>& device, StreamConfiguration configuration,
                       std::shared_ptr<CameraLink> camera)
    : SpecificModule(device),
      recording_(configuration.isStreamFile ? Recording(configuration.path) : Recording()),
      format_(std::move(configuration), recording_),
      composer_(format_),
      acquisition_(queues_, errorEvent()),
      camera_(camera != nullptr ? std::move(camera) : std::make_shared<CameraLink>()) {
  initRegisterMap();
  initEvents();
}

DataStream::~DataStream() {
  open_ = false;
  try {
    haltAcquisition();
  } catch (...) {
    // Only the acquisition thread itself cannot join; it never owns the stream (see BufferBase).
    assert(false && "a data stream destroyed by its own acquisition thread");
  }
}

void DataStream::open() {
  std::lock_guard lock(moduleMutex());
  if (open_) {
    throw GenericException(GC_ERR_RESOURCE_IN_USE, "lumo::mockTL::DataStream::open", "ds already open");
  }
  recording_.throwIfFailed();
  open_ = true;
}

// --- Buffer management ---

void DataStream::requireSize(const char* where, std::uint64_t size) {
  if (size == 0) {
    throw GenericException(GC_ERR_BUFFER_TOO_SMALL, where, "Buffer of Size == 0 is not valid");
  }
}

// A stream whose frames span several flows takes composite buffers only.
void DataStream::requireSingleFlow(const char* where) const {
  if (usesFlows() && numFlows() > 1) {
    throw GenericException(GC_ERR_ERROR, where, "current configuration is not supported by the requested operation");
  }
}

std::shared_ptr<Resource> DataStream::Announce(std::uint64_t size, void* memory, void* privateData) {
  constexpr const char* where = "lumo::mockTL::DataStream::Announce";
  requireSize(where, size);
  if (memory == nullptr) {
    throw GenericException(GC_ERR_INVALID_PARAMETER, where, "Buffer pointer not valid");
  }
  requireSingleFlow(where);
  auto resource = makeResource(
      where, [&] { return std::make_shared<Buffer>(shared_from_this(), memory, size); }, privateData);
  queues_.insert(where, resource);
  return resource;
}

std::shared_ptr<Resource> DataStream::AllocAndAnnounce(std::uint64_t size, void* privateData) {
  constexpr const char* where = "lumo::mockTL::DataStream::AllocAndAnnounce";
  requireSize(where, size);
  requireSingleFlow(where);
  auto resource = makeResource(
      where, [&] { return std::make_shared<Buffer>(shared_from_this(), size); }, privateData);
  queues_.insert(where, resource);
  return resource;
}

std::shared_ptr<Resource> DataStream::Announce(void* const* segments, const std::size_t* sizes, std::size_t count,
                                               void* privateData) {
  constexpr const char* where = "lumo::mockTL::DataStream::Announce";
  if (segments == nullptr) {
    throw GenericException(GC_ERR_INVALID_PARAMETER, where, "ppSegments must not be null");
  }
  if (sizes == nullptr) {
    throw GenericException(GC_ERR_INVALID_PARAMETER, where, "piSizes must not be null");
  }
  for (std::size_t n = 0; n < count; ++n) {
    requireSize(where, sizes[n]);
    if (segments[n] == nullptr) {
      // The text names the array element literally, without its index.
      throw GenericException(GC_ERR_INVALID_PARAMETER, where, "ppSegments[n] is not valid");
    }
  }
  if (isGrabbing()) {
    throw GenericException(GC_ERR_BUSY, where, "announcement is not allowed while streaming");
  }
  if (count != numFlows()) {
    throw GenericException(GC_ERR_INVALID_PARAMETER, where,
                           "specified segment count must match the required number of flows");
  }
  auto resource = makeResource(
      where,
      [&] {
        std::vector<Segment> parts;
        parts.reserve(count);
        for (std::size_t n = 0; n < count; ++n) {
          parts.push_back({static_cast<std::byte*>(segments[n]), sizes[n]});
        }
        return std::make_shared<SegmentedBuffer>(shared_from_this(), std::move(parts));
      },
      privateData);
  queues_.insert(where, resource);
  return resource;
}

void DataStream::RevokeBuffer(const void* handle, void** buffer, void** privateData) {
  queues_.revoke(handle, buffer, privateData);
}

void DataStream::QueueBuffer(const std::shared_ptr<Resource>& resource) { queues_.queue(resource); }

std::shared_ptr<Resource> DataStream::BufferByIndex(std::uint32_t index) const { return queues_.byIndex(index); }

std::shared_ptr<Resource> DataStream::findBuffer(const void* handle) const { return queues_.find(handle); }

bool DataStream::isAnnounced(const void* memory) const { return queues_.isAnnounced(memory); }

std::size_t DataStream::announcedCount() const { return queues_.announcedCount(); }

void DataStream::flush(ACQ_QUEUE_TYPE mode) {
  switch (mode) {
    case ACQ_QUEUE_INPUT_TO_OUTPUT: return queues_.moveInputToOutput();
    case ACQ_QUEUE_OUTPUT_DISCARD: return queues_.discardOutput();
    case ACQ_QUEUE_ALL_TO_INPUT: stopIfGrabbing(); return queues_.queueAllUnqueued();
    case ACQ_QUEUE_UNQUEUED_TO_INPUT: return queues_.queueUnqueuedMarkingFirst();
    case ACQ_QUEUE_ALL_DISCARD: {
      // Held throughout, so that no start slips in between the stop and the discard and hands the
      // acquisition thread a buffer whose flag is about to be cleared.
      std::lock_guard grab(moduleMutex());
      if (isGrabbing()) {
        acquisition_.endLocked();
      }
      return queues_.discardAll();
    }
    default:
      throw GenericException(GC_ERR_INVALID_PARAMETER, "lumo::mockTL::DataStream::flush", "acq queue type not defined");
  }
}

// --- Acquisition ---

void DataStream::startGrabbing(ACQ_START_FLAGS flags, std::uint64_t numberOfImages) {
  constexpr const char* where = "lumo::mockTL::DataStream::startGrabbing";
  if (flags != ACQ_START_FLAGS_DEFAULT) {
    throw GenericException(GC_ERR_NOT_AVAILABLE, where, "only default flag is allowed");
  }
  if (numberOfImages == 0) {
    throw GenericException(GC_ERR_INVALID_PARAMETER, where, "numberImages==0");
  }
  acquisition_.setNumberOfImages(numberOfImages);
  AcquisitionThread::Plan plan;
  plan.framePeriod = static_cast<std::int64_t>(camera_->framePeriod());
  plan.camera = camera_.get();
  plan.triggered = camera_->softwareTrigger();
  // Triggers fired before the start are not this run's.
  plan.seenTriggers = camera_->triggers();
  plan.faults = format_.faults();
  plan.composer = &composer_;
  // A recording replays its own frames; the images are only for a stream without one.
  if (recording_.isOpen()) {
    plan.recording = recording_.reader();
    plan.startFrame = format_.genDCSettings().streamFileStartFrameId;
  } else {
    plan.images = format_.sourceImages();
  }
  std::lock_guard lock(moduleMutex());
  acquisition_.startLocked(where, std::move(plan));
}

void DataStream::stopGrabbing() {
  std::lock_guard lock(moduleMutex());
  if (!isGrabbing()) {
    throw GenericException(GC_ERR_RESOURCE_IN_USE, "lumo::mockTL::DataStream::stopGrabbing", "grab was not running");
  }
  acquisition_.endLocked();
}

void DataStream::stopIfGrabbing() {
  std::lock_guard lock(moduleMutex());
  if (isGrabbing()) {
    acquisition_.endLocked();
  }
}

void DataStream::haltAcquisition() {
  std::lock_guard lock(moduleMutex());
  acquisition_.endLocked();
}

// --- Info and registers ---

void DataStream::getInfo(STREAM_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) {
  constexpr const char* where = "lumo::mockTL::DataStream::getInfo";
  if (type == INFO_DATATYPE_CUSTOM_ID) {
    throw GenericException(GC_ERR_NOT_AVAILABLE, where, "only standard info commands implemented");
  }
  // The two text answers keep this 0 as their type: consumers of the stream id have always seen it.
  type = INFO_DATATYPE_UNKNOWN;
  const auto text = [&](std::string_view value) {
    std::size_t room = size;
    // The size needed is written also when the buffer is refused.
    size = value.size() + 1;
    INFO_DATATYPE textType = INFO_DATATYPE_UNKNOWN;
    info::ReportInfoString(textType, destination, room, value, where, "buffer too small");
  };
  const auto count = [&](std::size_t value) { reportNumber(type, destination, size, value, INFO_DATATYPE_SIZET); };
  const auto counter = [&](std::uint64_t value) { reportNumber(type, destination, size, value, INFO_DATATYPE_UINT64); };
  switch (command) {
    case STREAM_INFO_ID: return text(id());
    case STREAM_INFO_NUM_DELIVERED: return counter(queues_.outputQueue()->numDelivered());
    case STREAM_INFO_NUM_UNDERRUN: return counter(kUnderrunCount);
    case STREAM_INFO_NUM_ANNOUNCED: return count(announcedCount());
    case STREAM_INFO_NUM_QUEUED: return count(queues_.queuedCount());
    case STREAM_INFO_NUM_AWAIT_DELIVERY: return count(queues_.outputQueue()->numInQueue());
    case STREAM_INFO_NUM_STARTED: return counter(acquisition_.startedCount());
    case STREAM_INFO_PAYLOAD_SIZE: return count(format_.payloadSize());
    case STREAM_INFO_IS_GRABBING: return reportFlag(type, destination, size, isGrabbing());
    case STREAM_INFO_DEFINES_PAYLOADSIZE: return reportFlag(type, destination, size, true);
    case STREAM_INFO_TLTYPE: return text(identity::kTransportLayerType);
    case STREAM_INFO_NUM_CHUNKS_MAX: return count(kMaxChunks);
    case STREAM_INFO_BUF_ANNOUNCE_MIN: return count(kMinimumAnnouncedBuffers);
    case STREAM_INFO_BUF_ALIGNMENT: return count(kAnnounceAlignment);
    case STREAM_INFO_FLOW_TABLE: return reportBytes(type, destination, size, format_.flowMappingTable());
    case STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR: return reportBytes(type, destination, size, format_.genDCDescriptor());
    case STREAM_INFO_CUSTOM_ID:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "requested custom info not implemented");
    default: throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "requested info not implemented");
  }
}

bool DataStream::usesFlows() const { return format_.usesFlows(); }

std::uint32_t DataStream::numFlows() const { return format_.numFlows(); }

void DataStream::GetFlowInfo(std::uint32_t index, FLOW_INFO_CMD command, INFO_DATATYPE& type, void* destination,
                             std::size_t& size) const {
  const std::uint64_t flowSize = format_.flowSize(index);
  if (command != FLOW_INFO_SIZE) {
    throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::DataStream::GetFlowInfo",
                           "Unknown buffer info command used");
  }
  info::ReportInfoNumeric(type, destination, size, info::Size{static_cast<std::size_t>(flowSize)});
}

std::uint64_t DataStream::streamFileMaxFrameId() const { return recording_.maxFrameId(); }

void DataStream::initRegisterMap() {
  constexpr auto u32 = RegisterType::Uint32;
  constexpr auto u64 = RegisterType::Uint64;
  constexpr auto ro = RegisterAccess::ReadOnly;
  declareDescribedRegisters(DescriptionKind::DataStream, "TLDataStream", "StreamPort",
                            {
                                {kQueuedRegister, 0x8, 4, u32, ro},
                                {kAnnouncedRegister, 0x4, 4, u32, ro},
                                {kAwaitingDeliveryRegister, 0xC, 4, u32, ro},
                                {kDeliveredRegister, 0x14, 8, u64, ro},
                                {kUnderrunRegister, 0x1C, 8, u64, ro},
                                {kStartedRegister, 0x2C, 8, u64, ro},
                                {kGrabbingRegister, 0x50, 4, u32, ro},
                                {kStreamIdRegister, 0x100, 256, RegisterType::String, ro},
                            });
}

void DataStream::initEvents() {
  eventSource()->add(queues_.outputQueue());
  SpecificModule::initEvents();
}

std::string DataStream::ReadStringRegImpl(std::uint32_t id) {
  switch (id) {
    case kDescriptionRegisterId: return descriptionText();
    case kStreamIdRegister: return this->id();
    default:
      throw GenericException(GC_ERR_INVALID_ID, "lumo::mockTL::DataStream::ReadStringRegImpl",
                             "unknown reg id during read string reg");
  }
}

// The three 64-bit counters (4004 to 4006) are answered here too, but a port read of them goes to
// the uint64 read, which the stream leaves to the refusing default: those registers have never
// been readable through the port, and their truncated values here are what a 32-bit read meant.
std::uint32_t DataStream::ReadUint32RegImpl(std::uint32_t id) {
  switch (id) {
    case kQueuedRegister: return static_cast<std::uint32_t>(queues_.queuedCount());
    case kAnnouncedRegister: return static_cast<std::uint32_t>(announcedCount());
    case kAwaitingDeliveryRegister: return static_cast<std::uint32_t>(queues_.outputQueue()->numInQueue());
    case kDeliveredRegister: return static_cast<std::uint32_t>(queues_.outputQueue()->numDelivered());
    case kUnderrunRegister: return static_cast<std::uint32_t>(kUnderrunCount);
    case kStartedRegister: return static_cast<std::uint32_t>(acquisition_.startedCount());
    case kGrabbingRegister: return isGrabbing() ? 1 : 0;
    default:
      throw GenericException(GC_ERR_INVALID_ID, "lumo::mockTL::DataStream::ReadUint32RegImpl",
                             "unknown reg id during read uint reg");
  }
}

// --- Image settings ---

FrameContent DataStream::writeFrame(std::span<const Segment> segments, const SourceImage* image) {
  return composer_.write(segments, image);
}

}  // namespace lumo::mockTL
