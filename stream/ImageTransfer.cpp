#include "stream/ImageTransfer.h"

#include <array>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>

#include "source/PixelFormatLayout.h"
#include "source/SampleStore.h"

namespace lumo::mockTL {
namespace {

using Layout = PixelFormatLayout;

// Opens plane `index` for copying into `geometry`: a failure of the image, or an image that does
// not fit the format or the geometry, fails with `prefix` and the reason; a plane that is not
// stored linearly fails with `notLinear`.
LinearPlane openPlane(const SourceImage& image, std::size_t index, const Layout& layout, const ImageGeometry& geometry,
                      const std::string& prefix, const std::string& notLinear) {
  std::optional<LinearPlane> plane;
  try {
    if (index >= image.planeCount()) {
      throw std::runtime_error("the image has fewer planes than the pixel format has components");
    }
    if (image.planeDataType(index).elementBytes() != layout.sampleBytes) {
      throw std::runtime_error("the image's sample width does not fit the pixel format");
    }
    if (image.width() < geometry.width || image.height() < geometry.height) {
      throw std::runtime_error("the image is smaller than the stream's image size");
    }
    plane = image.linearPlane(index);
  } catch (const std::exception& failure) {
    throw std::runtime_error(prefix + failure.what());
  }
  if (!plane) {
    throw std::runtime_error(notLinear);
  }
  return *plane;
}

template <class Sample>
const std::byte* sampleAt(const LinearPlane& plane, std::uint32_t x, std::uint32_t y) {
  return plane.base + (x * plane.xIncrement + y * plane.yIncrement) * static_cast<std::ptrdiff_t>(sizeof(Sample));
}

template <class Sample>
void copySinglePlane(const Layout& layout, const ImageGeometry& geometry, const LinearPlane& plane, std::byte* out) {
  if (plane.xIncrement == 1 && plane.yIncrement == geometry.width) {
    // Deliberately unshifted: a contiguous plane is copied as it is, although the per-sample path
    // below shifts 16-bit samples to the format's depth.
    std::memcpy(out, plane.base, std::size_t{geometry.width} * geometry.height * sizeof(Sample));
    return;
  }
  const std::ptrdiff_t xStep = plane.xIncrement * static_cast<std::ptrdiff_t>(sizeof(Sample));
  for (std::uint32_t y = 0; y < geometry.height; ++y) {
    const std::byte* in = sampleAt<Sample>(plane, 0, y);
    for (std::uint32_t x = 0; x < geometry.width; ++x, in += xStep, out += sizeof(Sample)) {
      storeSample(out, static_cast<Sample>(loadNativeSample<Sample>(in) << layout.shift));
    }
  }
}

// `planes` are in memory order of the format already. With four components the fourth, alpha, is
// left as the buffer held it.
template <class Sample, std::size_t Components>
void copyColour(const ImageGeometry& geometry, const std::array<LinearPlane, 3>& planes, std::byte* out) {
  constexpr auto step = static_cast<std::ptrdiff_t>(sizeof(Sample));
  if (Components == 3 && planes[0].xIncrement == 3 && planes[0].yIncrement == 3 * std::ptrdiff_t{geometry.width} &&
      planes[1].base == planes[0].base + step && planes[2].base == planes[0].base + 2 * step &&
      planes[1].xIncrement == 3 && planes[2].xIncrement == 3 && planes[1].yIncrement == planes[0].yIncrement &&
      planes[2].yIncrement == planes[0].yIncrement) {
    // Decoded files usually interleave their samples exactly as the buffer wants them.
    std::memcpy(out, planes[0].base, std::size_t{geometry.width} * geometry.height * 3 * sizeof(Sample));
    return;
  }
  // Plain locals, not arrays: byte stores may alias any memory, so array elements would be
  // reloaded after every sample.
  const std::ptrdiff_t step0 = planes[0].xIncrement * step;
  const std::ptrdiff_t step1 = planes[1].xIncrement * step;
  const std::ptrdiff_t step2 = planes[2].xIncrement * step;
  for (std::uint32_t y = 0; y < geometry.height; ++y) {
    const std::byte* in0 = sampleAt<Sample>(planes[0], 0, y);
    const std::byte* in1 = sampleAt<Sample>(planes[1], 0, y);
    const std::byte* in2 = sampleAt<Sample>(planes[2], 0, y);
    for (std::uint32_t x = 0; x < geometry.width; ++x, out += Components * step) {
      storeSample(out, loadNativeSample<Sample>(in0));
      storeSample(out + step, loadNativeSample<Sample>(in1));
      storeSample(out + 2 * step, loadNativeSample<Sample>(in2));
      in0 += step0;
      in1 += step1;
      in2 += step2;
    }
  }
}

void copySingle(const Layout& layout, const ImageGeometry& geometry, const SourceImage& image, std::byte* out) {
  const bool wide = layout.sampleBytes == 2;
  const std::string prefix = "Image could not be accessed: ";
  const LinearPlane plane =
      openPlane(image, 0, layout, geometry, prefix, wide ? "Image is not linear" : prefix + "Image is not linear");
  wide ? copySinglePlane<std::uint16_t>(layout, geometry, plane, out)
       : copySinglePlane<std::uint8_t>(layout, geometry, plane, out);
}

void copyColourPlanes(const Layout& layout, const ImageGeometry& geometry, const SourceImage& image, std::byte* out) {
  std::array<LinearPlane, 3> inMemoryOrder;
  for (std::size_t index = 0; index < 3; ++index) {
    const LinearPlane plane =
        openPlane(image, index, layout, geometry,
                  "Color image access failed: ", "Image plane " + std::to_string(index) + " is not linear");
    for (std::size_t c = 0; c < 3; ++c) {
      if (std::size_t{layout.channels[c]} == index) {
        inMemoryOrder[c] = plane;
      }
    }
  }
  const bool wide = layout.sampleBytes == 2;
  if (layout.hasAlpha()) {
    wide ? copyColour<std::uint16_t, 4>(geometry, inMemoryOrder, out)
         : copyColour<std::uint8_t, 4>(geometry, inMemoryOrder, out);
  } else {
    wide ? copyColour<std::uint16_t, 3>(geometry, inMemoryOrder, out)
         : copyColour<std::uint8_t, 3>(geometry, inMemoryOrder, out);
  }
}

}  // namespace

bool writeImageData(const ImageGeometry& geometry, std::span<std::byte> destination, const SourceImage* image,
                    GeneratedSource& generated) {
  const bool copies = image != nullptr && geometry.paddingX == 0 && geometry.paddingY == 0;
  const Layout* layout = findPixelFormatLayout(geometry.pixelFormat);
  if (!copies || layout == nullptr || layout->packing != Layout::Packing::None) {
    return generated.fill(geometry, destination);
  }
  if (destination.size() < geometry.payloadSize()) {
    return false;
  }
  if (geometry.payloadSize() == 0) {
    return true;
  }
  layout->pattern == Layout::Pattern::Colour ? copyColourPlanes(*layout, geometry, *image, destination.data())
                                             : copySingle(*layout, geometry, *image, destination.data());
  return true;
}

}  // namespace lumo::mockTL
