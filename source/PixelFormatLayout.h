#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace lumo::mockTL {

// How the image writers lay out one supported pixel format: what the generated image shows, how wide
// and how many its samples are, and, for the packed formats, which unpacked format is generated
// first and how it is packed. The table holds exactly the formats the writers support. For a packed
// format every field but `code`, `packing` and `unpackedCode` describes its unpacked counterpart.
struct PixelFormatLayout {
  enum class Pattern : std::uint8_t { Ramp, Mosaic, Colour };
  enum class Packing : std::uint8_t { None, Bits10, Bits12 };
  enum Channel : std::uint8_t { Red = 0, Green = 1, Blue = 2, Alpha = 3 };

  std::uint32_t code;
  Pattern pattern;
  std::uint8_t sampleBytes;  // 1 or 2, little-endian
  std::uint8_t components;   // samples per pixel: 1, 3, or 4 with the alpha sample last
  std::uint8_t shift;        // left shift of the ramp or of the 8-bit colour constant
  // Mosaic: the filter colours of the 2 x 2 tile at (0,0), (1,0), (0,1), (1,1).
  // Colour: the channel of each sample, in memory order; a source image's planes are red, green, blue.
  std::array<Channel, 4> channels;
  Packing packing;
  std::uint32_t unpackedCode;  // packed formats: the format generated before packing; else 0

  bool hasAlpha() const { return components == 4; }
  std::size_t pixelBytes() const { return std::size_t{sampleBytes} * components; }
  // The constant colour's sample for `channel`, scaled to this format's depth.
  std::uint16_t colourSample(Channel channel) const;
};

// The layout of `code`, or nullptr when the writers do not support it.
const PixelFormatLayout* findPixelFormatLayout(std::uint32_t code);

}  // namespace lumo::mockTL
