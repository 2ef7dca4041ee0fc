#include "source/ImageDecoder.h"

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace lumo::mockTL {

ImageDecoder::File ImageDecoder::openFile(const std::filesystem::path& file) {
  File opened(std::fopen(file.c_str(), "rb"));
  if (!opened) {
    throw std::runtime_error("cannot open the file: " + std::generic_category().message(errno));
  }
  return opened;
}

void ImageDecoder::checkPixelCount(std::uint64_t width, std::uint64_t height, std::uint64_t maxPixels) {
  if (width == 0 || height == 0) {
    throw std::runtime_error("the image has no pixels");
  }
  // Both factors come from 32-bit header fields, so the product cannot wrap around.
  if (width * height > maxPixels) {
    throw std::runtime_error("the image has " + std::to_string(width) + " x " + std::to_string(height) +
                             " pixels, more than the limit of " + std::to_string(maxPixels));
  }
}

}  // namespace lumo::mockTL
