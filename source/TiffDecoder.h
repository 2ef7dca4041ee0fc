#pragma once

#include "source/ImageDecoder.h"

namespace lumo::mockTL {

// TIFF through libtiff: the first image of the file, 8- or 16-bit unsigned samples, gray
// (min-is-black) or RGB, samples contiguous or in separate planes, in strips or tiles, with any
// compression libtiff reads. Extra samples (alpha) are dropped.
class TiffDecoder final : public ImageDecoder {
 public:
  std::unique_ptr<MemoryImage> decode(const std::filesystem::path& file, std::uint64_t maxPixels) const override;
};

}  // namespace lumo::mockTL
