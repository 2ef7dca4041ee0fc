#include "gendc/StreamSettings.h"

#include <stdexcept>

#include "gendc/CheckedSize.h"

namespace lumo::mockTL::GenDc {

std::uint64_t StreamSettings::imageSize() const {
  const std::uint64_t bitsPerPixel = (pixelFormat >> 16) & 0xFF;
  const std::uint64_t lineLength = std::uint64_t{width} + paddingX;
  const std::uint64_t lineCount = std::uint64_t{height} + paddingY;
  return checkedMultiply(checkedMultiply(bitsPerPixel, lineLength), lineCount) / 8;
}

std::uint32_t StreamSettings::partPixelFormat(std::uint64_t componentIndex, std::uint64_t partIndex) const {
  if (componentIndex >= imageCount) {
    throw std::out_of_range("component index must be smaller than the number of components");
  }
  if (partIndex >= kPartsPerComponent) {
    throw std::out_of_range("part index must be smaller than the number of parts");
  }
  return pixelFormat;
}

}  // namespace lumo::mockTL::GenDc
