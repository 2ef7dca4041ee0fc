#include "source/BmpDecoder.h"

#include <array>
#include <cstdio>
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

// What stb_image does not check: its reads past the end of a file yield zeros, so a truncated BMP
// would load with made-up rows. Fields as the Windows bitmap headers lay them out, little-endian.
struct BmpHeader {
  std::uint32_t dataOffset = 0;
  std::uint32_t bitsPerPixel = 0;
  bool compressed = false;

  // Reads the header and puts the file position back. A header too short to read stays zero.
  static BmpHeader read(std::FILE* file) {
    std::array<unsigned char, 34> bytes{};
    const long start = std::ftell(file);
    const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), file);
    std::fseek(file, start, SEEK_SET);
    BmpHeader header;
    if (count < bytes.size()) {
      return header;
    }
    const auto field = [&bytes](std::size_t at, std::size_t size) {
      std::uint32_t value = 0;
      for (std::size_t i = 0; i < size; ++i) value |= std::uint32_t{bytes[at + i]} << (8 * i);
      return value;
    };
    // The old 12-byte info header has 16-bit fields and no compression; every later one the layout below.
    const bool old = field(14, 4) == 12;
    header.dataOffset = field(10, 4);
    header.bitsPerPixel = old ? field(24, 2) : field(28, 2);
    // 3 and 6 are bit-field layouts, which are not compressed either.
    const std::uint32_t compression = old ? 0 : field(30, 4);
    header.compressed = compression != 0 && compression != 3 && compression != 6;
    return header;
  }

  // Whether an uncompressed image of width x height pixels fits in `fileSize` bytes.
  bool fits(std::uint64_t width, std::uint64_t height, std::uint64_t fileSize) const {
    const std::uint64_t rowBytes = (width * bitsPerPixel + 31) / 32 * 4;
    return compressed || std::uint64_t{dataOffset} + rowBytes * height <= fileSize;
  }
};

}  // namespace

std::unique_ptr<MemoryImage> BmpDecoder::decode(const std::filesystem::path& file, std::uint64_t maxPixels) const {
  const File input = openFile(file);
  int width = 0;
  int height = 0;
  int channels = 0;
  if (!stbi_info_from_file(input.get(), &width, &height, &channels)) {
    throw std::runtime_error(stbi_failure_reason());
  }
  // A negative height in the header marks rows stored top-down; the size is its magnitude (taken
  // in 64 bits, where even the most negative header value has one).
  const auto magnitude = [](int value) {
    return value < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(static_cast<std::int64_t>(value))
                     : static_cast<std::uint64_t>(value);
  };
  const std::uint64_t columns = magnitude(width);
  const std::uint64_t rows = magnitude(height);
  checkPixelCount(columns, rows, maxPixels);
  const BmpHeader header = BmpHeader::read(input.get());
  if (!header.fits(columns, rows, std::filesystem::file_size(file))) {
    throw std::runtime_error("the file ends before the image does");
  }
  const std::unique_ptr<stbi_uc, StbPixels> pixels(stbi_load_from_file(input.get(), &width, &height, &channels, 3));
  if (!pixels) {
    throw std::runtime_error(stbi_failure_reason());
  }
  const std::size_t count = std::size_t(width) * static_cast<std::size_t>(height);
  const stbi_uc* rgb = pixels.get();
  const bool gray = header.bitsPerPixel != 0 && header.bitsPerPixel <= 8 && [&] {
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
