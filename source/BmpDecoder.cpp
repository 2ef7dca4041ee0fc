#include "source/BmpDecoder.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

// stb_image is compiled here, private to this file and with its BMP loader alone, so that no other
// format reaches a decoder that was not chosen for it.
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_BMP
#define STBI_NO_LINEAR
#define STBI_NO_HDR
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#include <stb_image.h>
#pragma GCC diagnostic pop

namespace lumo::mockTL {
namespace {

struct StbPixels {
  void operator()(stbi_uc* pixels) const { stbi_image_free(pixels); }
};

// Bits per pixel from the file header: in the old 12-byte info header at offset 24, in every later
// one at offset 28. 0 when the header is too short to tell.
unsigned bitsPerPixel(std::FILE* file) {
  std::array<unsigned char, 30> header{};
  const long start = std::ftell(file);
  const std::size_t read = std::fread(header.data(), 1, header.size(), file);
  std::fseek(file, start, SEEK_SET);
  if (read < header.size()) {
    return 0;
  }
  const std::size_t at = header[14] == 12 && header[15] == 0 ? 24 : 28;
  return header[at] | header[at + 1] << 8;
}

}  // namespace

std::unique_ptr<MemoryImage> BmpDecoder::decode(const std::filesystem::path& file, std::uint64_t maxPixels) const {
  const File input = openFile(file);
  int width = 0;
  int height = 0;
  int channels = 0;
  if (!stbi_info_from_file(input.get(), &width, &height, &channels)) {
    throw std::runtime_error(stbi_failure_reason());
  }
  checkPixelCount(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), maxPixels);
  const unsigned bits = bitsPerPixel(input.get());
  const std::unique_ptr<stbi_uc, StbPixels> pixels(stbi_load_from_file(input.get(), &width, &height, &channels, 3));
  if (!pixels) {
    throw std::runtime_error(stbi_failure_reason());
  }
  const std::size_t count = std::size_t(width) * static_cast<std::size_t>(height);
  const stbi_uc* rgb = pixels.get();
  const bool gray = bits != 0 && bits <= 8 && [&] {
    for (std::size_t i = 0; i < count; ++i) {
      if (rgb[3 * i] != rgb[3 * i + 1] || rgb[3 * i] != rgb[3 * i + 2]) return false;
    }
    return true;
  }();
  auto image = std::make_unique<MemoryImage>(width, height, gray ? 1 : 3, PlaneDataType{8, false},
                                             MemoryImage::Arrangement::Interleaved);
  if (gray) {
    for (std::size_t i = 0; i < count; ++i) image->data()[i] = std::byte{rgb[3 * i]};
  } else {
    std::memcpy(image->data(), rgb, image->size());
  }
  return image;
}

}  // namespace lumo::mockTL
