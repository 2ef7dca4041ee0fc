// Every decoder on files the tests write themselves: what each format variant loads as, and how
// damaged, truncated, empty, oversized and unsupported files are refused.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "source/ImageFileLoader.h"
#include "source/ImageFiles.h"
#include "support/ScopedEnvironment.h"

namespace lumo::mockTL {
namespace {

namespace fs = std::filesystem;
using namespace testing_support;

using Writer = std::function<void(const fs::path&, const TestPicture&)>;

Writer tiff(TiffLayout layout) {
  return [layout](const fs::path& file, const TestPicture& picture) { writeTiff(file, picture, layout); };
}

struct DecodeCase {
  const char* name;
  const char* fileName;
  Writer write;
  std::size_t channels;
  std::uint8_t bitDepth;
  std::size_t planes;           // what the loaded image has: alpha dropped
  std::uint8_t loadedBitDepth;  // what its planes report
  int tolerance;                // 0 but for lossy JPEG
};

void PrintTo(const DecodeCase& c, std::ostream* out) { *out << c.name; }

class DecodedImage : public ::testing::TestWithParam<DecodeCase> {};

// Odd sizes, so that a row stride or a partial last tile that is off by a pixel shows.
TEST_P(DecodedImage, HoldsTheFilesColourSamplesInterleavedForBlockCopies) {
  const DecodeCase& c = GetParam();
  TemporaryDirectory directory;
  const fs::path file = directory.path() / c.fileName;
  const TestPicture picture = makePicture(19, 7, c.channels, c.bitDepth, c.tolerance != 0);
  c.write(file, picture);

  const auto image = ImageFileLoader::load(file);
  ASSERT_EQ(image->width(), 19u);
  ASSERT_EQ(image->height(), 7u);
  ASSERT_EQ(image->planeCount(), c.planes);
  for (std::size_t plane = 0; plane < c.planes; ++plane) {
    EXPECT_EQ(image->planeDataType(plane).bitDepth, c.loadedBitDepth);
    EXPECT_FALSE(image->planeDataType(plane).isSigned);
    const LinearPlane linear = image->linearPlane(plane).value();
    EXPECT_EQ(linear.xIncrement, static_cast<std::ptrdiff_t>(c.planes));
    EXPECT_EQ(linear.yIncrement, static_cast<std::ptrdiff_t>(19 * c.planes));
    for (std::uint32_t y = 0; y < 7; ++y) {
      for (std::uint32_t x = 0; x < 19; ++x) {
        ASSERT_NEAR(loadedSample(*image, plane, x, y), picture.at(x, y, plane), c.tolerance)
            << "plane " << plane << " at " << x << "," << y;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, DecodedImage,
    ::testing::Values(
        DecodeCase{"PngGray8", "a.png", writeImage, 1, 8, 1, 8, 0},
        DecodeCase{"PngGray16", "a.png", writeImage, 1, 16, 1, 16, 0},
        DecodeCase{"PngGrayAlpha8DropsAlpha", "a.png", writeImage, 2, 8, 1, 8, 0},
        DecodeCase{"PngRgb8", "a.png", writeImage, 3, 8, 3, 8, 0},
        DecodeCase{"PngRgb16", "a.png", writeImage, 3, 16, 3, 16, 0},
        DecodeCase{"PngRgba16DropsAlpha", "a.png", writeImage, 4, 16, 3, 16, 0},
        DecodeCase{"PngRgb8Interlaced", "a.png",
                   [](const fs::path& file, const TestPicture& picture) { writePng(file, picture, true); }, 3, 8, 3, 8,
                   0},
        DecodeCase{"JpegGray", "a.jpg", writeImage, 1, 8, 1, 8, 3},
        DecodeCase{"JpegRgbLongExtension", "a.jpeg", writeJpeg, 3, 8, 3, 8, 3},
        DecodeCase{"TiffGray8Lzw", "a.tif", tiff(TiffLayout::Contiguous), 1, 8, 1, 8, 0},
        DecodeCase{"TiffGray16Planar", "a.tiff", tiff(TiffLayout::Planar), 1, 16, 1, 16, 0},
        DecodeCase{"TiffRgb8Planar", "a.tif", tiff(TiffLayout::Planar), 3, 8, 3, 8, 0},
        DecodeCase{"TiffRgb16Lzw", "a.tif", tiff(TiffLayout::Contiguous), 3, 16, 3, 16, 0},
        DecodeCase{"TiffRgba8PlanarDropsAlpha", "a.tif", tiff(TiffLayout::Planar), 4, 8, 3, 8, 0},
        DecodeCase{"TiffGrayAlpha16DropsAlpha", "a.tif", tiff(TiffLayout::Contiguous), 2, 16, 1, 16, 0},
        DecodeCase{"TiffRgb8Tiled", "a.tif", tiff(TiffLayout::Tiled), 3, 8, 3, 8, 0},
        DecodeCase{"TiffGray16Tiled", "a.tif", tiff(TiffLayout::Tiled), 1, 16, 1, 16, 0},
        DecodeCase{"J2kGray8", "a.j2k", writeImage, 1, 8, 1, 8, 0},
        DecodeCase{"J2kRgb16", "a.j2k", writeImage, 3, 16, 3, 16, 0},
        DecodeCase{"J2kRgba8DropsAlpha", "a.j2k", writeImage, 4, 8, 3, 8, 0},
        DecodeCase{"Jp2FileNamedJ2k", "a.j2k",
                   [](const fs::path& file, const TestPicture& picture) { writeJ2k(file, picture, true); }, 3, 8, 3, 8,
                   0},
        DecodeCase{"BmpGrayPalette", "a.bmp", writeImage, 1, 8, 1, 8, 0},
        DecodeCase{"Bmp24Bit", "a.bmp", writeImage, 3, 8, 3, 8, 0},
        DecodeCase{"Bmp32BitDropsAlpha", "a.bmp", writeImage, 4, 8, 3, 8, 0}),
    [](const ::testing::TestParamInfo<DecodeCase>& info) { return info.param.name; });

TEST(DecodedImage, J2kOf12BitsLoadsAs16BitSamplesHoldingTheCodedValues) {
  TemporaryDirectory directory;
  TestPicture picture = makePicture(9, 5, 1, 16);
  for (auto& sample : picture.samples) sample &= 0x0FFF;
  writeJ2k(directory.path() / "a.j2k", picture, false, 12);
  const auto image = ImageFileLoader::load(directory.path() / "a.j2k");
  ASSERT_EQ(image->planeDataType(0).bitDepth, 12);
  EXPECT_EQ(image->planeDataType(0).elementBytes(), 2u);
  for (std::uint32_t y = 0; y < 5; ++y) {
    for (std::uint32_t x = 0; x < 9; ++x) ASSERT_EQ(loadedSample(*image, 0, x, y), picture.at(x, y, 0));
  }
}

}  // namespace
}  // namespace lumo::mockTL
