#pragma once

#include <cstddef>
#include <span>

#include "source/GeneratedSource.h"
#include "source/ImageGeometry.h"
#include "source/SourceImage.h"

namespace lumo::mockTL {

// Writes one frame into a buffer's memory in the stream's pixel format and padding: a copy of
// `image`, or the generated image that `generated` (the stream's render cache) holds when there is
// no image. Packed formats are always generated, also when an image is given, and so is every
// padded geometry: an image is only ever copied into an unpadded buffer.
//
// Returns false and leaves the destination untouched when it is smaller than
// geometry.payloadSize(). Throws std::invalid_argument "unsupported pixel format" for a format the
// writers do not know, and std::runtime_error when the image cannot be read: "Image could not be
// accessed: <reason>", "Image is not linear" (16-bit formats), "Color image access failed: <reason>"
// or "Image plane <n> is not linear". Colour images are read as planes red, green, blue and written
// in the format's component order; alpha samples are never written.
//
// Called on the stream's acquisition thread; reads `image` only and allocates nothing unless the
// geometry changed (see GeneratedSource).
bool writeImageData(const ImageGeometry& geometry, std::span<std::byte> destination, const SourceImage* image,
                    GeneratedSource& generated);

}  // namespace lumo::mockTL
