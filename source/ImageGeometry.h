#pragma once

#include <cstdint>
#include <limits>

#include "base/Pfnc.h"

namespace lumo::mockTL {

// What a stream's image looks like in memory: a PFNC pixel format, the pixels that carry image
// content, and the zero padding after every line (padding X, in pixels) and after the last line
// (padding Y, in lines of width + padding X pixels). Lines are packed back to back.
struct ImageGeometry {
  std::uint32_t pixelFormat = pfnc::Mono8;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t paddingX = 0;
  std::uint32_t paddingY = 0;

  constexpr std::uint64_t pixelsPerLine() const { return std::uint64_t{width} + paddingX; }
  constexpr std::uint64_t lineCount() const { return std::uint64_t{height} + paddingY; }

  // Bits per pixel × (width + padding X) × (height + padding Y) / 8, the product formed in full before
  // the division. Saturates at the largest 64-bit value for geometries no memory can hold, so that
  // comparing it with a real buffer's size refuses them instead of wrapping around.
  constexpr std::uint64_t payloadSize() const {
    const std::uint64_t lineBits = pfnc::bitsPerPixel(pixelFormat) * pixelsPerLine();
    const std::uint64_t lines = lineCount();
    if (lines != 0 && lineBits > std::numeric_limits<std::uint64_t>::max() / lines) {
      return std::numeric_limits<std::uint64_t>::max();
    }
    return lineBits * lines / 8;
  }

  constexpr bool operator==(const ImageGeometry&) const = default;
};

}  // namespace lumo::mockTL
