#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/Pfnc.h"
#include "source/GeneratedImage.h"
#include "source/GeneratedSource.h"
#include "source/PixelFormatLayout.h"
#include "support/ExpectThrowMessage.h"
#include "support/StaleBuffer.h"

namespace lumo::mockTL {
namespace {

std::vector<std::byte> generate(const ImageGeometry& geometry, std::size_t extra = 0) {
  std::vector<std::byte> buffer = staleBuffer(static_cast<std::size_t>(geometry.payloadSize()) + extra);
  GeneratedSource source;
  EXPECT_TRUE(source.fill(geometry, buffer));
  return buffer;
}

// One pixel of a generated image: its samples in memory order (alpha, when present, must still hold
// the stale byte pattern).
struct PixelCase {
  const char* name;
  std::uint32_t format;
  std::uint32_t width, height, x, y;
  std::size_t sampleBytes;
  std::vector<std::uint16_t> samples;
};

class GeneratedPixel : public testing::TestWithParam<PixelCase> {};

TEST_P(GeneratedPixel, HoldsTheFormatsPatternValue) {
  const PixelCase& c = GetParam();
  const ImageGeometry geometry{c.format, c.width, c.height, 0, 0};
  const std::vector<std::byte> image = generate(geometry);
  const std::size_t pixelBytes = c.sampleBytes * c.samples.size();
  const std::size_t offset = (std::size_t{c.y} * c.width + c.x) * pixelBytes;
  for (std::size_t s = 0; s < c.samples.size(); ++s) {
    EXPECT_EQ(sampleAt(image, offset + s * c.sampleBytes, c.sampleBytes), c.samples[s]) << "sample " << s;
  }
}

using namespace pfnc;
// Mono8, Mono16, Mono12p and RGB8 are checked pixel by pixel through the built producer.
INSTANTIATE_TEST_SUITE_P(Formats, GeneratedPixel,
                         testing::Values(PixelCase{"Mono10RampIsNotClipped", Mono10, 300, 200, 200, 100, 2, {1200}},
                                         PixelCase{"Mono12ShiftsByFour", Mono12, 4, 4, 1, 2, 2, {48}},
                                         PixelCase{"Mono14ShiftsBySix", Mono14, 4, 4, 1, 0, 2, {64}},
                                         PixelCase{"Mono16SumWrapsAt65536", Mono16, 70000, 1, 65540, 0, 2, {4}},
                                         PixelCase{"Mono12ShiftedRampIsCutTo16Bits", Mono12, 5000, 1, 4097, 0, 2, {16}},
                                         PixelCase{"BayerRG8EvenLineOddPixel", BayerRG8, 4, 4, 1, 2, 1, {161}},
                                         PixelCase{"BayerRG8OddLineOddPixel", BayerRG8, 4, 4, 3, 3, 1, {102}},
                                         PixelCase{"BayerGR8Origin", BayerGR8, 4, 4, 0, 0, 1, {161}},
                                         PixelCase{"BayerGR8SecondLine", BayerGR8, 4, 4, 0, 1, 1, {102}},
                                         PixelCase{"BayerGB8SecondLine", BayerGB8, 4, 4, 0, 3, 1, {55}},
                                         PixelCase{"BayerBG8Origin", BayerBG8, 4, 4, 2, 0, 1, {102}},
                                         PixelCase{"BayerBG8OddPixelOddLine", BayerBG8, 4, 4, 1, 1, 1, {55}},
                                         PixelCase{"BayerRG10ShiftsByTwo", BayerRG10, 4, 4, 1, 1, 2, {408}},
                                         PixelCase{"BayerGB12ShiftsByFour", BayerGB12, 4, 4, 1, 0, 2, {1632}},
                                         PixelCase{"BayerBG16IsUnshifted", BayerBG16, 4, 4, 0, 0, 2, {102}},
                                         PixelCase{"BayerGR16IsUnshifted", BayerGR16, 4, 4, 3, 2, 2, {55}},
                                         PixelCase{"BGR8", BGR8, 1, 1, 0, 0, 1, {102, 161, 55}},
                                         PixelCase{"RGBa8KeepsAlpha", RGBa8, 3, 2, 1, 1, 1, {55, 161, 102, 0xEE}},
                                         PixelCase{"BGRa8KeepsAlpha", BGRa8, 3, 2, 2, 0, 1, {102, 161, 55, 0xEE}},
                                         PixelCase{"RGB10", RGB10, 2, 2, 1, 1, 2, {220, 644, 408}},
                                         PixelCase{"BGR12", BGR12, 2, 2, 1, 0, 2, {1632, 2576, 880}},
                                         PixelCase{"BGR14", BGR14, 2, 2, 1, 0, 2, {6528, 10304, 3520}},
                                         PixelCase{"RGB16", RGB16, 2, 2, 1, 1, 2, {14080, 41216, 26112}},
                                         PixelCase{"BGR16", BGR16, 2, 2, 1, 1, 2, {26112, 41216, 14080}},
                                         PixelCase{"RGBa10", RGBa10, 2, 2, 1, 1, 2, {220, 644, 408, 0xEEEE}},
                                         PixelCase{"BGRa12", BGRa12, 2, 2, 1, 1, 2, {1632, 2576, 880, 0xEEEE}},
                                         PixelCase{"RGBa14", RGBa14, 2, 2, 0, 1, 2, {3520, 10304, 6528, 0xEEEE}},
                                         PixelCase{"BGRa16", BGRa16, 3, 1, 2, 0, 2, {26112, 41216, 14080, 0xEEEE}}),
                         [](const testing::TestParamInfo<PixelCase>& info) { return info.param.name; });

// Every padding sample is zero, every image pixel carries the pattern, and nothing beyond the
// payload is written: per format family, with padding on both axes.
class PaddedImage : public testing::TestWithParam<std::uint32_t> {};

TEST_P(PaddedImage, PaddingIsZeroImageIsPatternAndTheRestIsUntouched) {
  const std::uint32_t format = GetParam();
  const PixelFormatLayout& layout = *findPixelFormatLayout(format);
  const ImageGeometry padded{format, 5, 3, 2, 2};
  const std::vector<std::byte> image = generate(padded, 16);
  const std::vector<std::byte> unpadded = generate({format, 5, 3, 0, 0});
  const std::size_t pixelBytes = layout.pixelBytes();
  const std::size_t alphaOffset = 3 * layout.sampleBytes;
  for (std::size_t y = 0; y < padded.lineCount(); ++y) {
    for (std::size_t x = 0; x < padded.pixelsPerLine(); ++x) {
      const bool inImage = x < padded.width && y < padded.height;
      for (std::size_t b = 0; b < pixelBytes; ++b) {
        const std::byte actual = image[(y * padded.pixelsPerLine() + x) * pixelBytes + b];
        const bool alpha = layout.hasAlpha() && b >= alphaOffset;
        const std::byte expected = alpha     ? kStale
                                   : inImage ? unpadded[(y * padded.width + x) * pixelBytes + b]
                                             : std::byte{0};
        ASSERT_EQ(actual, expected) << "pixel " << x << "," << y << " byte " << b;
      }
    }
  }
  for (std::size_t i = static_cast<std::size_t>(padded.payloadSize()); i < image.size(); ++i)
    ASSERT_EQ(image[i], kStale);
}

INSTANTIATE_TEST_SUITE_P(Families, PaddedImage,
                         testing::Values(Mono8, Mono12, BayerGB8, BayerRG16, RGB8, BGR12, RGBa8, BGRa8, RGBa16,
                                         BGRa10));

TEST(GeneratedImage, ZeroWidthStillWritesThePaddingLines) {
  const std::vector<std::byte> image = generate({Mono8, 0, 2, 3, 1});
  EXPECT_EQ(image, std::vector<std::byte>(9, std::byte{0}));
}

// PFNC 10p/12p read back the way a consumer unpacks them: sample i is bits [i*n, i*n + n) of the
// little-endian bit stream.
std::vector<std::uint16_t> unpack(const std::vector<std::byte>& packed, unsigned bits, std::size_t count) {
  std::vector<std::uint16_t> samples;
  for (std::size_t i = 0; i < count; ++i) {
    std::uint32_t value = 0;
    for (unsigned bit = 0; bit < bits; ++bit) {
      const std::size_t at = i * bits + bit;
      value |= ((std::to_integer<unsigned>(packed.at(at / 8)) >> (at % 8)) & 1u) << bit;
    }
    samples.push_back(static_cast<std::uint16_t>(value));
  }
  return samples;
}

struct PackedCase {
  std::uint32_t packed;
  std::uint32_t unpacked;
  unsigned bits;
};

class PackedImage : public testing::TestWithParam<PackedCase> {};

// 260 pixels wide, the ramp exceeds 10 and 12 bits: each sample is cut to its packed width instead
// of spilling into its neighbour.
TEST_P(PackedImage, UnpacksToTheUnpackedFormatsSamplesCutToThePackedWidth) {
  const PackedCase& c = GetParam();
  const ImageGeometry geometry{c.packed, 260, 3, 4, 1};
  const std::vector<std::byte> packed = generate(geometry);
  const std::vector<std::byte> unpacked = generate({c.unpacked, 260, 3, 4, 1});
  const std::size_t count = static_cast<std::size_t>(geometry.pixelsPerLine() * geometry.lineCount());
  ASSERT_EQ(packed.size(), count * c.bits / 8);
  const std::vector<std::uint16_t> samples = unpack(packed, c.bits, count);
  for (std::size_t i = 0; i < count; ++i) {
    ASSERT_EQ(samples[i], sampleAt(unpacked, 2 * i, 2) & ((1u << c.bits) - 1)) << "sample " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, PackedImage,
                         testing::Values(PackedCase{Mono10p, Mono10, 10}, PackedCase{Mono12p, Mono12, 12},
                                         PackedCase{BayerBG10p, BayerBG10, 10}, PackedCase{BayerGB10p, BayerGB10, 10},
                                         PackedCase{BayerGR10p, BayerGR10, 10}, PackedCase{BayerRG10p, BayerRG10, 10},
                                         PackedCase{BayerBG12p, BayerBG12, 12}, PackedCase{BayerGB12p, BayerGB12, 12},
                                         PackedCase{BayerGR12p, BayerGR12, 12}, PackedCase{BayerRG12p, BayerRG12, 12}));

TEST(GeneratedImage, PartialPackedGroupIsWrittenOnlyUpToThePayload) {
  // Five 10-bit samples are 50 bits, a payload of 6 bytes: the fifth sample keeps its low 8 bits.
  const ImageGeometry geometry{Mono10p, 5, 1, 0, 0};
  ASSERT_EQ(geometry.payloadSize(), 6u);
  // Written directly: through GeneratedSource's render cache an overrun would hit the cache, not this buffer.
  std::vector<std::byte> image = staleBuffer(10);
  writePackedImageData(*findPixelFormatLayout(Mono10p), geometry, image.data());
  EXPECT_EQ(unpack(image, 10, 4), (std::vector<std::uint16_t>{0, 4, 8, 12}));
  EXPECT_EQ(image[5], std::byte{16});
  for (std::size_t i = 6; i < image.size(); ++i) EXPECT_EQ(image[i], kStale) << i;
}

// Codes outside the table, among them packed codes whose bit layout exists but is never delivered.
class UnsupportedFormat : public testing::TestWithParam<std::uint32_t> {};

TEST_P(UnsupportedFormat, FailsAndWritesNothing) {
  GeneratedSource source;
  std::vector<std::byte> buffer = staleBuffer(64);
  EXPECT_THROW_MESSAGE(source.fill({GetParam(), 2, 2, 0, 0}, buffer), std::invalid_argument,
                       "unsupported pixel format");
  EXPECT_EQ(buffer, staleBuffer(64));
}

INSTANTIATE_TEST_SUITE_P(Codes, UnsupportedFormat,
                         testing::Values(0u, 0x010C0004u /* Mono10Packed */, 0x010C002Au /* BayerGR12Packed */,
                                         0x0220001Du /* RGB10p32 */, 0x02180014u + 0x100u));

class TooSmallBuffer : public testing::TestWithParam<std::uint32_t> {};

TEST_P(TooSmallBuffer, OneByteShortIsLeftUntouchedWithoutError) {
  const ImageGeometry geometry{GetParam(), 6, 4, 2, 1};
  const std::size_t size = static_cast<std::size_t>(geometry.payloadSize()) - 1;
  std::vector<std::byte> buffer = staleBuffer(size);
  GeneratedSource source;
  EXPECT_FALSE(source.fill(geometry, buffer));
  EXPECT_EQ(buffer, staleBuffer(size));
}

INSTANTIATE_TEST_SUITE_P(Families, TooSmallBuffer, testing::Values(Mono8, Mono16, BayerRG8, RGB8, RGBa8, Mono12p));

TEST(GeneratedSource, GeometryTooLargeForAnyMemoryIsRefusedNotWrapped) {
  const ImageGeometry huge{RGBa16, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF};
  std::vector<std::byte> buffer = staleBuffer(64);
  GeneratedSource source;
  EXPECT_FALSE(source.fill(huge, buffer));
}

TEST(GeneratedSource, ConsecutiveFramesAreIdenticalEvenAfterTheBufferWasStamped) {
  GeneratedSource source;
  const ImageGeometry geometry{BayerGB12p, 16, 4, 0, 0};
  std::vector<std::byte> first = staleBuffer(static_cast<std::size_t>(geometry.payloadSize()));
  ASSERT_TRUE(source.fill(geometry, first));
  std::vector<std::byte> second = first;
  // The stream stamps the timestamp over the first 8 bytes after each fill.
  std::fill_n(second.begin(), 8, std::byte{0x5A});
  ASSERT_TRUE(source.fill(geometry, second));
  EXPECT_EQ(first, second);
}

// A stream's settings change between frames: the next fill must show the new geometry, not the
// image rendered for the old one.
struct SettingsChange {
  const char* name;
  ImageGeometry before;
  ImageGeometry after;
};

class GeneratedSourceSettingsChange : public testing::TestWithParam<SettingsChange> {};

TEST_P(GeneratedSourceSettingsChange, NextFillShowsTheNewGeometry) {
  const SettingsChange& c = GetParam();
  GeneratedSource source;
  std::vector<std::byte> buffer = staleBuffer(4096);
  ASSERT_TRUE(source.fill(c.before, buffer));
  buffer = staleBuffer(static_cast<std::size_t>(c.after.payloadSize()));
  ASSERT_TRUE(source.fill(c.after, buffer));
  EXPECT_EQ(buffer, generate(c.after));
}

INSTANTIATE_TEST_SUITE_P(Changes, GeneratedSourceSettingsChange,
                         testing::Values(SettingsChange{"Width", {Mono8, 8, 4, 0, 0}, {Mono8, 6, 4, 0, 0}},
                                         SettingsChange{"Height", {Mono8, 8, 4, 0, 0}, {Mono8, 8, 5, 0, 0}},
                                         SettingsChange{
                                             "PixelFormatSameSize", {Mono16, 8, 4, 0, 0}, {Mono10, 8, 4, 0, 0}},
                                         SettingsChange{"BayerOrder", {BayerRG8, 8, 4, 0, 0}, {BayerBG8, 8, 4, 0, 0}},
                                         SettingsChange{"PaddingX", {RGB8, 8, 4, 0, 0}, {RGB8, 6, 4, 2, 0}},
                                         SettingsChange{"PaddingY", {Mono8, 8, 4, 0, 1}, {Mono8, 8, 4, 0, 2}},
                                         SettingsChange{"ToPacked", {Mono12, 8, 4, 0, 0}, {Mono12p, 8, 4, 0, 0}},
                                         SettingsChange{"FromAlpha", {RGBa8, 8, 4, 0, 0}, {RGB8, 8, 4, 0, 0}}),
                         [](const testing::TestParamInfo<SettingsChange>& info) { return info.param.name; });

}  // namespace
}  // namespace lumo::mockTL
