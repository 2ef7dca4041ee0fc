#pragma once

#include "source/ImageDecoder.h"

namespace lumo::mockTL {

// BMP through stb_image, built with its BMP loader alone: uncompressed and bit-field images of 1 to
// 32 bits per pixel. They all load as 8-bit RGB, except a palette image (8 bits per pixel or fewer)
// whose pixels are all gray, which loads as one gray plane: that is how gray BMPs are stored.
class BmpDecoder final : public ImageDecoder {
 public:
  std::unique_ptr<MemoryImage> decode(const std::filesystem::path& file, std::uint64_t maxPixels) const override;
};

}  // namespace lumo::mockTL
