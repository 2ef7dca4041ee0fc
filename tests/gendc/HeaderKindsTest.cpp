#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "gendc/ComponentHeader.h"
#include "gendc/ContainerHeader.h"
#include "gendc/FlowMappingTable.h"
#include "gendc/PartHeader.h"
#include "platform/Platform.h"
#include "support/LittleEndian.h"

namespace lumo::mockTL::GenDc {
namespace {

using test::readField;

TEST(ContainerHeaderContents, IdentifyAGenDcContainerAndPointAtItsParts) {
  std::vector<std::uint8_t> memory(72);
  const std::vector<std::uint64_t> componentOffsets{72, 184};
  ContainerHeader(memory, 0, 72, 296, 614400, 296, componentOffsets);

  EXPECT_EQ(std::string(memory.begin(), memory.begin() + 4), "GNDC");
  // Version 1.1.0, HeaderType, HeaderSize, ComponentCount, ComponentOffsets.
  test::expectFields(
      memory,
      {{4, 1, 1u}, {5, 1, 1u}, {6, 1, 0u}, {8, 2, 0x1000u}, {12, 4, 72u}, {52, 4, 2u}, {56, 8, 72u}, {64, 8, 184u}});
}

// Consumers of these containers rely on the count wrapping at 16 bits although the field has 32.
TEST(ContainerHeaderContents, ComponentCountWrapsAtSixteenBits) {
  const std::vector<std::uint64_t> componentOffsets(70000, 0);
  std::vector<std::uint8_t> memory(ContainerHeader::sizeFor(componentOffsets.size()));
  ContainerHeader(memory, 0, memory.size(), 0, 0, 0, componentOffsets);
  EXPECT_EQ(readField(memory, 52, 4), 4464u);
}

TEST(ComponentHeaderContents, CarryFormatPartsAndTheClockAtConstruction) {
  std::vector<std::uint8_t> memory(64);
  const std::vector<std::uint64_t> partOffsets{120, 176};
  const StreamSettings mono16{.pixelFormat = 0x01100007};
  const std::uint64_t before = platform::monotonicNanoseconds();
  ComponentHeader(mono16, 0, memory, 0, 64, partOffsets);
  const std::uint64_t after = platform::monotonicNanoseconds();

  EXPECT_GE(readField(memory, 24, 8), before);
  EXPECT_LE(readField(memory, 24, 8), after);
  test::expectFields(memory,
                     {{0, 2, 0x2000u}, {4, 4, 64u}, {40, 4, 0x01100007u}, {46, 2, 2u}, {48, 8, 120u}, {56, 8, 176u}});
}

TEST(PartHeaderContents, DescribeTheImageGeometryAndPartType) {
  std::vector<std::uint8_t> memory(56);
  const StreamSettings jpeg{.partType = PartType::Type2D_JPEG,
                            .width = 640,
                            .height = 480,
                            .pixelFormat = 0x02180014,
                            .paddingX = 4,
                            .paddingY = 2};
  PartHeader(jpeg, 0, 0, memory, 0, 56, 0, 176, 925440);

  test::expectFields(memory, {{0, 2, 0x4201u},
                              {4, 4, 56u},
                              {8, 4, 0x02180014u},
                              {24, 8, 925440u},
                              {40, 4, 640u},
                              {44, 4, 480u},
                              {48, 2, 4u},
                              {50, 2, 2u}});
}

}  // namespace
}  // namespace lumo::mockTL::GenDc
