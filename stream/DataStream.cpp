#include "stream/DataStream.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "base/GenericException.h"
#include "base/Info.h"
#include "gendc/Container.h"
#include "gendc/ContainerDescriptor.h"
#include "gendc/DescriptorReader.h"
#include "gendc/FlowMappingTable.h"
#include "module/ProducerIdentity.h"
#include "source/Pfnc.h"
#include "stream/ImageTransfer.h"

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

constexpr std::uint32_t kPaddingOn = 1;
constexpr std::size_t kAnnounceAlignment = 1;
constexpr std::size_t kMaxChunks = 0;
// The camera's GenDCFlowMappingTable register is this long; the stream's flow table query keeps
// to it as well, so that both deliver the same table or refuse it alike.
constexpr std::size_t kFlowTableRegisterLength = 1024;

// The flow table and descriptor queries share this origin with the camera's GenDC registers.
constexpr const char* kInfoOrigin = "lumo::mockTL::DataStream::getInfo";

[[noreturn]] void noFlows() {
  throw GenericException(GC_ERR_NO_DATA, kInfoOrigin, "command is invalid while flow mechanism is not used");
}

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
      configuration_(std::move(configuration)),
      camera_(camera != nullptr ? std::move(camera) : std::make_shared<CameraLink>()) {
  if (configuration_.isStreamFile) {
    try {
      openRecording();
    } catch (const GenericException& failure) {
      // Kept for the consumer who opens this stream: the device and its other streams stay usable.
      recordingFailure_ = failure;
    } catch (const std::exception& failure) {
      // Memory for the recording's tables, or more flows than a flow mapping table can count.
      recordingFailure_.emplace(GC_ERR_ERROR, "lumo::mockTL::DataStream::DataStream", failure.what());
    }
  }
  initRegisterMap();
  initEvents();
  std::lock_guard lock(settingsMutex_);
  // The configuration loaded its images once; the stream only shares them.
  for (const auto& entry : configuration_.images) {
    sourceImages_.push_back(entry.image);
  }
  recomputeLocked();
}

// The buffers of a replayed stream report the image of the recording's first part, as its
// descriptor states it. A descriptor that is not GenDC, or whose first part is not a 2D image,
// leaves the configured geometry: the frames are replayed all the same.
void DataStream::takeRecordedGeometry() {
  try {
    const GenDc::PartImage image = GenDc::DescriptorReader(descriptor_).part(0, 0);
    configuration_.width = image.width;
    configuration_.height = image.height;
    configuration_.pixelFormat = image.pixelFormat;
    configuration_.paddingMode = image.paddingX != 0 || image.paddingY != 0 ? static_cast<std::int32_t>(kPaddingOn) : 0;
    configuration_.paddingPixelCountX = image.paddingX;
    configuration_.paddingLineCountY = image.paddingY;
  } catch (const std::exception&) {
    // Not an image the stream can describe.
  }
}

// A recording's flows, table and descriptor are what it was recorded with; they never change.
void DataStream::openRecording() {
  constexpr const char* where = "lumo::mockTL::DataStream::DataStream";
  auto recording = std::make_unique<ContainerReader>(configuration_.path);
  if (recording->prefetchDescriptor().empty()) {
    throw GenericException(GC_ERR_INVALID_VALUE, where, "prefetch descriptor must not be empty");
  }
  if (recording->flowSizes().empty()) {
    // Nothing to copy into a segment, and no composite buffer of 0 segments exists.
    throw GenericException(GC_ERR_INVALID_VALUE, where, "stream file flow sets must have at least one flow");
  }
  flowSizes_ = recording->flowSizes();
  flowTable_ = GenDc::FlowMappingTable::bytesFor(flowSizes_);
  descriptor_ = recording->prefetchDescriptor();
  takeRecordedGeometry();
  // The reader accepted the recording only when its flow sizes add up within 64 bits.
  payloadSize_ = 0;
  for (const std::uint64_t size : flowSizes_) {
    payloadSize_ += size;
  }
  recording_ = std::move(recording);
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
  if (recordingFailure_) {
    throw *recordingFailure_;
  }
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
  insert(where, resource);
  return resource;
}

std::shared_ptr<Resource> DataStream::AllocAndAnnounce(std::uint64_t size, void* privateData) {
  constexpr const char* where = "lumo::mockTL::DataStream::AllocAndAnnounce";
  requireSize(where, size);
  requireSingleFlow(where);
  auto resource = makeResource(
      where, [&] { return std::make_shared<Buffer>(shared_from_this(), size); }, privateData);
  insert(where, resource);
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
  if (grabbing_) {
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
  insert(where, resource);
  return resource;
}

void DataStream::insert(const char* where, const std::shared_ptr<Resource>& resource) {
  // Looked up and inserted under one lock, so that two consumers announcing the same memory at
  // once cannot both succeed.
  std::lock_guard lock(bufferMapMutex_);
  if (!buffers_.try_emplace(resource->buffer().moduleId(), resource).second) {
    throw GenericException(GC_ERR_RESOURCE_IN_USE, where, "a buffer at this address is already announced");
  }
}

void DataStream::RevokeBuffer(const void* handle, void** buffer, void** privateData) {
  std::lock_guard lock(bufferMapMutex_);
  for (auto entry = buffers_.begin(); entry != buffers_.end(); ++entry) {
    if (entry->second->bufferHandle() == handle) {
      if (buffer != nullptr) {
        *buffer = entry->second->bufferHandle();
      }
      if (privateData != nullptr) {
        *privateData = entry->second->userPointer();
      }
      buffers_.erase(entry);
      return;
    }
  }
  throw GenericException(GC_ERR_INVALID_ID, "lumo::mockTL::DataStream::RevokeBuffer", "unknown segment list");
}

void DataStream::QueueBuffer(const std::shared_ptr<Resource>& resource) {
  if (!queueUnlessQueued(resource)) {
    throw GenericException(GC_ERR_INVALID_BUFFER, "lumo::mockTL::DataStream::QueueBuffer", "Buffer is already queued");
  }
}

bool DataStream::queueUnlessQueued(const std::shared_ptr<Resource>& resource) {
  BufferBase& buffer = resource->buffer();
  // The flag keeps a buffer out of the input queue twice, also when two threads queue it at once;
  // it also refuses a delivered buffer that the consumer has not taken yet. Claimed under the
  // input-queue mutex, so that a discard, which clears the queue and the flags under that mutex,
  // finds a buffer queued at the same time either queued and flagged or neither.
  std::lock_guard lock(inputQueueMutex_);
  if (!buffer.claimQueued()) {
    return false;
  }
  buffer.clearNewData();
  inputQueue_.push_back(resource);
  return true;
}

std::shared_ptr<Resource> DataStream::BufferByIndex(std::uint32_t index) const {
  std::lock_guard lock(bufferMapMutex_);
  if (index >= buffers_.size()) {
    throw GenericException(GC_ERR_INVALID_INDEX, "lumo::mockTL::DataStream::BufferByIndex", "index out of bounds");
  }
  return std::next(buffers_.begin(), index)->second;
}

std::shared_ptr<Resource> DataStream::findBuffer(const void* handle) const {
  std::lock_guard lock(bufferMapMutex_);
  for (const auto& [id, resource] : buffers_) {
    if (resource->bufferHandle() == handle) {
      return resource;
    }
  }
  return nullptr;
}

bool DataStream::isAnnounced(const void* memory) const {
  const std::string id = BufferBase::moduleIdOf(memory);
  std::lock_guard lock(bufferMapMutex_);
  return buffers_.contains(id);
}

std::size_t DataStream::announcedCount() const {
  std::lock_guard lock(bufferMapMutex_);
  return buffers_.size();
}

std::size_t DataStream::queuedCount() const {
  std::lock_guard lock(inputQueueMutex_);
  return inputQueue_.size();
}

void DataStream::flush(ACQ_QUEUE_TYPE mode) {
  switch (mode) {
    case ACQ_QUEUE_INPUT_TO_OUTPUT: {
      // Unfilled and still marked queued: the consumer gets them back through the event.
      std::lock_guard lock(inputQueueMutex_);
      while (!inputQueue_.empty()) {
        outputQueue_->Push(std::move(inputQueue_.front()));
        inputQueue_.pop_front();
      }
      return;
    }
    case ACQ_QUEUE_OUTPUT_DISCARD: return outputQueue_->Flush();
    case ACQ_QUEUE_ALL_TO_INPUT: {
      stopIfGrabbing();
      outputQueue_->Flush();
      std::vector<std::shared_ptr<Resource>> unqueued;
      {
        std::lock_guard lock(bufferMapMutex_);
        for (const auto& [id, resource] : buffers_) {
          if (!resource->buffer().isQueued()) {
            unqueued.push_back(resource);
          }
        }
      }
      for (const auto& resource : unqueued) {
        // One that a consumer queued since it was collected is already where this puts it.
        queueUnlessQueued(resource);
      }
      return;
    }
    case ACQ_QUEUE_UNQUEUED_TO_INPUT: {
      // Marks the buffer queued before it queues it, so the queuing refuses the first unqueued
      // buffer, which stays marked queued without being in the input queue. Consumers have
      // always met this mode so; only ACQ_QUEUE_ALL_DISCARD frees such a buffer again.
      std::lock_guard lock(bufferMapMutex_);
      for (const auto& [id, resource] : buffers_) {
        BufferBase& buffer = resource->buffer();
        if (!buffer.isQueued()) {
          buffer.setQueued(true);
          buffer.clearNewData();
          QueueBuffer(resource);
        }
      }
      return;
    }
    case ACQ_QUEUE_ALL_DISCARD: {
      // Held throughout, so that no start slips in between the stop and the discard and hands the
      // acquisition thread a buffer whose flag is about to be cleared.
      std::lock_guard grab(moduleMutex());
      if (grabbing_) {
        endAcquisitionLocked();
      }
      std::vector<std::shared_ptr<Resource>> announced;
      {
        std::lock_guard lock(bufferMapMutex_);
        for (const auto& [id, resource] : buffers_) {
          announced.push_back(resource);
        }
      }
      // Queues and flags are cleared under one hold of the input-queue mutex: a buffer that a
      // consumer queues meanwhile is either discarded with its flag or stays queued with it.
      std::lock_guard lock(inputQueueMutex_);
      outputQueue_->Flush();
      for (const auto& resource : inputQueue_) {
        resource->buffer().setQueued(false);
      }
      inputQueue_.clear();
      for (const auto& resource : announced) {
        resource->buffer().setQueued(false);
      }
      return;
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
  numberOfImages_.exchange(numberOfImages);
  AcquisitionThread::Plan plan;
  plan.framePeriod = static_cast<std::int64_t>(camera_->framePeriod());
  plan.camera = camera_.get();
  plan.triggered = camera_->softwareTrigger();
  // Triggers fired before the start are not this run's.
  plan.seenTriggers = camera_->triggers();
  {
    std::lock_guard lock(settingsMutex_);
    plan.images = sourceImages_;
    if (recording_ != nullptr) {
      plan.recording = recording_.get();
      plan.startFrame = genDC_.streamFileStartFrameId;
    }
    plan.incompleteEvery = configuration_.incompleteFrameEvery;
    plan.lostEvery = configuration_.lostFrameEvery;
    plan.errorEvery = configuration_.errorEventEvery;
  }
  std::lock_guard lock(moduleMutex());
  if (grabbing_) {
    // Another consumer thread started it since the entry point looked.
    throw GenericException(GC_ERR_RESOURCE_IN_USE, where, "grab already running");
  }
  grabbing_ = true;
  try {
    acquisition_.start(*this, std::move(plan));
  } catch (...) {
    grabbing_ = false;
    throw;
  }
}

void DataStream::stopGrabbing() {
  std::lock_guard lock(moduleMutex());
  if (!grabbing_) {
    throw GenericException(GC_ERR_RESOURCE_IN_USE, "lumo::mockTL::DataStream::stopGrabbing", "grab was not running");
  }
  endAcquisitionLocked();
}

void DataStream::stopIfGrabbing() {
  std::lock_guard lock(moduleMutex());
  if (grabbing_) {
    endAcquisitionLocked();
  }
}

void DataStream::haltAcquisition() {
  std::lock_guard lock(moduleMutex());
  endAcquisitionLocked();
}

void DataStream::endAcquisitionLocked() {
  {
    std::lock_guard lock(wakeMutex_);
    grabbing_ = false;
  }
  wake_.notify_all();
  camera_->wakeWaiters();
  if (acquisition_.joinable()) {
    acquisition_.join();
  }
}

std::shared_ptr<Resource> DataStream::takeQueuedBuffer() {
  std::lock_guard lock(inputQueueMutex_);
  if (inputQueue_.empty()) {
    return nullptr;
  }
  std::shared_ptr<Resource> front = std::move(inputQueue_.front());
  inputQueue_.pop_front();
  return front;
}

// Counted before it is signalled, so that a consumer holding the frame also finds it counted.
void DataStream::deliver(std::shared_ptr<Resource> buffer) {
  ++started_;
  outputQueue_->Push(std::move(buffer));
}

void DataStream::reportFillFailure(const char* what) noexcept {
  try {
    errorEvent()->Push({GC_ERR_ERROR, what});
  } catch (...) {
    // Out of memory for the report itself: the frame is delivered all the same.
  }
}

void DataStream::waitUntil(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(wakeMutex_);
  wake_.wait_until(lock, deadline, [this] { return !grabbing_; });
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
    case STREAM_INFO_NUM_DELIVERED: return counter(outputQueue_->numDelivered());
    case STREAM_INFO_NUM_UNDERRUN: return counter(kUnderrunCount);
    case STREAM_INFO_NUM_ANNOUNCED: return count(announcedCount());
    case STREAM_INFO_NUM_QUEUED: return count(queuedCount());
    case STREAM_INFO_NUM_AWAIT_DELIVERY: return count(outputQueue_->numInQueue());
    case STREAM_INFO_NUM_STARTED: return counter(started_);
    case STREAM_INFO_PAYLOAD_SIZE: return count(payloadSize());
    case STREAM_INFO_IS_GRABBING: return reportFlag(type, destination, size, grabbing_);
    case STREAM_INFO_DEFINES_PAYLOADSIZE: return reportFlag(type, destination, size, true);
    case STREAM_INFO_TLTYPE: return text(identity::kTransportLayerType);
    case STREAM_INFO_NUM_CHUNKS_MAX: return count(kMaxChunks);
    case STREAM_INFO_BUF_ANNOUNCE_MIN: return count(kMinimumAnnouncedBuffers);
    case STREAM_INFO_BUF_ALIGNMENT: return count(kAnnounceAlignment);
    case STREAM_INFO_FLOW_TABLE: return reportBytes(type, destination, size, flowMappingTable());
    case STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR: return reportBytes(type, destination, size, genDCDescriptor());
    case STREAM_INFO_CUSTOM_ID:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "requested custom info not implemented");
    default: throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "requested info not implemented");
  }
}

bool DataStream::usesFlows() const {
  std::lock_guard lock(settingsMutex_);
  return !flowSizes_.empty();
}

std::uint32_t DataStream::numFlows() const {
  std::lock_guard lock(settingsMutex_);
  // Bounded by the recording's size, or 1 + 2 parts: never near 32 bits.
  return flowSizes_.empty() ? 1 : static_cast<std::uint32_t>(flowSizes_.size());
}

void DataStream::GetFlowInfo(std::uint32_t index, FLOW_INFO_CMD command, INFO_DATATYPE& type, void* destination,
                             std::size_t& size) const {
  constexpr const char* where = "lumo::mockTL::DataStream::GetFlowInfo";
  std::uint64_t flowSize = 0;
  {
    std::lock_guard lock(settingsMutex_);
    const std::size_t count = flowSizes_.empty() ? 1 : flowSizes_.size();
    if (index >= count) {
      throw GenericException(GC_ERR_INVALID_INDEX, where, "invalid index: iFlowIndex");
    }
    // Without flows the one flow carries the image.
    flowSize = flowSizes_.empty() ? payloadSize_ : flowSizes_[index];
  }
  if (command != FLOW_INFO_SIZE) {
    throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "Unknown buffer info command used");
  }
  info::ReportInfoNumeric(type, destination, size, info::Size{static_cast<std::size_t>(flowSize)});
}

std::vector<std::uint8_t> DataStream::flowMappingTable() const {
  std::lock_guard lock(settingsMutex_);
  if (flowSizes_.empty()) {
    noFlows();
  }
  if (flowTable_.size() > kFlowTableRegisterLength) {
    throw GenericException(GC_ERR_ERROR, kInfoOrigin, "flow mapping table size does not fit the register definition");
  }
  return flowTable_;
}

std::vector<std::uint8_t> DataStream::genDCDescriptor() const {
  std::lock_guard lock(settingsMutex_);
  if (flowSizes_.empty()) {
    noFlows();
  }
  return descriptor_;
}

std::size_t DataStream::flowMappingTableSize() const {
  std::lock_guard lock(settingsMutex_);
  return flowTable_.size();
}

std::size_t DataStream::genDCDescriptorSize() const {
  std::lock_guard lock(settingsMutex_);
  return descriptor_.size();
}

std::uint64_t DataStream::streamFileMaxFrameId() const {
  if (recording_ == nullptr) {
    throw std::runtime_error("container reader not initialized");
  }
  // An empty recording has no last frame; 0 is what its start frame can be set to.
  const std::uint64_t frames = recording_->frameCount();
  return frames == 0 ? 0 : frames - 1;
}

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
  outputQueue_ = Event::create<NewBufferEvent>();
  eventSource()->add(outputQueue_);
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
    case kQueuedRegister: return static_cast<std::uint32_t>(queuedCount());
    case kAnnouncedRegister: return static_cast<std::uint32_t>(announcedCount());
    case kAwaitingDeliveryRegister: return static_cast<std::uint32_t>(outputQueue_->numInQueue());
    case kDeliveredRegister: return static_cast<std::uint32_t>(outputQueue_->numDelivered());
    case kUnderrunRegister: return static_cast<std::uint32_t>(kUnderrunCount);
    case kStartedRegister: return static_cast<std::uint32_t>(started_);
    case kGrabbingRegister: return grabbing_ ? 1 : 0;
    default:
      throw GenericException(GC_ERR_INVALID_ID, "lumo::mockTL::DataStream::ReadUint32RegImpl",
                             "unknown reg id during read uint reg");
  }
}

// --- Image settings ---

ImageGeometry DataStream::imageGeometryLocked() const {
  const bool padded = configuration_.paddingMode == static_cast<std::int32_t>(kPaddingOn);
  ImageGeometry geometry;
  geometry.pixelFormat = configuration_.pixelFormat == 0 ? pfnc::Mono8 : configuration_.pixelFormat;
  geometry.width = configuration_.width;
  geometry.height = configuration_.height;
  geometry.paddingX = padded ? configuration_.paddingPixelCountX : 0;
  geometry.paddingY = padded ? configuration_.paddingLineCountY : 0;
  return geometry;
}

ImageGeometry DataStream::imageGeometry() const {
  std::lock_guard lock(settingsMutex_);
  return imageGeometryLocked();
}

std::uint32_t DataStream::paddingMode() const {
  std::lock_guard lock(settingsMutex_);
  return static_cast<std::uint32_t>(configuration_.paddingMode);
}

std::uint64_t DataStream::payloadSize() const {
  std::lock_guard lock(settingsMutex_);
  return payloadSize_;
}

template <class Change>
void DataStream::updateSettings(Change change) {
  std::lock_guard lock(settingsMutex_);
  const StreamConfiguration previous = configuration_;
  const GenDCSettings previousGenDC = genDC_;
  change(configuration_, genDC_);
  try {
    recomputeLocked();
  } catch (const std::exception& failure) {
    configuration_ = previous;
    genDC_ = previousGenDC;
    throw GenericException(GC_ERR_INVALID_PARAMETER, "lumo::mockTL::DataStream::updateSettings", failure.what());
  }
}

GenDc::StreamSettings DataStream::containerSettingsLocked() const {
  const ImageGeometry geometry = imageGeometryLocked();
  GenDc::StreamSettings settings;
  settings.streamingMode = genDC_.streamingMode != 0;
  settings.flowMappingConfiguration = genDC_.flowMappingConfiguration;
  settings.partType = static_cast<GenDc::PartType>(genDC_.partType);
  settings.imageCount = genDC_.imageCount;
  settings.width = geometry.width;
  settings.height = geometry.height;
  settings.pixelFormat = geometry.pixelFormat;
  settings.paddingX = geometry.paddingX;
  settings.paddingY = geometry.paddingY;
  return settings;
}

// Everything the stream reports about its frames, from its settings. A recording's are fixed.
// Computes first and commits after, so a refused layout leaves the previous one in place.
void DataStream::recomputeLocked() {
  if (recording_ != nullptr) {
    return;
  }
  if (genDC_.streamingMode == 0) {
    layout_.reset();
    flowSizes_.clear();
    flowTable_.clear();
    descriptor_.clear();
    payloadSize_ = imageGeometryLocked().payloadSize();
    return;
  }
  const GenDc::StreamSettings settings = containerSettingsLocked();
  GenDc::ContainerLayout layout(settings);
  // The descriptor a consumer prepares for: that of a container built now.
  const GenDc::ContainerDescriptor descriptor(settings, layout);
  std::vector<std::uint8_t> table = GenDc::FlowMappingTable::bytesFor(layout.flowSizes());
  const auto bytes = descriptor.bytes();
  descriptor_.assign(bytes.begin(), bytes.end());
  flowTable_ = std::move(table);
  flowSizes_ = layout.flowSizes();
  payloadSize_ = layout.totalSize();
  layout_ = std::move(layout);
}

void DataStream::setPixelFormat(std::uint32_t pixelFormat) {
  updateSettings([&](StreamConfiguration& record, GenDCSettings&) { record.pixelFormat = pixelFormat; });
}

void DataStream::setWidth(std::uint32_t width) {
  updateSettings([&](StreamConfiguration& record, GenDCSettings&) { record.width = width; });
}

void DataStream::setHeight(std::uint32_t height) {
  updateSettings([&](StreamConfiguration& record, GenDCSettings&) { record.height = height; });
}

void DataStream::setPaddingMode(std::int32_t mode) {
  updateSettings([&](StreamConfiguration& record, GenDCSettings&) { record.paddingMode = mode; });
}

void DataStream::setPaddingPixelCountX(std::uint32_t pixels) {
  updateSettings([&](StreamConfiguration& record, GenDCSettings&) { record.paddingPixelCountX = pixels; });
}

void DataStream::setPaddingLineCountY(std::uint32_t lines) {
  updateSettings([&](StreamConfiguration& record, GenDCSettings&) { record.paddingLineCountY = lines; });
}

std::uint32_t DataStream::paddingPixelCountX() const {
  std::lock_guard lock(settingsMutex_);
  return configuration_.paddingPixelCountX;
}

std::uint32_t DataStream::paddingLineCountY() const {
  std::lock_guard lock(settingsMutex_);
  return configuration_.paddingLineCountY;
}

std::uint32_t DataStream::streamingDataSource() const {
  std::lock_guard lock(settingsMutex_);
  if (configuration_.isStreamFile) {
    return 2;
  }
  return configuration_.images.empty() && sourceImages_.empty() ? 0 : 1;
}

GenDCSettings DataStream::genDCSettings() const {
  std::lock_guard lock(settingsMutex_);
  return genDC_;
}

void DataStream::setGenDCStreamingMode(std::uint32_t mode) {
  updateSettings([&](StreamConfiguration&, GenDCSettings& genDC) { genDC.streamingMode = mode; });
}

void DataStream::setFlowMappingConfiguration(std::uint32_t configuration) {
  updateSettings([&](StreamConfiguration&, GenDCSettings& genDC) { genDC.flowMappingConfiguration = configuration; });
}

void DataStream::setGenDCPartType(std::uint16_t partType) {
  updateSettings([&](StreamConfiguration&, GenDCSettings& genDC) { genDC.partType = partType; });
}

void DataStream::setGenDCImageCount(std::uint32_t count) {
  updateSettings([&](StreamConfiguration&, GenDCSettings& genDC) { genDC.imageCount = count; });
}

void DataStream::setStreamFileStartFrameId(std::uint64_t frameId) {
  std::lock_guard lock(settingsMutex_);
  genDC_.streamFileStartFrameId = frameId;
}

void DataStream::setSourceImages(std::vector<std::shared_ptr<const SourceImage>> images) {
  std::lock_guard lock(settingsMutex_);
  sourceImages_ = std::move(images);
}

FrameContent DataStream::writeFrame(std::span<const Segment> segments, const SourceImage* image) {
  assert(!segments.empty());
  ImageGeometry geometry;
  std::optional<GenDc::StreamSettings> containerSettings;
  {
    std::lock_guard lock(settingsMutex_);
    geometry = imageGeometryLocked();
    if (layout_) {
      containerSettings = containerSettingsLocked();
    }
  }
  const auto bytesOf = [](const Segment& segment) {
    return std::span<std::uint8_t>(reinterpret_cast<std::uint8_t*>(segment.base),
                                   static_cast<std::size_t>(segment.size));
  };
  if (!containerSettings) {
    writeImageData(geometry, std::as_writable_bytes(bytesOf(segments.front())), image, generated_);
    return FrameContent::Image;
  }
  // Built per frame: its component headers carry the time it was made.
  const GenDc::Container container(*containerSettings);
  std::vector<std::span<std::uint8_t>> parts;
  if (segments.size() == 1) {
    // One piece of memory takes the container in either flow mapping.
    parts = container.writeInto(bytesOf(segments.front()));
  } else {
    std::vector<std::span<std::uint8_t>> flows;
    flows.reserve(segments.size());
    for (const Segment& segment : segments) {
      flows.push_back(bytesOf(segment));
    }
    parts = container.writeIntoSegments(flows);
  }
  // Every component carries the frame's image: the parts are exactly one image long.
  for (const std::span<std::uint8_t> part : parts) {
    writeImageData(geometry, std::as_writable_bytes(part), image, generated_);
  }
  return FrameContent::GenDCContainer;
}

}  // namespace lumo::mockTL
