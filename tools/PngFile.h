#pragma once

#include <filesystem>

#include "tools/UnpackedImage.h"

namespace lmmocktl {

// Writes and reads PNG files of gray or RGB images, 8 or 16 bits per sample, with libpng.
class PngFile {
 public:
  // Writes `image`; a 16-bit image whose format used fewer bits records them in an sBIT chunk.
  // Throws std::runtime_error when the file cannot be written.
  static void write(const std::filesystem::path& path, const UnpackedImage& image);
  // Reads a gray or RGB PNG of 8 or 16 bits back. Throws std::runtime_error.
  static UnpackedImage read(const std::filesystem::path& path);
};

}  // namespace lmmocktl
