#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "gendc/ContainerLayout.h"
#include "support/ExpectThrowMessage.h"

namespace lumo::mockTL::GenDc {
namespace {

constexpr std::uint32_t kMono16 = 0x01100007;
constexpr std::uint32_t kMono12p = 0x010C0047;

StreamSettings vga(std::uint32_t images, std::uint32_t flowMapping) {
  return StreamSettings{.flowMappingConfiguration = flowMapping, .imageCount = images, .width = 640, .height = 480};
}

struct LayoutCase {
  const char* name;
  StreamSettings settings;
  std::uint64_t descriptorSize;
  std::vector<std::uint64_t> flowSizes;
  std::vector<std::uint16_t> flowIds;
  std::vector<std::uint64_t> dataOffsets;
};

class ContainerLayoutOfSettings : public ::testing::TestWithParam<LayoutCase> {};

TEST_P(ContainerLayoutOfSettings, SizesDescriptorFlowsAndParts) {
  const ContainerLayout layout(GetParam().settings);
  EXPECT_EQ(layout.descriptorSize(), GetParam().descriptorSize);
  EXPECT_EQ(layout.flowSizes(), GetParam().flowSizes);
  EXPECT_EQ(layout.flowCount(), GetParam().flowSizes.size());

  ASSERT_EQ(layout.parts().size(), GetParam().flowIds.size());
  std::uint64_t dataSize = 0;
  for (std::size_t index = 0; index < layout.parts().size(); ++index) {
    const PartLayout& part = layout.parts()[index];
    EXPECT_EQ(part.flowId, GetParam().flowIds[index]) << "part " << index;
    EXPECT_EQ(part.dataOffset, GetParam().dataOffsets[index]) << "part " << index;
    EXPECT_EQ(part.flowOffset, part.flowId == 0 ? part.dataOffset : 0) << "part " << index;
    dataSize += part.dataSize;
  }
  EXPECT_EQ(layout.dataSize(), dataSize);
  EXPECT_EQ(layout.totalSize(), layout.descriptorSize() + dataSize);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, ContainerLayoutOfSettings,
    ::testing::Values(
        // Padding is part of every line and of the image: (640 + 4) × (480 + 2) × 2 bytes.
        LayoutCase{"PaddedMono16",
                   StreamSettings{.width = 640, .height = 480, .pixelFormat = kMono16, .paddingX = 4, .paddingY = 2},
                   176,
                   {176 + 620816},
                   {0},
                   {176}},
        // 12 × 641 × 3 / 8 = 2884.5: the product is divided once, not line by line (2883).
        LayoutCase{"PackedSizeDividesTheWholeProduct",
                   StreamSettings{.width = 641, .height = 3, .pixelFormat = kMono12p},
                   176,
                   {176 + 2884},
                   {0},
                   {176}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ContainerLayoutOffsets, PlaceEachComponentBeforeItsParts) {
  const ContainerLayout layout(vga(2, 1));
  EXPECT_EQ(layout.containerHeaderSize(), 72u);
  EXPECT_EQ(layout.componentOffsets(), (std::vector<std::uint64_t>{72, 184}));
  ASSERT_EQ(layout.components().size(), 2u);
  EXPECT_EQ(layout.components()[0].partOffsets, (std::vector<std::uint64_t>{128}));
  EXPECT_EQ(layout.components()[1].partOffsets, (std::vector<std::uint64_t>{240}));
  EXPECT_EQ(layout.parts()[1].componentIndex, 1u);
  EXPECT_EQ(layout.parts()[1].headerOffset, 240u);
}

// Settings arrive from register writes; a value that would size a huge descriptor, wrap a size or
// truncate a header field is refused before anything is allocated.
struct InvalidSettings {
  const char* name;
  StreamSettings settings;
  const char* message;
};

class ContainerLayoutRefuses : public ::testing::TestWithParam<InvalidSettings> {};

TEST_P(ContainerLayoutRefuses, SettingsItCannotDescribe) {
  EXPECT_THROW_MESSAGE(ContainerLayout{GetParam().settings}, std::exception, GetParam().message);
}

constexpr const char* kImageCountText = "GenDC image count must be 1 or 2";
constexpr const char* kPaddingText = "padding does not fit the GenDC part header";

INSTANTIATE_TEST_SUITE_P(
    Settings, ContainerLayoutRefuses,
    ::testing::Values(InvalidSettings{"NoImage", StreamSettings{.imageCount = 0}, kImageCountText},
                      InvalidSettings{"ThreeImages", StreamSettings{.imageCount = 3}, kImageCountText},
                      InvalidSettings{"HugeImageCount", StreamSettings{.imageCount = 0xFFFFFFFF}, kImageCountText},
                      InvalidSettings{"PaddingXBeyondSixteenBits", StreamSettings{.paddingX = 0x10000}, kPaddingText},
                      InvalidSettings{"PaddingYBeyondSixteenBits", StreamSettings{.paddingY = 0x10000}, kPaddingText},
                      InvalidSettings{
                          "ImageSizeBeyondSixtyFourBits",
                          StreamSettings{.width = 0xFFFFFFFF, .height = 0xFFFFFFFF, .pixelFormat = 0x01FF0000},
                          "GenDC size exceeds the addressable range"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lumo::mockTL::GenDc
