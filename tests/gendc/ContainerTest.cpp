#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "gendc/Container.h"
#include "support/ExpectThrowMessage.h"

namespace lumo::mockTL::GenDc {
namespace {

constexpr std::uint8_t kUntouched = 0xEE;
constexpr std::uint64_t kVgaMono8 = 640 * 480;

// Two 640 x 480 Mono8 images, each in a flow of its own behind the descriptor's.
const StreamSettings kTwoImagesMultipleFlow{
    .streamingMode = true, .flowMappingConfiguration = 1, .imageCount = 2, .width = 640, .height = 480};

struct SegmentMismatch {
  const char* name;
  std::vector<std::uint64_t> segmentSizes;
  const char* message;
};

class SegmentPlacementRefuses : public ::testing::TestWithParam<SegmentMismatch> {};

TEST_P(SegmentPlacementRefuses, SegmentsThatDoNotMatchTheFlowsWithoutWriting) {
  const Container container(kTwoImagesMultipleFlow);
  std::vector<std::vector<std::uint8_t>> memory;
  for (const std::uint64_t size : GetParam().segmentSizes) memory.emplace_back(size, kUntouched);
  const std::vector<std::span<std::uint8_t>> segments(memory.begin(), memory.end());
  EXPECT_THROW_MESSAGE(container.writeIntoSegments(segments), std::invalid_argument, GetParam().message);
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
