#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "source/MemoryImage.h"

namespace lumo::mockTL {

// Turns one image file format into what the image writers copy from: one plane (gray) or three
// planes (red, green, blue) of 8- or 16-bit unsigned samples, interleaved, so that a buffer of the
// matching pixel format is filled by one block copy. Alpha samples are dropped. One implementation
// per format, each in its own file with its library's headers.
//
// Decoders are stateless: any thread may call them, also several at once.
class ImageDecoder {
 public:
  virtual ~ImageDecoder() = default;

  // Decodes `file`. An image of more than `maxPixels` pixels is refused as soon as its header has
  // been read, before anything of its size is allocated. Throws std::runtime_error whose text is the
  // reason the file cannot be used (corrupt, truncated, a variant the decoder does not support).
  virtual std::unique_ptr<MemoryImage> decode(const std::filesystem::path& file, std::uint64_t maxPixels) const = 0;

 protected:
  struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  using File = std::unique_ptr<std::FILE, FileCloser>;

  // Opens `file` for binary reading; throws "cannot open the file: <reason>".
  static File openFile(const std::filesystem::path& file);

  // Throws when an image of width × height pixels is empty or larger than `maxPixels`.
  static void checkPixelCount(std::uint64_t width, std::uint64_t height, std::uint64_t maxPixels);
};

}  // namespace lumo::mockTL
