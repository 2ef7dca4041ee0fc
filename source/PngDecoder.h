#pragma once

#include "source/ImageDecoder.h"

namespace lumo::mockTL {

// PNG through libpng: gray, gray + alpha, RGB, RGBA and palette images of any bit depth, also
// interlaced. Depths below 8 bits and palettes are expanded to 8-bit samples; 16-bit samples stay
// 16-bit, in the machine's byte order.
class PngDecoder final : public ImageDecoder {
 public:
  std::unique_ptr<MemoryImage> decode(const std::filesystem::path& file, std::uint64_t maxPixels) const override;
};

}  // namespace lumo::mockTL
