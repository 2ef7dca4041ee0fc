#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lmmocktl {

// An image as a PNG file holds it: gray or RGB samples of 8 or 16 bits, one line after another
// without padding. `significantBits` is how many low bits of each sample the pixel format used
// (12 for Mono12p): the values are kept, not scaled.
struct UnpackedImage {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  unsigned channels = 1;  // 1 gray, 3 RGB
  unsigned bitDepth = 8;  // 8 or 16
  unsigned significantBits = 8;
  std::vector<std::uint16_t> samples;  // width * height * channels

  // The PFNC name of `pixelFormat` when unpack() knows it.
  static std::optional<std::string> formatName(std::uint32_t pixelFormat);
  static std::optional<std::uint32_t> formatCode(const std::string& name);

  // Unpacks an image of a PFNC pixel format from `data` (`size` bytes from the first pixel): mono
  // and Bayer of 8 to 16 bits (Bayer stays a mosaic, shown gray), their 10p and 12p packings, and
  // RGB, BGR, RGBa and BGRa of 8 to 16 bits (alpha dropped). Each line is followed by
  // `paddingBytes` bytes of padding, as BUFFER_INFO_XPADDING counts them. Throws
  // std::runtime_error for another format or too few bytes.
  static UnpackedImage unpack(std::uint32_t pixelFormat, const std::uint8_t* data, std::size_t size,
                              std::uint32_t width, std::uint32_t height, std::uint32_t paddingBytes);
};

}  // namespace lmmocktl
