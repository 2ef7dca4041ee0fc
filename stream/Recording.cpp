#include "stream/Recording.h"

#include <exception>
#include <utility>

#include "gendc/DescriptorReader.h"
#include "gendc/FlowMappingTable.h"

namespace lumo::mockTL {

using error::GenericException;

namespace {

// Failures carry the origin of the stream's construction, where consumers have always seen them.
constexpr const char* kOrigin = "lumo::mockTL::DataStream::DataStream";
constexpr std::uint32_t kPaddingOn = 1;

}  // namespace

Recording::Recording(const std::filesystem::path& infoFile) {
  try {
    open(infoFile);
  } catch (const GenericException& failure) {
    failure_ = failure;
  } catch (const std::exception& failure) {
    // Memory for the recording's tables, or more flows than a flow mapping table can count.
    failure_.emplace(GC_ERR_ERROR, kOrigin, failure.what());
  }
}

void Recording::open(const std::filesystem::path& infoFile) {
  auto reader = std::make_unique<ContainerReader>(infoFile);
  if (reader->prefetchDescriptor().empty()) {
    throw GenericException(GC_ERR_INVALID_VALUE, kOrigin, "prefetch descriptor must not be empty");
  }
  if (reader->flowSizes().empty()) {
    // Nothing to copy into a segment, and no composite buffer of 0 segments exists.
    throw GenericException(GC_ERR_INVALID_VALUE, kOrigin, "stream file flow sets must have at least one flow");
  }
  flowTable_ = GenDc::FlowMappingTable::bytesFor(reader->flowSizes());
  // The reader accepted the recording only when its flow sizes add up within 64 bits.
  payloadSize_ = 0;
  for (const std::uint64_t size : reader->flowSizes()) {
    payloadSize_ += size;
  }
  reader_ = std::move(reader);
}

void Recording::throwIfFailed() const {
  if (failure_) {
    throw *failure_;
  }
}

void Recording::applyRecordedGeometry(StreamConfiguration& record) const {
  try {
    const GenDc::PartImage image = GenDc::DescriptorReader(descriptor()).part(0, 0);
    record.width = image.width;
    record.height = image.height;
    record.pixelFormat = image.pixelFormat;
    record.paddingMode = image.paddingX != 0 || image.paddingY != 0 ? static_cast<std::int32_t>(kPaddingOn) : 0;
    record.paddingPixelCountX = image.paddingX;
    record.paddingLineCountY = image.paddingY;
  } catch (const std::exception&) {
    // Not an image the stream can describe.
  }
}

std::uint64_t Recording::maxFrameId() const {
  if (reader_ == nullptr) {
    throw std::runtime_error("container reader not initialized");
  }
  // An empty recording has no last frame; 0 is what its start frame can be set to.
  const std::uint64_t frames = reader_->frameCount();
  return frames == 0 ? 0 : frames - 1;
}

}  // namespace lumo::mockTL
