// Arbitrary bytes as an image file of each accepted format: the first byte picks the extension,
// the rest is the file. Loading either gives an image that the image writers can read whole, or
// refuses the file with a std::runtime_error naming the reason; nothing else, and never more
// memory than the pixel limit allows.
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>

#include "fuzz/Expect.h"
#include "fuzz/ScratchDirectory.h"
#include "source/ImageFileLoader.h"
#include "source/SourceImage.h"

namespace {

using lumo::mockTL::ImageFileLoader;
using lumo::mockTL::SourceImage;
using lumo::mockTL::fuzz::expect;
using lumo::mockTL::fuzz::ScratchDirectory;

constexpr const char* kExtensions[] = {".png", ".jpg", ".tif", ".j2k", ".bmp", ".mio"};
constexpr std::size_t kExtensionCount = sizeof(kExtensions) / sizeof(kExtensions[0]);

// Small enough that a header claiming a huge image is refused quickly, large enough for the seeds.
constexpr std::uint64_t kMaxPixels = 1u << 20;

// Touches every sample the writers would copy, so that a plane shorter than its size claims shows.
unsigned readEverySample(const SourceImage& image) {
  unsigned sum = 0;
  for (std::size_t plane = 0; plane < image.planeCount(); ++plane) {
    const auto linear = image.linearPlane(plane);
    expect(linear.has_value(), "a decoded plane is stored linearly");
    const std::size_t bytes = image.planeDataType(plane).elementBytes();
    for (std::uint32_t y = 0; y < image.height(); ++y) {
      for (std::uint32_t x = 0; x < image.width(); ++x) {
        const std::byte* sample = linear->base + (x * linear->xIncrement + y * linear->yIncrement) *
                                                     static_cast<std::ptrdiff_t>(bytes);
        sum += std::to_integer<unsigned>(sample[0]);
      }
    }
  }
  return sum;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  static const ScratchDirectory scratch;
  const std::string name = std::string("image") + kExtensions[data[0] % kExtensionCount];
  const auto file = scratch.write(name, std::span<const std::uint8_t>(data + 1, size - 1));
  try {
    const auto image = ImageFileLoader::load(file, kMaxPixels);
    expect(image != nullptr, "a loaded image exists");
    expect(image->width() > 0 && image->height() > 0, "a loaded image has pixels");
    expect(std::uint64_t{image->width()} * image->height() <= kMaxPixels, "a loaded image keeps to the pixel limit");
    expect(image->planeCount() == 1 || image->planeCount() == 3, "a loaded image is gray or colour");
    volatile unsigned sink = readEverySample(*image);
    (void)sink;
  } catch (const std::runtime_error& refusal) {
    expect(*refusal.what() != '\0', "a refused file names its reason");
  }
  scratch.remove(name);
  return 0;
}
