#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>

#include "source/SourceImage.h"

namespace lumo::mockTL {

// Loads one image file with the decoder its extension names. Stateless; any thread may call it.
class ImageFileLoader {
 public:
  // Images of more pixels than this are refused (a 10000 x 10000 image is the largest square one):
  // enough for any camera, and it bounds what one corrupt header can make the process allocate.
  static constexpr std::uint64_t kMaxPixels = 100'000'000;

  // Whether the extension of `file` (its file name from the last dot on) is one of ".bmp", ".mio",
  // ".jpg", ".jpeg", ".png", ".j2k", ".tif", ".tiff", compared case-sensitively. A name whose only
  // dot is its first character has none.
  static bool hasAcceptedExtension(const std::filesystem::path& file);

  // The image in `file`, read as its extension says. Throws std::runtime_error whose text is the
  // reason the file cannot be used: not a regular file, empty, no decoder for its format (".mio"),
  // more than `maxPixels` pixels, or whatever its decoder reports. The result is immutable, so any
  // number of threads may read it.
  static std::shared_ptr<const SourceImage> load(const std::filesystem::path& file,
                                                 std::uint64_t maxPixels = kMaxPixels);
};

}  // namespace lumo::mockTL
