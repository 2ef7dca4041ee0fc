#pragma once

#include "source/ImageDecoder.h"

namespace lumo::mockTL {

// JPEG 2000 through OpenJPEG: a raw codestream, or a JP2 file carrying one (files named .j2k are
// either in practice). One component is gray, three or more are red, green, blue (further
// components, such as alpha, are dropped). Components of up to 8 bits give 8-bit samples, of 9 to
// 16 bits 16-bit samples holding the values as coded. Signed and subsampled components are not
// supported.
class Jpeg2000Decoder final : public ImageDecoder {
 public:
  std::unique_ptr<MemoryImage> decode(const std::filesystem::path& file, std::uint64_t maxPixels) const override;
};

}  // namespace lumo::mockTL
