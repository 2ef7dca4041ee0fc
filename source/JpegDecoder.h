#pragma once

#include "source/ImageDecoder.h"

namespace lumo::mockTL {

// JPEG through libjpeg-turbo: 8-bit grayscale and colour (YCbCr or RGB) images, baseline or
// progressive. A file that libjpeg would decode with a warning (corrupt or truncated data, which it
// patches with grey) is refused: a stream should not deliver made-up pixels.
class JpegDecoder final : public ImageDecoder {
 public:
  std::unique_ptr<MemoryImage> decode(const std::filesystem::path& file, std::uint64_t maxPixels) const override;
};

}  // namespace lumo::mockTL
