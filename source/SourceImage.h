#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace lumo::mockTL {

// What one plane of a loaded image holds per sample. Samples of up to 8 bits take one byte in
// memory, samples of 9 to 16 bits two bytes in the machine's byte order.
struct PlaneDataType {
  std::uint8_t bitDepth = 8;
  bool isSigned = false;

  std::size_t elementBytes() const { return bitDepth <= 8 ? 1 : 2; }
};

// Linear access to one plane: sample (x, y) is the element at base + x * xIncrement + y * yIncrement,
// the increments counted in elements. An interleaved RGB8 image is three planes with bases one byte
// apart and an x increment of 3.
struct LinearPlane {
  const std::byte* base = nullptr;
  std::ptrdiff_t xIncrement = 1;
  std::ptrdiff_t yIncrement = 0;
};

// A loaded image as the image writers read it: a size and a list of planes, red, green, blue in that
// order for colour images. Implementations come from the image decoders. The writers only read it;
// several streams' acquisition threads may read one image at the same time, so reading must be
// thread safe.
class SourceImage {
 public:
  virtual ~SourceImage() = default;

  virtual std::uint32_t width() const = 0;
  virtual std::uint32_t height() const = 0;
  virtual std::size_t planeCount() const = 0;
  virtual PlaneDataType planeDataType(std::size_t plane) const = 0;
  // The plane's linear layout, or nothing when the plane is not stored linearly. Throws a standard
  // exception whose text is the reason when the plane cannot be accessed at all.
  virtual std::optional<LinearPlane> linearPlane(std::size_t plane) const = 0;
};

}  // namespace lumo::mockTL
