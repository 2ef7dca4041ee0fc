// Formats the producer does not stream by default, unpacked by lmmocktl from hand-made bytes.
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/UnpackedImage.h"

namespace {

using lmmocktl::UnpackedImage;

struct UnpackCase {
  const char* format;
  std::vector<std::uint8_t> bytes;
  std::uint32_t width;
  std::uint32_t height;
  std::uint32_t paddingBytes;
  unsigned channels;
  unsigned bitDepth;
  std::vector<std::uint16_t> samples;
};

class UnpackedImageFormats : public ::testing::TestWithParam<UnpackCase> {};

TEST_P(UnpackedImageFormats, GivesTheSamplesInRgbOrderWithoutPadding) {
  const UnpackCase& c = GetParam();
  const auto code = UnpackedImage::formatCode(c.format);
  ASSERT_TRUE(code);
  const UnpackedImage image =
      UnpackedImage::unpack(*code, c.bytes.data(), c.bytes.size(), c.width, c.height, c.paddingBytes);
  EXPECT_EQ(image.channels, c.channels);
  EXPECT_EQ(image.bitDepth, c.bitDepth);
  EXPECT_EQ(image.samples, c.samples);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, UnpackedImageFormats,
    ::testing::Values(
        // 10p: four samples in five bytes, lowest bits first.
        UnpackCase{"Mono10p", {0xFF, 0x07, 0x00, 0x00, 0xC0}, 4, 1, 0, 1, 16, {0x3FF, 0x001, 0x000, 0x300}},
        // 12p across a padded line: one padding pixel is reported as its one whole byte.
        UnpackCase{"Mono12p", {0x21, 0x43, 0x65, 0x87, 0xA9, 0xCB}, 1, 2, 1, 1, 16, {0x321, 0x987}},
        UnpackCase{"BGR8", {1, 2, 3, 4, 5, 6}, 2, 1, 0, 3, 8, {3, 2, 1, 6, 5, 4}},
        UnpackCase{"RGBa8", {1, 2, 3, 255, 4, 5, 6, 255}, 2, 1, 0, 3, 8, {1, 2, 3, 4, 5, 6}},
        UnpackCase{"Mono8", {7, 8, 0, 9, 10, 0}, 2, 2, 1, 1, 8, {7, 8, 9, 10}},
        UnpackCase{"RGB12", {0xFF, 0x0F, 0, 0, 1, 0}, 1, 1, 0, 3, 16, {0xFFF, 0, 1}}),
    [](const auto& info) { return std::string(info.param.format); });

TEST(UnpackedImage, RefusesUnknownFormatsAndShortBuffers) {
  const std::vector<std::uint8_t> bytes(10);
  EXPECT_THROW(UnpackedImage::unpack(0x12345678, bytes.data(), bytes.size(), 2, 2, 0), std::runtime_error);
  EXPECT_THROW(UnpackedImage::unpack(*UnpackedImage::formatCode("Mono16"), bytes.data(), bytes.size(), 3, 2, 0),
               std::runtime_error);
}

}  // namespace
