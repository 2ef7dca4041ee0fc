// Reading GenDC descriptors that come from recordings: a descriptor this producer writes reads back
// as written, and damaged ones are refused with a clear text instead of being read past their end.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "gendc/Container.h"
#include "gendc/DescriptorReader.h"
#include "support/ExpectThrowMessage.h"

namespace lumo::mockTL::GenDc {
namespace {

std::vector<std::uint8_t> paddedMono16Descriptor() {
  const StreamSettings settings{.streamingMode = true,
                                .partType = PartType::Type2D_JPEG,
                                .imageCount = 2,
                                .width = 64,
                                .height = 8,
                                .pixelFormat = 0x01100007,
                                .paddingX = 3,
                                .paddingY = 1};
  const Container container(settings);
  const auto bytes = container.descriptor().bytes();
  return {bytes.begin(), bytes.end()};
}

TEST(DescriptorReader, ReadsBackThePartsThisProducerWrites) {
  const auto bytes = paddedMono16Descriptor();
  const DescriptorReader reader(bytes);
  ASSERT_EQ(reader.componentCount(), 2u);
  EXPECT_EQ(reader.partCount(1), 1u);
  const PartImage image = reader.part(1, 0);
  EXPECT_EQ(image.headerType, 0x4201);
  EXPECT_EQ(image.pixelFormat, 0x01100007u);
  EXPECT_EQ(image.width, 64u);
  EXPECT_EQ(image.height, 8u);
  EXPECT_EQ(image.paddingX, 3);
  EXPECT_EQ(image.paddingY, 1);
}

struct Damage {
  const char* name;
  std::function<void(std::vector<std::uint8_t>&)> apply;
  std::uint64_t component;
  std::uint64_t part;
  const char* message;
};

class DamagedDescriptor : public ::testing::TestWithParam<Damage> {};

TEST_P(DamagedDescriptor, IsRefusedWithItsText) {
  auto bytes = paddedMono16Descriptor();
  GetParam().apply(bytes);
  EXPECT_THROW_MESSAGE(DescriptorReader(bytes).part(GetParam().component, GetParam().part), std::exception,
                       GetParam().message);
}

// Offsets: component 0's header at 72, its part header at 128; component offsets from 56.
INSTANTIATE_TEST_SUITE_P(
    Cases, DamagedDescriptor,
    ::testing::Values(
        Damage{"ComponentPastTheCount", [](auto&) {}, 2, 0,
               "component index must be smaller than the number of components"},
        Damage{"PartPastTheCount", [](auto&) {}, 0, 1, "part index must be smaller than the number of parts"},
        Damage{"NoSignature", [](auto& b) { b[0] = 'X'; }, 0, 0, "not a GenDC descriptor"},
        Damage{"ShorterThanAContainerHeader", [](auto& b) { b.resize(40); }, 0, 0, "not a GenDC descriptor"},
        Damage{"CutInsideThePartHeader", [](auto& b) { b.resize(128 + 50); }, 0, 0,
               "GenDC descriptor ends inside a header"},
        Damage{"ComponentOffsetFarBeyond", [](auto& b) { b[56 + 7] = 0x80; }, 0, 0,
               "GenDC descriptor ends inside a header"},
        Damage{"PartOffsetAtTheVeryEnd", [](auto& b) { std::fill(b.begin() + 72 + 48, b.begin() + 72 + 56, 0xFF); }, 0,
               0, "GenDC descriptor ends inside a header"},
        Damage{"NotA2DPart", [](auto& b) { b[128 + 1] = 0x43; }, 0, 0, "not a 2D part"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lumo::mockTL::GenDc
