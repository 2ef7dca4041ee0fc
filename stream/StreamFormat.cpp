#include "stream/StreamFormat.h"

#include <exception>
#include <utility>

#include "base/GenericException.h"
#include "base/Pfnc.h"
#include "gendc/ContainerDescriptor.h"
#include "gendc/FlowMappingTable.h"

namespace lumo::mockTL {

using error::GenericException;

namespace {

constexpr std::uint32_t kPaddingOn = 1;
// The camera's GenDCFlowMappingTable register is this long; the stream's flow table query keeps
// to it as well, so that both deliver the same table or refuse it alike.
constexpr std::size_t kFlowTableRegisterLength = 1024;

// The flow table and descriptor queries share this origin with the camera's GenDC registers.
constexpr const char* kInfoOrigin = "lumo::mockTL::DataStream::getInfo";

[[noreturn]] void noFlows() {
  throw GenericException(GC_ERR_NO_DATA, kInfoOrigin, "command is invalid while flow mechanism is not used");
}

}  // namespace

StreamFormat::StreamFormat(StreamConfiguration configuration, const Recording& recording)
    : configuration_(std::move(configuration)), recorded_(recording.isOpen()) {
  std::lock_guard lock(settingsMutex_);
  if (recorded_) {
    flowSizes_ = recording.flowSizes();
    flowTable_ = recording.flowTable();
    descriptor_ = recording.descriptor();
    payloadSize_ = recording.payloadSize();
    recording.applyRecordedGeometry(configuration_);
  }
  // The configuration loaded its images once; the stream only shares them.
  for (const auto& entry : configuration_.images) {
    sourceImages_.push_back(entry.image);
  }
  recomputeLocked();
}

ImageGeometry StreamFormat::imageGeometryLocked() const {
  const bool padded = configuration_.paddingMode == static_cast<std::int32_t>(kPaddingOn);
  ImageGeometry geometry;
  geometry.pixelFormat = configuration_.pixelFormat == 0 ? pfnc::Mono8 : configuration_.pixelFormat;
  geometry.width = configuration_.width;
  geometry.height = configuration_.height;
  geometry.paddingX = padded ? configuration_.paddingPixelCountX : 0;
  geometry.paddingY = padded ? configuration_.paddingLineCountY : 0;
  return geometry;
}

ImageGeometry StreamFormat::imageGeometry() const {
  std::lock_guard lock(settingsMutex_);
  return imageGeometryLocked();
}

StreamFormat::FrameSettings StreamFormat::frameSettings() const {
  std::lock_guard lock(settingsMutex_);
  FrameSettings settings{imageGeometryLocked(), std::nullopt};
  if (layout_) {
    settings.container = containerSettingsLocked();
  }
  return settings;
}

std::uint32_t StreamFormat::paddingMode() const {
  std::lock_guard lock(settingsMutex_);
  return static_cast<std::uint32_t>(configuration_.paddingMode);
}

std::uint64_t StreamFormat::payloadSize() const {
  std::lock_guard lock(settingsMutex_);
  return payloadSize_;
}

std::uint32_t StreamFormat::paddingPixelCountX() const {
  std::lock_guard lock(settingsMutex_);
  return configuration_.paddingPixelCountX;
}

std::uint32_t StreamFormat::paddingLineCountY() const {
  std::lock_guard lock(settingsMutex_);
  return configuration_.paddingLineCountY;
}

std::uint32_t StreamFormat::streamingDataSource() const {
  std::lock_guard lock(settingsMutex_);
  if (configuration_.isStreamFile) {
    return 2;
  }
  return configuration_.images.empty() && sourceImages_.empty() ? 0 : 1;
}

GenDCSettings StreamFormat::genDCSettings() const {
  std::lock_guard lock(settingsMutex_);
  return genDC_;
}

std::vector<std::shared_ptr<const SourceImage>> StreamFormat::sourceImages() const {
  std::lock_guard lock(settingsMutex_);
  return sourceImages_;
}

template <class Change>
void StreamFormat::updateSettings(Change change) {
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

GenDc::StreamSettings StreamFormat::containerSettingsLocked() const {
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

// Computes first and commits after, so a refused layout leaves the previous one in place.
void StreamFormat::recomputeLocked() {
  if (recorded_) {
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

void StreamFormat::setPixelFormat(std::uint32_t pixelFormat) {
  updateSettings([&](StreamConfiguration& record, GenDCSettings&) { record.pixelFormat = pixelFormat; });
}

void StreamFormat::setWidth(std::uint32_t width) {
  updateSettings([&](StreamConfiguration& record, GenDCSettings&) { record.width = width; });
}

void StreamFormat::setHeight(std::uint32_t height) {
  updateSettings([&](StreamConfiguration& record, GenDCSettings&) { record.height = height; });
}

void StreamFormat::setPaddingMode(std::int32_t mode) {
  updateSettings([&](StreamConfiguration& record, GenDCSettings&) { record.paddingMode = mode; });
}

void StreamFormat::setPaddingPixelCountX(std::uint32_t pixels) {
  updateSettings([&](StreamConfiguration& record, GenDCSettings&) { record.paddingPixelCountX = pixels; });
}

void StreamFormat::setPaddingLineCountY(std::uint32_t lines) {
  updateSettings([&](StreamConfiguration& record, GenDCSettings&) { record.paddingLineCountY = lines; });
}

void StreamFormat::setGenDCStreamingMode(std::uint32_t mode) {
  updateSettings([&](StreamConfiguration&, GenDCSettings& genDC) { genDC.streamingMode = mode; });
}

void StreamFormat::setFlowMappingConfiguration(std::uint32_t configuration) {
  updateSettings([&](StreamConfiguration&, GenDCSettings& genDC) { genDC.flowMappingConfiguration = configuration; });
}

void StreamFormat::setGenDCPartType(std::uint16_t partType) {
  updateSettings([&](StreamConfiguration&, GenDCSettings& genDC) { genDC.partType = partType; });
}

void StreamFormat::setGenDCImageCount(std::uint32_t count) {
  updateSettings([&](StreamConfiguration&, GenDCSettings& genDC) { genDC.imageCount = count; });
}

void StreamFormat::setStreamFileStartFrameId(std::uint64_t frameId) {
  std::lock_guard lock(settingsMutex_);
  genDC_.streamFileStartFrameId = frameId;
}

void StreamFormat::setSourceImages(std::vector<std::shared_ptr<const SourceImage>> images) {
  std::lock_guard lock(settingsMutex_);
  sourceImages_ = std::move(images);
}

bool StreamFormat::usesFlows() const {
  std::lock_guard lock(settingsMutex_);
  return !flowSizes_.empty();
}

std::uint32_t StreamFormat::numFlows() const {
  std::lock_guard lock(settingsMutex_);
  // Bounded by the recording's size, or 1 + 2 parts: never near 32 bits.
  return flowSizes_.empty() ? 1 : static_cast<std::uint32_t>(flowSizes_.size());
}

std::uint64_t StreamFormat::flowSize(std::uint32_t index) const {
  std::lock_guard lock(settingsMutex_);
  const std::size_t count = flowSizes_.empty() ? 1 : flowSizes_.size();
  if (index >= count) {
    throw GenericException(GC_ERR_INVALID_INDEX, "lumo::mockTL::DataStream::GetFlowInfo", "invalid index: iFlowIndex");
  }
  // Without flows the one flow carries the image.
  return flowSizes_.empty() ? payloadSize_ : flowSizes_[index];
}

std::vector<std::uint8_t> StreamFormat::flowMappingTable() const {
  std::lock_guard lock(settingsMutex_);
  if (flowSizes_.empty()) {
    noFlows();
  }
  if (flowTable_.size() > kFlowTableRegisterLength) {
    throw GenericException(GC_ERR_ERROR, kInfoOrigin, "flow mapping table size does not fit the register definition");
  }
  return flowTable_;
}

std::vector<std::uint8_t> StreamFormat::genDCDescriptor() const {
  std::lock_guard lock(settingsMutex_);
  if (flowSizes_.empty()) {
    noFlows();
  }
  return descriptor_;
}

std::size_t StreamFormat::flowMappingTableSize() const {
  std::lock_guard lock(settingsMutex_);
  return flowTable_.size();
}

std::size_t StreamFormat::genDCDescriptorSize() const {
  std::lock_guard lock(settingsMutex_);
  return descriptor_.size();
}

}  // namespace lumo::mockTL
