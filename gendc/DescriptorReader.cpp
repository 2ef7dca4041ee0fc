#include "gendc/DescriptorReader.h"

#include <stdexcept>

namespace lumo::mockTL::GenDc {
namespace {

constexpr std::uint64_t kSignature = 0x43444E47;  // "GNDC"
constexpr std::uint64_t kContainerHeaderType = 0x1000;
// Container header: ComponentCount at 52, ComponentOffset[i] from 56. Component header:
// PartCount at 46, PartOffset[j] from 48. 2D part header: Format at 8, dimensions at 40 and 44,
// padding at 48 and 50.
constexpr std::uint64_t kPartHeaderSize = 56;

}  // namespace

DescriptorReader::DescriptorReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {
  if (bytes_.size() < 56 || field(0, 4) != kSignature || field(8, 2) != kContainerHeaderType) {
    throw std::invalid_argument("not a GenDC descriptor");
  }
  // Only 16 bits of the count are meaningful: writers store it so.
  componentCount_ = field(52, 4) & 0xFFFF;
}

std::uint64_t DescriptorReader::field(std::uint64_t offset, std::uint64_t width) const {
  if (offset > bytes_.size() || width > bytes_.size() - offset) {
    throw std::invalid_argument("GenDC descriptor ends inside a header");
  }
  std::uint64_t value = 0;
  for (std::uint64_t i = 0; i < width; ++i) {
    value |= std::uint64_t{bytes_[offset + i]} << (8 * i);
  }
  return value;
}

std::uint64_t DescriptorReader::componentOffset(std::uint64_t component) const {
  if (component >= componentCount_) {
    throw std::out_of_range("component index must be smaller than the number of components");
  }
  return field(56 + 8 * component, 8);
}

std::uint64_t DescriptorReader::partCount(std::uint64_t component) const {
  const std::uint64_t at = componentOffset(component);
  if (at > bytes_.size()) {
    throw std::invalid_argument("GenDC descriptor ends inside a header");
  }
  return field(at + 46, 2);
}

PartImage DescriptorReader::part(std::uint64_t component, std::uint64_t part) const {
  const std::uint64_t componentAt = componentOffset(component);
  if (part >= partCount(component)) {
    throw std::out_of_range("part index must be smaller than the number of parts");
  }
  const std::uint64_t at = field(componentAt + 48 + 8 * part, 8);
  if (at > bytes_.size() || kPartHeaderSize > bytes_.size() - at) {
    throw std::invalid_argument("GenDC descriptor ends inside a header");
  }
  PartImage image{};
  image.headerType = static_cast<std::uint16_t>(field(at, 2));
  if ((image.headerType & 0xFF00) != 0x4200) {
    throw std::invalid_argument("not a 2D part");
  }
  image.pixelFormat = static_cast<std::uint32_t>(field(at + 8, 4));
  image.width = static_cast<std::uint32_t>(field(at + 40, 4));
  image.height = static_cast<std::uint32_t>(field(at + 44, 4));
  image.paddingX = static_cast<std::uint16_t>(field(at + 48, 2));
  image.paddingY = static_cast<std::uint16_t>(field(at + 50, 2));
  return image;
}

}  // namespace lumo::mockTL::GenDc
