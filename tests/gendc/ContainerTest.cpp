#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "gendc/Container.h"
#include "support/LittleEndian.h"

namespace lumo::mockTL::GenDc {
namespace {

using test::readField;

constexpr std::uint8_t kUntouched = 0xEE;
constexpr std::uint64_t kVgaMono8 = 640 * 480;

StreamSettings vga(std::uint32_t images, std::uint32_t flowMapping, PartType partType = PartType::Type2D) {
  return StreamSettings{.streamingMode = true,
                        .flowMappingConfiguration = flowMapping,
                        .partType = partType,
                        .imageCount = images,
                        .width = 640,
                        .height = 480};
}

struct ParsedPart {
  std::uint16_t headerType;
  std::uint16_t flowId;
  std::uint64_t flowOffset;
  std::uint64_t dataSize;
  std::uint64_t dataOffset;
};

// Walks the descriptor the way a consumer does: container header, component offsets, part offsets.
std::vector<ParsedPart> parseParts(std::span<const std::uint8_t> descriptor) {
  std::vector<ParsedPart> parts;
  const std::uint64_t componentCount = readField(descriptor, 52, 4);
  for (std::uint64_t component = 0; component < componentCount; ++component) {
    const std::uint64_t componentOffset = readField(descriptor, 56 + 8 * component, 8);
    const std::uint64_t partCount = readField(descriptor, componentOffset + 46, 2);
    for (std::uint64_t part = 0; part < partCount; ++part) {
      const std::uint64_t at = readField(descriptor, componentOffset + 48 + 8 * part, 8);
      parts.push_back(ParsedPart{static_cast<std::uint16_t>(readField(descriptor, at, 2)),
                                 static_cast<std::uint16_t>(readField(descriptor, at + 14, 2)),
                                 readField(descriptor, at + 16, 8), readField(descriptor, at + 24, 8),
                                 readField(descriptor, at + 32, 8)});
    }
  }
  return parts;
}

struct ParseCase {
  const char* name;
  StreamSettings settings;
};
void PrintTo(const ParseCase& c, std::ostream* out) { *out << c.name; }

class DescriptorAsAConsumerReadsIt : public ::testing::TestWithParam<ParseCase> {};

// Catches headers written at offsets other than those the container header announces, or part
// fields that disagree with the layout the stream copies data by.
TEST_P(DescriptorAsAConsumerReadsIt, LeadsToThePartsWhereTheLayoutPutsThem) {
  const Container container(GetParam().settings);
  const auto descriptor = container.descriptor().bytes();
  const ContainerLayout& layout = container.layout();

  ASSERT_EQ(descriptor.size(), layout.descriptorSize());
  EXPECT_EQ(readField(descriptor, 48, 4), layout.descriptorSize());
  EXPECT_EQ(readField(descriptor, 40, 8), layout.descriptorSize());
  EXPECT_EQ(readField(descriptor, 32, 8), layout.dataSize());

  const std::vector<ParsedPart> parts = parseParts(descriptor);
  ASSERT_EQ(parts.size(), layout.parts().size());
  for (std::size_t index = 0; index < parts.size(); ++index) {
    const PartLayout& expected = layout.parts()[index];
    EXPECT_EQ(parts[index].headerType, static_cast<std::uint16_t>(GetParam().settings.partType));
    EXPECT_EQ(parts[index].flowId, expected.flowId) << "part " << index;
    EXPECT_EQ(parts[index].flowOffset, expected.flowOffset) << "part " << index;
    EXPECT_EQ(parts[index].dataSize, expected.dataSize) << "part " << index;
    EXPECT_EQ(parts[index].dataOffset, expected.dataOffset) << "part " << index;
  }
}

INSTANTIATE_TEST_SUITE_P(Settings, DescriptorAsAConsumerReadsIt,
                         ::testing::Values(ParseCase{"OneImageSingleFlow", vga(1, 0)},
                                           ParseCase{"TwoImagesSingleFlow", vga(2, 0)},
                                           ParseCase{"TwoImagesMultipleFlow", vga(2, 1)},
                                           ParseCase{"TwoJpegImagesMultipleFlow", vga(2, 1, PartType::Type2D_JPEG)}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ContainerComponents, CarryTheirIndexAsTypeId) {
  const Container container(vga(2, 1));
  const auto descriptor = container.descriptor().bytes();
  EXPECT_EQ(readField(descriptor, readField(descriptor, 56, 8) + 32, 8), 0u);
  EXPECT_EQ(readField(descriptor, readField(descriptor, 64, 8) + 32, 8), 1u);
}

TEST(ContainerData, ListsTheFlowsAfterTheDescriptorInOrder) {
  const Container multiple(vga(2, 1));
  ASSERT_EQ(multiple.data().segments().size(), 2u);
  EXPECT_EQ(multiple.data().descriptorSize(), 296u);
  EXPECT_EQ(multiple.data().segments()[0].offset, 296u);
  EXPECT_EQ(multiple.data().segments()[0].size, kVgaMono8);
  EXPECT_EQ(multiple.data().segments()[1].offset, 296u + kVgaMono8);
  EXPECT_EQ(multiple.data().segments()[1].size, kVgaMono8);

  EXPECT_TRUE(Container(vga(2, 0)).data().segments().empty());

  const std::vector<std::uint64_t> flowSizes{100, 7, 9};
  const GenDc::ContainerData shifted(1000, 100, flowSizes);
  EXPECT_EQ(shifted.segments()[0].offset, 1100u);
  EXPECT_EQ(shifted.segments()[1].offset, 1107u);
}

struct PlacementCase {
  const char* name;
  StreamSettings settings;
};
void PrintTo(const PlacementCase& c, std::ostream* out) { *out << c.name; }

class Placement : public ::testing::TestWithParam<PlacementCase> {};

// A part span off by a header or a flow would let the image overwrite the descriptor or the
// next part.
TEST_P(Placement, PutsTheDescriptorFirstAndEachPartWhereItsHeaderPoints) {
  const Container container(GetParam().settings);
  const auto descriptor = container.descriptor().bytes();
  const ContainerLayout& layout = container.layout();

  std::vector<std::uint8_t> buffer(layout.totalSize(), kUntouched);
  const auto inBuffer = container.writeInto(buffer);
  EXPECT_TRUE(std::equal(descriptor.begin(), descriptor.end(), buffer.begin()));
  // Only the data region is checked: the descriptor carries timestamps, whose bytes may be anything.
  EXPECT_EQ(std::count(buffer.begin() + descriptor.size(), buffer.end(), kUntouched), layout.dataSize())
      << "data bytes were written";

  std::vector<std::vector<std::uint8_t>> memory;
  for (const std::uint64_t size : layout.flowSizes()) memory.emplace_back(size, kUntouched);
  const auto inSegments =
      container.writeIntoSegments(std::vector<std::span<std::uint8_t>>(memory.begin(), memory.end()));
  EXPECT_TRUE(std::equal(descriptor.begin(), descriptor.end(), memory[0].begin()));

  ASSERT_EQ(inBuffer.size(), layout.parts().size());
  ASSERT_EQ(inSegments.size(), layout.parts().size());
  for (std::size_t index = 0; index < inBuffer.size(); ++index) {
    const PartLayout& part = layout.parts()[index];
    EXPECT_EQ(inBuffer[index].data(), buffer.data() + part.dataOffset) << "part " << index;
    EXPECT_EQ(inSegments[index].data(), memory[part.flowId].data() + part.flowOffset) << "part " << index;
    EXPECT_EQ(inBuffer[index].size(), part.dataSize);
    EXPECT_EQ(inSegments[index].size(), part.dataSize);
  }
}

INSTANTIATE_TEST_SUITE_P(Settings, Placement,
                         ::testing::Values(PlacementCase{"OneImageSingleFlow", vga(1, 0)},
                                           PlacementCase{"TwoImagesSingleFlow", vga(2, 0)},
                                           PlacementCase{"TwoImagesMultipleFlow", vga(2, 1)}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ContiguousPlacementRefuses, ABufferShorterThanTheContainerWithoutWriting) {
  const Container container(vga(1, 0));
  std::vector<std::uint8_t> buffer(container.layout().totalSize() - 1, kUntouched);
  EXPECT_THROW(container.writeInto(buffer), std::invalid_argument);
  EXPECT_EQ(std::count(buffer.begin(), buffer.end(), kUntouched), buffer.size());
}

struct SegmentMismatch {
  const char* name;
  std::vector<std::uint64_t> segmentSizes;
  const char* message;
};
void PrintTo(const SegmentMismatch& c, std::ostream* out) { *out << c.name; }

class SegmentPlacementRefuses : public ::testing::TestWithParam<SegmentMismatch> {};

TEST_P(SegmentPlacementRefuses, SegmentsThatDoNotMatchTheFlowsWithoutWriting) {
  const Container container(vga(2, 1));
  std::vector<std::vector<std::uint8_t>> memory;
  for (const std::uint64_t size : GetParam().segmentSizes) memory.emplace_back(size, kUntouched);
  const std::vector<std::span<std::uint8_t>> segments(memory.begin(), memory.end());
  try {
    container.writeIntoSegments(segments);
    FAIL() << "container placed";
  } catch (const std::invalid_argument& failure) {
    EXPECT_STREQ(failure.what(), GetParam().message);
  }
  for (const auto& segment : memory) {
    EXPECT_EQ(std::count(segment.begin(), segment.end(), kUntouched), segment.size());
  }
}

INSTANTIATE_TEST_SUITE_P(
    Segments, SegmentPlacementRefuses,
    ::testing::Values(SegmentMismatch{"TwoSegmentsForThreeFlows",
                                      {296, kVgaMono8},
                                      "The number of flows does not match the number of buffer segments."},
                      SegmentMismatch{"DescriptorSegmentOneByteShort",
                                      {295, kVgaMono8, kVgaMono8},
                                      "The flow does not fit into the corresponding buffer segment."},
                      SegmentMismatch{"LastPartSegmentOneByteShort",
                                      {296, kVgaMono8, kVgaMono8 - 1},
                                      "The flow does not fit into the corresponding buffer segment."}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lumo::mockTL::GenDc
