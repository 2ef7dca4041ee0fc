#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "source/SourceImage.h"

// Image files for the image source tests, written by the tests themselves with the decoders'
// libraries (or, for BMP, byte by byte), so that every case shows what it contains.
namespace testing_support {

// Samples as a file stores them: `channels` per pixel (1 gray, 2 gray + alpha, 3 RGB, 4 RGBA),
// interleaved, each of `bitDepth` (8 or 16) bits.
struct TestPicture {
  std::uint32_t width;
  std::uint32_t height;
  std::size_t channels;
  std::uint8_t bitDepth;
  std::vector<std::uint16_t> samples;

  std::uint16_t at(std::uint32_t x, std::uint32_t y, std::size_t channel) const {
    return samples[(std::size_t{y} * width + x) * channels + channel];
  }
};

// A picture whose every sample differs from its neighbours in each of its bytes, so that a swapped
// channel, a transposed access, a wrong stride or a wrong byte order shows. `smooth` makes a gentle
// gradient instead, which lossy JPEG keeps within a few levels.
TestPicture makePicture(std::uint32_t width, std::uint32_t height, std::size_t channels, std::uint8_t bitDepth,
                        bool smooth = false);

// The variants of each format that the writers below can produce.
enum class TiffLayout { Contiguous, Planar, Tiled };

void writePng(const std::filesystem::path& file, const TestPicture& picture, bool interlaced = false);
// A PNG that ends after its header, which claims width x height 8-bit gray pixels, and an empty
// first data chunk.
void writePngHeader(const std::filesystem::path& file, std::uint32_t width, std::uint32_t height);
// Quality 100; 8-bit, 1 or 3 channels.
void writeJpeg(const std::filesystem::path& file, const TestPicture& picture);
void writeTiff(const std::filesystem::path& file, const TestPicture& picture, TiffLayout layout);
// Lossless; a raw codestream, or a JP2 file when `jp2`. `precision` defaults to the bit depth.
void writeJ2k(const std::filesystem::path& file, const TestPicture& picture, bool jp2 = false,
              std::uint8_t precision = 0);
// 1 channel: 8-bit palette of grays; 3 channels: 24-bit; 4 channels: 32-bit with alpha.
void writeBmp(const std::filesystem::path& file, const TestPicture& picture, bool topDown = false);

// Variants the decoders refuse: a 4 x 4 CMYK JPEG, a 4 x 4 8-bit min-is-white TIFF.
void writeCmykJpeg(const std::filesystem::path& file);
void writeMinIsWhiteTiff(const std::filesystem::path& file);

// Writes `picture` in the format `extension` names (".png", ".jpg", ".tif", ".j2k", ".bmp").
std::filesystem::path writeImage(const std::filesystem::path& file, const TestPicture& picture);

std::vector<unsigned char> readBytes(const std::filesystem::path& file);
void writeBytes(const std::filesystem::path& file, const std::vector<unsigned char>& bytes);

// Sample (x, y) of `plane`, read through the image's linear access.
std::uint16_t loadedSample(const lumo::mockTL::SourceImage& image, std::size_t plane, std::uint32_t x, std::uint32_t y);

}  // namespace testing_support
