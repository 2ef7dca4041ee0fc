#include "stream/FrameComposer.h"

#include <cassert>
#include <cstdint>
#include <vector>

#include "gendc/Container.h"
#include "stream/ImageTransfer.h"

namespace lumo::mockTL {

namespace {

std::span<std::uint8_t> bytesOf(const Segment& segment) {
  return {reinterpret_cast<std::uint8_t*>(segment.base), static_cast<std::size_t>(segment.size)};
}

}  // namespace

FrameContent FrameComposer::write(std::span<const Segment> segments, const SourceImage* image) {
  assert(!segments.empty());
  const StreamFormat::FrameSettings settings = format_.frameSettings();
  if (!settings.container) {
    writeImageData(settings.geometry, std::as_writable_bytes(bytesOf(segments.front())), image, generated_);
    return FrameContent::Image;
  }
  // Built per frame: its component headers carry the time it was made.
  const GenDc::Container container(*settings.container);
  std::vector<std::span<std::uint8_t>> parts;
  if (segments.size() == 1) {
    // One piece of memory takes the container in either flow mapping.
    parts = container.writeInto(bytesOf(segments.front()));
  } else {
    std::vector<std::span<std::uint8_t>> flows;
    flows.reserve(segments.size());
    for (const Segment& segment : segments) {
      flows.push_back(bytesOf(segment));
    }
    parts = container.writeIntoSegments(flows);
  }
  // Every component carries the frame's image: the parts are exactly one image long.
  for (const std::span<std::uint8_t> part : parts) {
    writeImageData(settings.geometry, std::as_writable_bytes(part), image, generated_);
  }
  return FrameContent::GenDCContainer;
}

}  // namespace lumo::mockTL
