#include "stream/BufferBase.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>
#include <stdexcept>

#include "base/GenericException.h"
#include "base/Info.h"
#include "base/Pfnc.h"
#include "platform/Platform.h"
#include "stream/DataStream.h"

namespace lumo::mockTL {

using error::GenericException;

namespace {

// Register ids of the buffer description.
enum : std::uint32_t {
  kBufferSizeRegister = 5001,
  kPixelFormatRegister = 5002,
  kImageHeightRegister = 5003,
  kChunkLengthRegister = 5004,
  kTimestampRegister = 5005,
  kIsQueuedRegister = 5006,
};

constexpr std::uint32_t kPaddingOn = 1;

std::shared_ptr<DataStream> requireStream(const std::shared_ptr<Module>& parent) {
  auto stream = std::dynamic_pointer_cast<DataStream>(parent);
  if (stream == nullptr) {
    throw std::runtime_error("The given parent module is not the DataStream object.");
  }
  return stream;
}

[[noreturn]] void streamGone() { throw std::invalid_argument("The given data stream handle is not valid."); }

}  // namespace

BufferBase::BufferBase(const std::shared_ptr<Module>& parent, std::vector<Segment> segments)
    : SpecificModule(parent), segments_(std::move(segments)) {
  assert(!segments_.empty());
  const std::shared_ptr<DataStream> stream = requireStream(parent);
  stream_ = stream;
  moduleId_ = moduleIdOf(segments_.front().base);
  const ImageGeometry geometry = stream->format().imageGeometry();
  const std::uint64_t bitsPerPixel = pfnc::bitsPerPixel(geometry.pixelFormat);
  width_ = geometry.width;
  height_ = geometry.height;
  paddingMode_ = stream->format().paddingMode();
  xPadding_ = static_cast<std::uint32_t>(geometry.paddingX * bitsPerPixel / 8);
  yPadding_ = static_cast<std::uint32_t>(geometry.paddingY * bitsPerPixel * geometry.pixelsPerLine() / 8);
  dataSize_ = stream->format().payloadSize();
  timestamp_ = platform::monotonicNanoseconds();
  initRegisterMap();
  initEvents();
}

std::string BufferBase::moduleIdOf(const void* memory) {
  return "BufferAt_" + std::to_string(reinterpret_cast<std::uintptr_t>(memory));
}

std::shared_ptr<DataStream> BufferBase::lockStream() const {
  auto stream = stream_.lock();
  if (stream == nullptr) {
    streamGone();
  }
  return stream;
}

void BufferBase::setFrameId(std::uint64_t frameId) {
  frameId_ = frameId;
  newData_ = true;
}

void BufferBase::stampTimestamp(FrameContent content) {
  const std::uint64_t now = platform::monotonicNanoseconds();
  timestamp_ = now;
  if (content == FrameContent::GenDCContainer) {
    return;
  }
  std::array<std::byte, sizeof(now)> bytes;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<std::byte>(now >> (8 * i));
  }
  const Segment& first = segments_.front();
  std::memcpy(first.base, bytes.data(), std::min<std::uint64_t>(bytes.size(), first.size));
}

std::int32_t BufferBase::payloadType() const {
  return lockStream()->usesFlows() ? PAYLOAD_TYPE_GENDC : PAYLOAD_TYPE_IMAGE;
}

void BufferBase::copyFlowData(std::span<const FlowRecord> flows) {
  static_cast<void>(flows);
  throw std::logic_error("Buffer class does not implement CopyFlowData");
}

void BufferBase::GetBufferInfo(BUFFER_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) {
  constexpr const char* where = "lumo::mockTL::BufferBase::GetBufferInfo";
  const auto count = [&](std::uint64_t value) {
    info::ReportInfoNumeric(type, destination, size, info::Size{static_cast<std::size_t>(value)});
  };
  const auto number = [&](std::uint64_t value) { info::ReportInfoNumeric(type, destination, size, value); };
  const auto flag = [&](bool value) { info::ReportInfoNumeric(type, destination, size, value); };
  const Segment& first = segments_.front();
  switch (command) {
    case BUFFER_INFO_BASE:
      return info::ReportInfoNumeric(type, destination, size, static_cast<const void*>(first.base));
    case BUFFER_INFO_SIZE: return count(first.size);
    // The whole segment: a frame fills it or leaves it as it was; only an incomplete frame (a
    // fault injected on request) says how far it came.
    case BUFFER_INFO_SIZE_FILLED: return count(isIncomplete() ? filledSize_.load() : first.size);
    case BUFFER_INFO_TIMESTAMP:
    case BUFFER_INFO_TIMESTAMP_NS: return number(timestamp_);
    case BUFFER_INFO_NEW_DATA: return flag(newData_);
    case BUFFER_INFO_IS_QUEUED: return flag(queued_);
    // Frozen at creation, unlike the pixel format, which is the stream's current one.
    case BUFFER_INFO_WIDTH: return count(width_);
    case BUFFER_INFO_HEIGHT:
    case BUFFER_INFO_DELIVERED_IMAGEHEIGHT: return count(height_);
    case BUFFER_INFO_XOFFSET:
    case BUFFER_INFO_YOFFSET:
    case BUFFER_INFO_IMAGEOFFSET: return count(0);
    case BUFFER_INFO_XPADDING:
      if (isMultiPart()) {
        throw GenericException(GC_ERR_NO_DATA, where,
                               "BUFFER_INFO_XPADDING is not valid since the buffer contains a multi-part payload.");
      }
      return count(xPadding_);
    case BUFFER_INFO_YPADDING:
      if (paddingMode_ != kPaddingOn) {
        throw GenericException(GC_ERR_NOT_IMPLEMENTED, where,
                               "Let it behave as if the command is not implemented since the padding mode is off.");
      }
      return count(yPadding_);
    case BUFFER_INFO_FRAMEID:
      if (!newData_) {
        throw GenericException(GC_ERR_NOT_AVAILABLE, where, "No new data");
      }
      return number(frameId_);
    // Simply not queued: a delivered buffer shows no image until the consumer has taken it.
    case BUFFER_INFO_IMAGEPRESENT: return flag(!queued_);
    case BUFFER_INFO_PAYLOADTYPE: return count(static_cast<std::uint64_t>(payloadType()));
    case BUFFER_INFO_PIXELFORMAT: return number(lockStream()->format().imageGeometry().pixelFormat);
    case BUFFER_INFO_PIXELFORMAT_NAMESPACE: return number(PIXELFORMAT_NAMESPACE_PFNC_32BIT);
    case BUFFER_INFO_CHUNKLAYOUTID: throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "chunk not supported");
    case BUFFER_INFO_PIXEL_ENDIANNESS:
      return info::ReportInfoNumeric(type, destination, size, std::int32_t{PIXELENDIANNESS_LITTLE});
    case BUFFER_INFO_DATA_SIZE: return count(dataSize_);
    default: throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "unknown command used: iInfoCmd");
  }
}

void BufferBase::initRegisterMap() {
  constexpr auto u32 = RegisterType::Uint32;
  constexpr auto u64 = RegisterType::Uint64;
  constexpr auto ro = RegisterAccess::ReadOnly;
  declareDescribedRegisters(DescriptionKind::Buffer, "TLBuffer", "BufferPort",
                            {
                                {kBufferSizeRegister, 0x8, 8, u64, ro},
                                {kPixelFormatRegister, 0x20, 4, u32, ro},
                                {kImageHeightRegister, 0x24, 8, u64, ro},
                                {kChunkLengthRegister, 0x2C, 8, u64, ro},
                                {kTimestampRegister, 0x10, 8, u64, ro},
                                {kIsQueuedRegister, 0x18, 4, u32, ro},
                            });
}

std::string BufferBase::ReadStringRegImpl(std::uint32_t id) {
  if (id != kDescriptionRegisterId) {
    throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::BufferBase::ReadStringRegImpl", "invalid reg_id");
  }
  return descriptionText();
}

// The description calls the register at 0x20 the payload type; it has always held the stream's
// pixel format, and consumers reading it get that.
std::uint32_t BufferBase::ReadUint32RegImpl(std::uint32_t id) {
  switch (id) {
    case kPixelFormatRegister: return lockStream()->format().imageGeometry().pixelFormat;
    case kIsQueuedRegister: return queued_ ? 1 : 0;
    default:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::BufferBase::ReadUint32RegImpl", "invalid reg_id");
  }
}

// BufferSize (5001) is declared but not served: a port read of it fails.
std::uint64_t BufferBase::ReadUint64RegImpl(std::uint32_t id) {
  switch (id) {
    case kImageHeightRegister: return height_;
    case kChunkLengthRegister: return 0;
    case kTimestampRegister: return timestamp_;
    default:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::BufferBase::ReadUint64RegImpl", "invalid reg_id");
  }
}

}  // namespace lumo::mockTL
