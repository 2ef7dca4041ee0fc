#pragma once

#include <cstddef>

#include "source/ImageGeometry.h"
#include "source/PixelFormatLayout.h"

// The synthetic test image that a stream without source images delivers: a diagonal ramp (x + y)
// for monochrome formats, one constant colour for colour formats and its mosaic for Bayer formats,
// with zero padding. It depends on the geometry alone, never on the frame.
namespace lumo::mockTL {

// Writes the generated image of `geometry` in `layout`'s format (the layout of
// geometry.pixelFormat) to `destination`, which must hold geometry.payloadSize() bytes. Alpha
// samples are never written: they keep what the memory held. Allocates only for packed formats.
void writeGeneratedImage(const PixelFormatLayout& layout, const ImageGeometry& geometry, std::byte* destination);

// The packed formats' part of the above: generates the unpacked counterpart into a scratch area and
// packs every sample, padding included, into `destination` in the PFNC bit layout. Throws
// std::runtime_error "invalid format for BufferP" when `layout` is not a packed format.
void writePackedImageData(const PixelFormatLayout& layout, const ImageGeometry& geometry, std::byte* destination);

}  // namespace lumo::mockTL
