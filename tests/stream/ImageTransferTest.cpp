#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/Pfnc.h"
#include "source/GeneratedSource.h"
#include "source/MemoryImage.h"
#include "source/PixelFormatLayout.h"
#include "stream/ImageTransfer.h"
#include "support/ExpectThrowMessage.h"
#include "support/PrintImageGeometry.h"
#include "support/StaleBuffer.h"

namespace lumo::mockTL {
namespace {

using namespace pfnc;
using Arrangement = MemoryImage::Arrangement;

// A distinct value for every sample of every plane, so that a swapped plane, a transposed access
// or a wrong line stride shows.
std::uint16_t sourceValue(std::size_t plane, std::uint32_t x, std::uint32_t y, std::size_t bytes) {
  const auto value = static_cast<std::uint16_t>(plane * 0x5000 + y * 0x101 + x * 7 + 1);
  return bytes == 1 ? static_cast<std::uint8_t>(value) : value;
}

std::shared_ptr<MemoryImage> makeImage(std::uint32_t width, std::uint32_t height, std::size_t planes,
                                       std::uint8_t bitDepth, Arrangement arrangement) {
  auto image = std::make_shared<MemoryImage>(width, height, planes, PlaneDataType{bitDepth, false}, arrangement);
  const std::size_t bytes = PlaneDataType{bitDepth, false}.elementBytes();
  for (std::size_t p = 0; p < planes; ++p) {
    const LinearPlane plane = *image->linearPlane(p);
    for (std::uint32_t y = 0; y < height; ++y) {
      for (std::uint32_t x = 0; x < width; ++x) {
        const std::uint16_t value = sourceValue(p, x, y, bytes);
        std::byte* at = image->data() + (plane.base - image->data()) +
                        (x * plane.xIncrement + y * plane.yIncrement) * static_cast<std::ptrdiff_t>(bytes);
        if (bytes == 1) {
          *at = static_cast<std::byte>(value);
        } else {
          std::memcpy(at, &value, 2);  // an image's samples are in the machine's byte order
        }
      }
    }
  }
  return image;
}

std::vector<std::byte> transfer(const ImageGeometry& geometry, const SourceImage* image) {
  std::vector<std::byte> buffer = staleBuffer(static_cast<std::size_t>(geometry.payloadSize()));
  GeneratedSource generated;
  EXPECT_TRUE(writeImageData(geometry, buffer, image, generated));
  return buffer;
}

struct SingleCase {
  const char* name;
  std::uint32_t format;
  std::uint32_t imageWidth;
  std::size_t imagePlanes;
  Arrangement arrangement;
  unsigned expectedShift;
};

class CopiedSinglePlane : public testing::TestWithParam<SingleCase> {};

TEST_P(CopiedSinglePlane, EveryPixelComesFromTheImagesFirstPlane) {
  const SingleCase& c = GetParam();
  const std::size_t bytes = findPixelFormatLayout(c.format)->sampleBytes;
  const auto image = makeImage(c.imageWidth, 4, c.imagePlanes, bytes == 1 ? 8 : 12, c.arrangement);
  const ImageGeometry geometry{c.format, 5, 3, 0, 0};
  const std::vector<std::byte> buffer = transfer(geometry, image.get());
  for (std::uint32_t y = 0; y < geometry.height; ++y) {
    for (std::uint32_t x = 0; x < geometry.width; ++x) {
      const auto expected = static_cast<std::uint16_t>(sourceValue(0, x, y, bytes) << c.expectedShift);
      ASSERT_EQ(sampleAt(buffer, (y * geometry.width + x) * bytes, bytes), expected) << x << "," << y;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, CopiedSinglePlane,
    testing::Values(SingleCase{"Mono8Contiguous", Mono8, 5, 1, Arrangement::Planar, 0},
                    SingleCase{"Mono8FromWiderImage", Mono8, 7, 1, Arrangement::Planar, 0},
                    SingleCase{"BayerBG8FromFirstPlaneOfInterleavedImage", BayerBG8, 5, 3, Arrangement::Interleaved, 0},
                    // The block copy of a contiguous plane deliberately skips the shift.
                    SingleCase{"Mono10ContiguousIsCopiedUnshifted", Mono10, 5, 1, Arrangement::Planar, 0},
                    SingleCase{"Mono10FromWiderImageIsShifted", Mono10, 6, 1, Arrangement::Planar, 2},
                    SingleCase{"BayerGB12FromWiderImageIsShifted", BayerGB12, 8, 1, Arrangement::Planar, 4},
                    SingleCase{"Mono14FromInterleavedImageIsShifted", Mono14, 5, 2, Arrangement::Interleaved, 6},
                    SingleCase{"Mono16FromWiderImageIsUnshifted", Mono16, 6, 1, Arrangement::Planar, 0}),
    [](const testing::TestParamInfo<SingleCase>& info) { return info.param.name; });

struct ColourCase {
  const char* name;
  std::uint32_t format;
  std::uint32_t imageWidth;
  Arrangement arrangement;
};

class CopiedColour : public testing::TestWithParam<ColourCase> {};

TEST_P(CopiedColour, ComponentsComeFromTheRedGreenBluePlanesInTheFormatsOrder) {
  const ColourCase& c = GetParam();
  const PixelFormatLayout& layout = *findPixelFormatLayout(c.format);
  const std::size_t bytes = layout.sampleBytes;
  const auto image = makeImage(c.imageWidth, 3, 3, bytes == 1 ? 8 : 16, c.arrangement);
  const ImageGeometry geometry{c.format, 5, 3, 0, 0};
  const std::vector<std::byte> buffer = transfer(geometry, image.get());
  const bool bgr = layout.channels[0] == PixelFormatLayout::Blue;
  for (std::uint32_t y = 0; y < geometry.height; ++y) {
    for (std::uint32_t x = 0; x < geometry.width; ++x) {
      const std::size_t pixel = (y * geometry.width + x) * layout.pixelBytes();
      for (std::size_t s = 0; s < 3; ++s) {
        const std::size_t plane = bgr ? 2 - s : s;
        ASSERT_EQ(sampleAt(buffer, pixel + s * bytes, bytes), sourceValue(plane, x, y, bytes))
            << x << "," << y << " sample " << s;
      }
      for (std::size_t b = 3 * bytes; b < layout.pixelBytes(); ++b) ASSERT_EQ(buffer[pixel + b], kStale) << "alpha";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, CopiedColour,
                         testing::Values(ColourCase{"RGB8Interleaved", RGB8, 5, Arrangement::Interleaved},
                                         ColourCase{"RGB8InterleavedWiderImage", RGB8, 6, Arrangement::Interleaved},
                                         ColourCase{"RGB8Planar", RGB8, 5, Arrangement::Planar},
                                         ColourCase{"BGR8Interleaved", BGR8, 5, Arrangement::Interleaved},
                                         ColourCase{"BGR8Planar", BGR8, 5, Arrangement::Planar},
                                         ColourCase{"RGBa8KeepsAlpha", RGBa8, 5, Arrangement::Interleaved},
                                         ColourCase{"BGRa8KeepsAlpha", BGRa8, 5, Arrangement::Planar},
                                         ColourCase{"RGB10Planar", RGB10, 5, Arrangement::Planar},
                                         ColourCase{"BGR16Interleaved", BGR16, 5, Arrangement::Interleaved},
                                         ColourCase{"RGB16Interleaved", RGB16, 5, Arrangement::Interleaved},
                                         ColourCase{"BGRa12KeepsAlpha", BGRa12, 5, Arrangement::Planar}),
                         [](const testing::TestParamInfo<ColourCase>& info) { return info.param.name; });

// An image is copied only into unpadded, unpacked buffers; the rest is the generated image.
class GeneratedDespiteImage : public testing::TestWithParam<ImageGeometry> {};

TEST_P(GeneratedDespiteImage, BufferHoldsTheGeneratedImage) {
  const ImageGeometry geometry = GetParam();
  const auto image = makeImage(8, 4, 1, 8, Arrangement::Planar);
  GeneratedSource generated;
  std::vector<std::byte> expected = staleBuffer(static_cast<std::size_t>(geometry.payloadSize()));
  ASSERT_TRUE(generated.fill(geometry, expected));
  EXPECT_EQ(transfer(geometry, image.get()), expected);
}

INSTANTIATE_TEST_SUITE_P(Geometries, GeneratedDespiteImage,
                         testing::Values(ImageGeometry{Mono8, 8, 4, 2, 0}, ImageGeometry{Mono8, 8, 4, 0, 1},
                                         ImageGeometry{Mono12p, 8, 4, 0, 0}, ImageGeometry{BayerRG10p, 8, 4, 0, 0}));

struct FailureCase {
  const char* name;
  std::uint32_t format;
  std::function<std::shared_ptr<SourceImage>()> image;
  const char* message;
};

class UnreadableImage : public testing::TestWithParam<FailureCase> {};

TEST_P(UnreadableImage, FailsWithItsReasonAndWritesNothing) {
  const FailureCase& c = GetParam();
  const ImageGeometry geometry{c.format, 4, 3, 0, 0};
  const auto image = c.image();
  std::vector<std::byte> buffer = staleBuffer(static_cast<std::size_t>(geometry.payloadSize()));
  GeneratedSource generated;
  EXPECT_THROW_MESSAGE(writeImageData(geometry, buffer, image.get(), generated), std::runtime_error, c.message);
  EXPECT_EQ(buffer, staleBuffer(buffer.size()));
}

std::function<std::shared_ptr<SourceImage>()> plain(std::uint32_t width, std::uint32_t height, std::size_t planes,
                                                    std::uint8_t bitDepth) {
  return [=] { return makeImage(width, height, planes, bitDepth, Arrangement::Planar); };
}

INSTANTIATE_TEST_SUITE_P(
    Cases, UnreadableImage,
    testing::Values(
        FailureCase{"RGB8FromMonoImage", RGB8, plain(4, 3, 1, 8),
                    "Color image access failed: the image has fewer planes than the pixel format has components"},
        FailureCase{"Mono16From8BitImage", Mono16, plain(4, 3, 1, 8),
                    "Image could not be accessed: the image's sample width does not fit the pixel format"},
        FailureCase{"Mono8FromNarrowerImage", Mono8, plain(3, 3, 1, 8),
                    "Image could not be accessed: the image is smaller than the stream's image size"}),
    [](const testing::TestParamInfo<FailureCase>& info) { return info.param.name; });

TEST(ImageTransfer, BufferOneByteShortIsLeftUntouchedAlsoWithAnImage) {
  const ImageGeometry geometry{RGB8, 4, 3, 0, 0};
  const auto image = makeImage(4, 3, 3, 8, Arrangement::Interleaved);
  std::vector<std::byte> buffer = staleBuffer(static_cast<std::size_t>(geometry.payloadSize()) - 1);
  GeneratedSource generated;
  EXPECT_FALSE(writeImageData(geometry, buffer, image.get(), generated));
  EXPECT_EQ(buffer, staleBuffer(buffer.size()));
}

TEST(ImageTransfer, UnsupportedFormatFailsAlsoWithAnImage) {
  const auto image = makeImage(4, 3, 1, 8, Arrangement::Planar);
  std::vector<std::byte> buffer = staleBuffer(64);
  GeneratedSource generated;
  EXPECT_THROW(writeImageData({0x010C0004, 4, 3, 0, 0}, buffer, image.get(), generated), std::invalid_argument);
  EXPECT_EQ(buffer, staleBuffer(64));
}

}  // namespace
}  // namespace lumo::mockTL
