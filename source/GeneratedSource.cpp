#include "source/GeneratedSource.h"

#include <cstring>
#include <stdexcept>

#include "source/GeneratedImage.h"
#include "source/PixelFormatLayout.h"

namespace lumo::mockTL {

bool GeneratedSource::fill(const ImageGeometry& geometry, std::span<std::byte> destination) {
  const std::uint64_t payload = geometry.payloadSize();
  if (destination.size() < payload) {
    return false;
  }
  const PixelFormatLayout* layout = findPixelFormatLayout(geometry.pixelFormat);
  if (layout == nullptr) {
    throw std::invalid_argument("unsupported pixel format");
  }
  if (payload == 0) {
    return true;
  }
  if (layout->hasAlpha()) {
    writeGeneratedImage(*layout, geometry, destination.data());
    return true;
  }
  if (!rendered_ || renderedGeometry_ != geometry) {
    rendered_ = false;
    image_.resize(static_cast<std::size_t>(payload));
    writeGeneratedImage(*layout, geometry, image_.data());
    renderedGeometry_ = geometry;
    rendered_ = true;
  }
  std::memcpy(destination.data(), image_.data(), image_.size());
  return true;
}

void GeneratedSource::release() {
  rendered_ = false;
  std::vector<std::byte>().swap(image_);
}

}  // namespace lumo::mockTL
