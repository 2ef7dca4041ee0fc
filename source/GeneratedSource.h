#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "source/ImageGeometry.h"

namespace lumo::mockTL {

// The image source of a stream that delivers generated images. Every frame of a generated stream
// is the same image, so it is rendered once per geometry and then copied into each buffer; a fill
// with a different geometry renders anew. Formats with an alpha sample cannot be copied (their alpha
// samples must keep what the buffer held) and are written directly, which is as fast.
//
// Threading: not synchronised. One thread at a time may use an object: the stream's acquisition
// thread while it runs, anyone once it has been joined. The caller reads the geometry from the
// stream's settings (under whatever lock guards them) and passes it by value, so settings changes
// on consumer threads never touch this object.
class GeneratedSource {
 public:
  // Writes the generated image of `geometry` into `destination` and returns true. Returns false and
  // leaves the destination untouched when it is smaller than geometry.payloadSize(). Throws
  // std::invalid_argument "unsupported pixel format" for a format the writers do not know.
  // Allocates only when the geometry differs from the previous fill's.
  bool fill(const ImageGeometry& geometry, std::span<std::byte> destination);

  // Frees the rendered image; the next fill renders again.
  void release();

 private:
  ImageGeometry renderedGeometry_;
  bool rendered_ = false;
  std::vector<std::byte> image_;
};

}  // namespace lumo::mockTL
