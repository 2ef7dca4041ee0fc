#include "tools/GenDcContainerView.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace lmmocktl {

namespace {

constexpr std::uint32_t kSignature = 0x43444E47;  // "GNDC"
constexpr std::uint16_t kContainerHeader = 0x1000;
constexpr std::uint16_t kComponentHeader = 0x2000;
constexpr std::uint16_t kImagePart = 0x4200;

// Little-endian reads bounded by the container's size.
class Reader {
 public:
  Reader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  template <class T>
  T at(std::uint64_t offset) const {
    if (offset > size_ || size_ - offset < sizeof(T)) {
      throw std::runtime_error("GenDC container: a header field at " + std::to_string(offset) + " lies beyond its " +
                               std::to_string(size_) + " bytes");
    }
    T value{};
    std::memcpy(&value, data_ + offset, sizeof(T));
    return value;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

}  // namespace

GenDcContainerView::GenDcContainerView(const std::uint8_t* container, std::size_t size) {
  const Reader read(container, size);
  if (read.at<std::uint32_t>(0) != kSignature || read.at<std::uint16_t>(8) != kContainerHeader) {
    throw std::runtime_error("GenDC container: no GNDC container header");
  }
  const auto components = read.at<std::uint32_t>(52);
  for (std::uint32_t component = 0; component < components; ++component) {
    const auto componentOffset = read.at<std::uint64_t>(56 + 8ull * component);
    if (read.at<std::uint16_t>(componentOffset) != kComponentHeader) {
      throw std::runtime_error("GenDC container: component " + std::to_string(component) + " has no component header");
    }
    const auto parts = read.at<std::uint16_t>(componentOffset + 46);
    for (std::uint32_t part = 0; part < parts; ++part) {
      const auto partOffset = read.at<std::uint64_t>(componentOffset + 48 + 8ull * part);
      if (read.at<std::uint16_t>(partOffset) != kImagePart) {
        ++otherParts_;
        continue;
      }
      ImagePart image;
      image.component = component;
      image.part = part;
      image.pixelFormat = read.at<std::uint32_t>(partOffset + 8);
      image.dataSize = read.at<std::uint64_t>(partOffset + 24);
      const auto dataOffset = read.at<std::uint64_t>(partOffset + 32);
      image.width = read.at<std::uint32_t>(partOffset + 40);
      image.height = read.at<std::uint32_t>(partOffset + 44);
      image.paddingX = read.at<std::uint16_t>(partOffset + 48);
      if (dataOffset > size || size - dataOffset < image.dataSize) {
        throw std::runtime_error("GenDC container: the data of component " + std::to_string(component) + " part " +
                                 std::to_string(part) + " lies beyond its " + std::to_string(size) + " bytes");
      }
      image.data = container + dataOffset;
      imageParts_.push_back(image);
    }
  }
}

}  // namespace lmmocktl
