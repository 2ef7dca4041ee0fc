#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "source/SourceImage.h"

namespace lumo::mockTL {

// A decoded image held in memory, what an image decoder hands to the writers. All planes share one
// data type and one block of memory, laid out either interleaved (a pixel's samples side by side,
// as most files store colour) or planar (one whole plane after the other). Immutable once the
// decoder has filled it, so any number of threads may read it.
class MemoryImage : public SourceImage {
 public:
  enum class Arrangement { Interleaved, Planar };

  // Zero-filled storage for `planeCount` planes of width × height samples of `dataType`.
  MemoryImage(std::uint32_t width, std::uint32_t height, std::size_t planeCount, PlaneDataType dataType,
              Arrangement arrangement);

  // The samples, for the decoder to fill: native byte order, laid out as the arrangement says.
  std::byte* data() { return samples_.data(); }
  std::size_t size() const { return samples_.size(); }

  std::uint32_t width() const override { return width_; }
  std::uint32_t height() const override { return height_; }
  std::size_t planeCount() const override { return planeCount_; }
  PlaneDataType planeDataType(std::size_t plane) const override;
  std::optional<LinearPlane> linearPlane(std::size_t plane) const override;

 private:
  void checkPlane(std::size_t plane) const;

  std::uint32_t width_;
  std::uint32_t height_;
  std::size_t planeCount_;
  PlaneDataType dataType_;
  Arrangement arrangement_;
  std::vector<std::byte> samples_;
};

}  // namespace lumo::mockTL
