#pragma once

#include <cstdint>
#include <span>

namespace lumo::mockTL::GenDc {

// What a 2D part header of a GenDC descriptor says about its image.
struct PartImage {
  std::uint16_t headerType;
  std::uint32_t pixelFormat;  // PFNC code
  std::uint32_t width;
  std::uint32_t height;
  std::uint16_t paddingX;
  std::uint16_t paddingY;
};

// Reads a GenDC descriptor from bytes that come from outside (a recording's prefetch descriptor):
// every offset it follows is checked against the bytes it was given, so a damaged or foreign
// descriptor is refused, never read beyond. Holds a view of the bytes, which must outlive it.
class DescriptorReader {
 public:
  // Throws std::invalid_argument "not a GenDC descriptor" when the bytes do not start with a
  // container header.
  explicit DescriptorReader(std::span<const std::uint8_t> bytes);

  std::uint64_t componentCount() const { return componentCount_; }
  // Throws std::out_of_range "component index must be smaller than the number of components",
  // std::invalid_argument "GenDC descriptor ends inside a header".
  std::uint64_t partCount(std::uint64_t component) const;
  // Part `part` of component `component`. Throws as partCount, and std::out_of_range "part index
  // must be smaller than the number of parts"; std::invalid_argument "not a 2D part" for a part
  // without image dimensions.
  PartImage part(std::uint64_t component, std::uint64_t part) const;

 private:
  std::uint64_t field(std::uint64_t offset, std::uint64_t width) const;
  std::uint64_t componentOffset(std::uint64_t component) const;

  std::span<const std::uint8_t> bytes_;
  std::uint64_t componentCount_ = 0;
};

}  // namespace lumo::mockTL::GenDc
