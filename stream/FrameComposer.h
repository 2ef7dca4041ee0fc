#pragma once

#include <span>

#include "source/GeneratedSource.h"
#include "source/SourceImage.h"
#include "stream/BufferBase.h"
#include "stream/StreamFormat.h"

namespace lumo::mockTL {

// Writes a data stream's frames into buffers' memory, in the format the stream has at that
// moment: buffers announced earlier keep the sizes they were made with, while fills follow the
// current settings.
//
// Threads: the acquisition thread while the stream grabs, any one thread while it does not. The
// render cache is unguarded for that reason; the format is read under its settings mutex, once per
// frame.
class FrameComposer {
 public:
  // `format` must outlive the composer.
  explicit FrameComposer(const StreamFormat& format) : format_(format) {}
  FrameComposer(const FrameComposer&) = delete;
  FrameComposer& operator=(const FrameComposer&) = delete;

  // The image into the first segment (see writeImageData), or, in GenDC streaming mode, a
  // container built now with the image as every component's data, contiguous in one segment or
  // spread over one segment per flow. `image` null: the generated image. Throws
  // std::invalid_argument when the segments cannot take the container, and what the image
  // writers throw.
  FrameContent write(std::span<const Segment> segments, const SourceImage* image);

 private:
  const StreamFormat& format_;
  GeneratedSource generated_;
};

}  // namespace lumo::mockTL
