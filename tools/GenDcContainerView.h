#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lmmocktl {

// The image parts of a GenDC container held in contiguous memory (descriptor, then data), read
// from its headers as the GenDC standard lays them out: the container header ("GNDC", HeaderType
// 0x1000) with its component offsets, each component header (0x2000) with its part offsets, and
// 2D image part headers (0x4200) with format, data offset and size, dimensions and padding. Parts
// of other kinds (JPEG, chunk data, ...) are counted but not listed.
class GenDcContainerView {
 public:
  struct ImagePart {
    std::uint32_t component = 0;
    std::uint32_t part = 0;
    std::uint32_t pixelFormat = 0;
    const std::uint8_t* data = nullptr;
    std::uint64_t dataSize = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t paddingX = 0;  // bytes after each line
  };

  // Throws std::runtime_error when the memory does not hold a container whose headers and data
  // lie within `size` bytes.
  GenDcContainerView(const std::uint8_t* container, std::size_t size);

  const std::vector<ImagePart>& imageParts() const { return imageParts_; }
  std::uint32_t otherParts() const { return otherParts_; }

 private:
  std::vector<ImagePart> imageParts_;
  std::uint32_t otherParts_ = 0;
};

}  // namespace lmmocktl
