// Every decoder on files the tests write themselves: what each format variant loads as, and how
// damaged, truncated, empty, oversized and unsupported files are refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <initializer_list>
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
        DecodeCase{"Bmp24BitTopDown", "a.bmp",
                   [](const fs::path& file, const TestPicture& picture) { writeBmp(file, picture, true); }, 3, 8, 3, 8,
                   0},
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

// Bad files, each made from a good 64 x 48 RGB image of its format.
using Bytes = std::vector<unsigned char>;

void putBigEndian(Bytes& bytes, std::size_t at, std::uint32_t value, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) bytes.at(at + i) = static_cast<unsigned char>(value >> (8 * (size - 1 - i)));
}

void putLittleEndian(Bytes& bytes, std::size_t at, std::uint32_t value, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) bytes.at(at + i) = static_cast<unsigned char>(value >> (8 * i));
}

std::size_t find(const Bytes& bytes, std::initializer_list<unsigned char> pattern) {
  const auto found = std::search(bytes.begin(), bytes.end(), pattern.begin(), pattern.end());
  if (found == bytes.end()) throw std::logic_error("marker not found");
  return static_cast<std::size_t>(found - bytes.begin());
}

// Where each format's header states the image size, rewritten to claim 60000 x 60000 pixels.
void claimHugeJpeg(Bytes& bytes) {
  const std::size_t frame = find(bytes, {0xFF, 0xC0});
  putBigEndian(bytes, frame + 5, 60000, 2);
  putBigEndian(bytes, frame + 7, 60000, 2);
}
void claimHugeTiff(Bytes& bytes) {
  std::size_t entry = bytes.at(4) | bytes.at(5) << 8 | bytes.at(6) << 16 | std::size_t{bytes.at(7)} << 24;
  std::size_t count = bytes.at(entry) | bytes.at(entry + 1) << 8;
  for (entry += 2; count-- > 0; entry += 12) {
    const unsigned tag = bytes.at(entry) | bytes.at(entry + 1) << 8;
    if (tag == 256 || tag == 257) putLittleEndian(bytes, entry + 8, 60000, 2);  // width, length
  }
}
void claimHugeJ2k(Bytes& bytes) {
  const std::size_t size = find(bytes, {0xFF, 0x51});
  for (const std::size_t field : {6, 10, 22, 26}) putBigEndian(bytes, size + field, 60000, 4);  // image and tile
}
void claimHugeBmp(Bytes& bytes) {
  putLittleEndian(bytes, 18, 60000, 4);
  putLittleEndian(bytes, 22, 60000, 4);
}

using Make = std::function<void(const fs::path&)>;

Make damaged(std::function<void(Bytes&)> damage) {
  return [damage](const fs::path& file) {
    writeImage(file, makePicture(64, 48, 3, 8));
    Bytes bytes = readBytes(file);
    damage(bytes);
    writeBytes(file, bytes);
  };
}

const Make kEmpty = damaged([](Bytes& bytes) { bytes.clear(); });
const Make kTruncated = damaged([](Bytes& bytes) { bytes.resize(bytes.size() / 2); });
// Past the first two bytes, so that the file still starts like its format.
// Inside the compressed data, where PNG, JPEG and LZW TIFF notice it (in raw BMP and in JPEG 2000
// any bytes decode to some pixels).
const Make kDataOverwritten = damaged([](Bytes& bytes) {
  std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2),
            bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2 + 16), 0xA5);
});
const Make kHeaderOverwritten = damaged([](Bytes& bytes) { std::fill(bytes.begin() + 2, bytes.begin() + 32, 0xA5); });

struct BadFileCase {
  const char* name;
  const char* fileName;
  Make make;
  const char* reason;  // what the refusal must say; empty: any reason
};

class UnusableImageFile : public ::testing::TestWithParam<BadFileCase> {};

TEST_P(UnusableImageFile, IsRefusedWithItsReason) {
  const BadFileCase& c = GetParam();
  TemporaryDirectory directory;
  const fs::path file = directory.path() / c.fileName;
  c.make(file);
  try {
    ImageFileLoader::load(file);
    FAIL() << "loaded";
  } catch (const std::runtime_error& failure) {
    EXPECT_NE(std::string(failure.what()), "");
    EXPECT_NE(std::string(failure.what()).find(c.reason), std::string::npos) << failure.what();
  }
}

constexpr const char* kOverLimit = "more than the limit of 100000000";

INSTANTIATE_TEST_SUITE_P(
    Files, UnusableImageFile,
    ::testing::Values(
        // Checked before any decoder runs, so one format stands for all.
        BadFileCase{"PngEmpty", "a.png", kEmpty, "the file is empty"},
        BadFileCase{"PngTruncated", "a.png", kTruncated, "the file ends before the image does"},
        BadFileCase{"PngDataOverwritten", "a.png", kDataOverwritten, ""},
        BadFileCase{"PngHeaderOverwritten", "a.png", kHeaderOverwritten, "Not a PNG file"},
        BadFileCase{"PngClaiming60000Squared", "a.png",
                    [](const fs::path& file) { writePngHeader(file, 60000, 60000); }, kOverLimit},
        BadFileCase{"JpegTruncated", "a.jpg", kTruncated, "Premature end of JPEG file"},
        BadFileCase{"JpegDataOverwritten", "a.jpg", kDataOverwritten, ""},
        BadFileCase{"JpegHeaderOverwritten", "a.jpg", kHeaderOverwritten, ""},
        BadFileCase{"JpegClaiming60000Squared", "a.jpg", damaged(claimHugeJpeg), kOverLimit},
        BadFileCase{"JpegCmyk", "a.jpg", writeCmykJpeg, "CMYK and YCCK images are not supported"},
        BadFileCase{"TiffTruncated", "a.tif", kTruncated, ""},
        BadFileCase{"TiffDataOverwritten", "a.tif", kDataOverwritten, ""},
        BadFileCase{"TiffHeaderOverwritten", "a.tif", kHeaderOverwritten, ""},
        BadFileCase{"TiffClaiming60000Squared", "a.tif", damaged(claimHugeTiff), kOverLimit},
        BadFileCase{"TiffMinIsWhite", "a.tif", writeMinIsWhiteTiff, "photometric interpretation 0 is not supported"},
        BadFileCase{"J2kTruncated", "a.j2k", kTruncated, ""},
        BadFileCase{"J2kHeaderOverwritten", "a.j2k", kHeaderOverwritten, ""},
        BadFileCase{"J2kClaiming60000Squared", "a.j2k", damaged(claimHugeJ2k), kOverLimit},
        BadFileCase{"BmpTruncated", "a.bmp", kTruncated, "the file ends before the image does"},
        BadFileCase{"BmpHeaderOverwritten", "a.bmp", kHeaderOverwritten, ""},
        BadFileCase{"BmpClaiming60000Squared", "a.bmp", damaged(claimHugeBmp), kOverLimit},
        BadFileCase{"MioHasNoDecoder", "a.mio",
                    [](const fs::path& file) {
                      writeBytes(file, {1, 2, 3});
                    },
                    "no decoder is available for .mio files"},
        BadFileCase{"PngNamedJpg", "a.jpg", [](const fs::path& file) { writePng(file, makePicture(4, 4, 1, 8)); },
                    "Not a JPEG file"},
        BadFileCase{"DirectoryNamedLikeAnImage", "a.png", [](const fs::path& file) { fs::create_directory(file); },
                    "not a regular file"},
        BadFileCase{"MissingFile", "a.png", [](const fs::path&) {}, "the file does not exist"}),
    [](const ::testing::TestParamInfo<BadFileCase>& info) { return info.param.name; });

struct ExtensionCase {
  const char* fileName;
  bool accepted;
};

class ImageFileExtension : public ::testing::TestWithParam<ExtensionCase> {};

TEST_P(ImageFileExtension, IsAcceptedOnlyAsWrittenInLowerCase) {
  EXPECT_EQ(ImageFileLoader::hasAcceptedExtension(GetParam().fileName), GetParam().accepted) << GetParam().fileName;
}

INSTANTIATE_TEST_SUITE_P(
    Names, ImageFileExtension,
    ::testing::Values(ExtensionCase{"a.bmp", true}, ExtensionCase{"a.mio", true}, ExtensionCase{"a.jpg", true},
                      ExtensionCase{"a.jpeg", true}, ExtensionCase{"a.png", true}, ExtensionCase{"a.j2k", true},
                      ExtensionCase{"a.tif", true}, ExtensionCase{"/dir.png/a.tiff", true},
                      ExtensionCase{"a.txt.png", true}, ExtensionCase{"a.PNG", false}, ExtensionCase{"a.Jpg", false},
                      ExtensionCase{"a.png.txt", false}, ExtensionCase{".png", false}, ExtensionCase{"png", false},
                      ExtensionCase{"a.", false}, ExtensionCase{"..", false}, ExtensionCase{"a.jp2", false}));

}  // namespace
}  // namespace lumo::mockTL
