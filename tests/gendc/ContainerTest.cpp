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

// JPEG is a label only: nothing is encoded, so everything but the part HeaderType stays as it is.
TEST(ContainerPartType, JpegChangesOnlyThePartHeaderType) {
  const Container plain(vga(2, 1));
  const Container jpeg(vga(2, 1, PartType::Type2D_JPEG));
  ASSERT_EQ(jpeg.layout().flowSizes(), plain.layout().flowSizes());

  std::vector<std::uint8_t> plainBytes(plain.descriptor().bytes().begin(), plain.descriptor().bytes().end());
  std::vector<std::uint8_t> jpegBytes(jpeg.descriptor().bytes().begin(), jpeg.descriptor().bytes().end());
  for (const PartLayout& part : plain.layout().parts()) {
    EXPECT_EQ(readField(jpegBytes, part.headerOffset, 2), 0x4201u);
    EXPECT_EQ(readField(plainBytes, part.headerOffset, 2), 0x4200u);
    plainBytes[part.headerOffset] = jpegBytes[part.headerOffset];
  }
  for (const std::uint64_t component : plain.layout().componentOffsets()) {  // timestamps differ
    std::fill_n(plainBytes.begin() + component + 24, 8, 0);
    std::fill_n(jpegBytes.begin() + component + 24, 8, 0);
  }
  EXPECT_EQ(jpegBytes, plainBytes);
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

class ContiguousPlacement : public ::testing::TestWithParam<PlacementCase> {};

TEST_P(ContiguousPlacement, PutsTheDescriptorFirstAndEachPartAtItsDataOffset) {
  const Container container(GetParam().settings);
  std::vector<std::uint8_t> buffer(container.layout().totalSize() + 16, kUntouched);
  const auto parts = container.writeInto(buffer);

  const auto descriptor = container.descriptor().bytes();
  EXPECT_TRUE(std::equal(descriptor.begin(), descriptor.end(), buffer.begin()));
  ASSERT_EQ(parts.size(), container.layout().parts().size());
  for (std::size_t index = 0; index < parts.size(); ++index) {
    EXPECT_EQ(parts[index].data(), buffer.data() + container.layout().parts()[index].dataOffset);
    EXPECT_EQ(parts[index].size(), container.layout().parts()[index].dataSize);
  }
  EXPECT_TRUE(std::all_of(buffer.begin() + descriptor.size(), buffer.end(), [](std::uint8_t byte) {
    return byte == kUntouched;
  })) << "placement wrote beyond the descriptor";
}

INSTANTIATE_TEST_SUITE_P(Settings, ContiguousPlacement,
                         ::testing::Values(PlacementCase{"SingleFlow", vga(2, 0)},
                                           PlacementCase{"MultipleFlow", vga(2, 1)}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ContiguousPlacementRefuses, ABufferShorterThanTheContainerWithoutWriting) {
  const Container container(vga(1, 0));
  std::vector<std::uint8_t> buffer(container.layout().totalSize() - 1, kUntouched);
  EXPECT_THROW(container.writeInto(buffer), std::invalid_argument);
  EXPECT_TRUE(std::all_of(buffer.begin(), buffer.end(), [](std::uint8_t byte) { return byte == kUntouched; }));
}

TEST(SegmentPlacement, PutsTheDescriptorInSegmentZeroAndEachPartAtTheStartOfItsOwn) {
  const Container container(vga(2, 1));
  std::vector<std::vector<std::uint8_t>> memory;
  for (const std::uint64_t size : container.layout().flowSizes()) memory.emplace_back(size, kUntouched);
  const std::vector<std::span<std::uint8_t>> segments(memory.begin(), memory.end());

  const auto parts = container.writeIntoSegments(segments);

  const auto descriptor = container.descriptor().bytes();
  EXPECT_TRUE(std::equal(descriptor.begin(), descriptor.end(), memory[0].begin()));
  ASSERT_EQ(parts.size(), 2u);
  EXPECT_EQ(parts[0].data(), memory[1].data());
  EXPECT_EQ(parts[0].size(), kVgaMono8);
  EXPECT_EQ(parts[1].data(), memory[2].data());
  EXPECT_EQ(parts[1].size(), kVgaMono8);
}

TEST(SegmentPlacement, SingleFlowKeepsTheDataInSegmentZero) {
  const Container container(vga(1, 0));
  std::vector<std::uint8_t> memory(container.layout().totalSize());
  const std::vector<std::span<std::uint8_t>> segments{memory};
  const auto parts = container.writeIntoSegments(segments);
  ASSERT_EQ(parts.size(), 1u);
  EXPECT_EQ(parts[0].data(), memory.data() + 176);
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
    EXPECT_TRUE(std::all_of(segment.begin(), segment.end(), [](std::uint8_t byte) { return byte == kUntouched; }));
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
