#include "source/MemoryImage.h"

#include <stdexcept>

namespace lumo::mockTL {

MemoryImage::MemoryImage(std::uint32_t width, std::uint32_t height, std::size_t planeCount, PlaneDataType dataType,
                         Arrangement arrangement)
    : width_(width),
      height_(height),
      planeCount_(planeCount),
      dataType_(dataType),
      arrangement_(arrangement),
      samples_(std::size_t{width} * height * planeCount * dataType.elementBytes()) {}

void MemoryImage::checkPlane(std::size_t plane) const {
  if (plane >= planeCount_) {
    throw std::out_of_range("plane index out of range");
  }
}

PlaneDataType MemoryImage::planeDataType(std::size_t plane) const {
  checkPlane(plane);
  return dataType_;
}

std::optional<LinearPlane> MemoryImage::linearPlane(std::size_t plane) const {
  checkPlane(plane);
  const std::size_t element = dataType_.elementBytes();
  const auto width = static_cast<std::ptrdiff_t>(width_);
  if (arrangement_ == Arrangement::Interleaved) {
    const auto count = static_cast<std::ptrdiff_t>(planeCount_);
    return LinearPlane{samples_.data() + plane * element, count, count * width};
  }
  return LinearPlane{samples_.data() + plane * std::size_t{width_} * height_ * element, 1, width};
}

}  // namespace lumo::mockTL
