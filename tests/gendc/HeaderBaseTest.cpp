#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "gendc/ComponentHeader.h"
#include "gendc/ContainerHeader.h"
#include "gendc/FlowMappingTable.h"
#include "gendc/PartHeader.h"
#include "support/ExpectThrowMessage.h"

namespace lumo::mockTL::GenDc {
namespace {

constexpr std::uint8_t kUntouched = 0xEE;

ContainerHeader containerOn(std::span<std::uint8_t> memory) {
  const std::vector<std::uint64_t> componentOffsets{72};
  return ContainerHeader(memory, 0, 64, 176, 307200, 176, componentOffsets);
}

// A descriptor assembled without memory must say so at once instead of writing through null.
struct HeaderKind {
  const char* name;
  std::function<void(std::span<std::uint8_t>)> construct;
};

const StreamSettings kVga{.width = 640, .height = 480};
const std::vector<std::uint64_t> kOneOffset{120};

class HeadersWithoutMemory : public ::testing::TestWithParam<HeaderKind> {};

TEST_P(HeadersWithoutMemory, FailAtTheirFirstField) {
  EXPECT_THROW_MESSAGE(GetParam().construct({}), std::runtime_error, "no memory given");
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, HeadersWithoutMemory,
    ::testing::Values(
        HeaderKind{"Container", [](std::span<std::uint8_t> m) { ContainerHeader(m, 0, 64, 176, 1, 176, kOneOffset); }},
        HeaderKind{"Component", [](std::span<std::uint8_t> m) { ComponentHeader(kVga, 0, m, 64, 56, kOneOffset); }},
        HeaderKind{"Part", [](std::span<std::uint8_t> m) { PartHeader(kVga, 0, 0, m, 120, 56, 0, 176, 1); }},
        HeaderKind{"FlowMappingTable", [](std::span<std::uint8_t> m) { FlowMappingTable(m, 24, 1, kOneOffset); }}),
    [](const auto& info) { return std::string(info.param.name); });

// Header offset and size come from layout arithmetic; a slip there must not become a write past
// the caller's memory.
TEST(HeaderBounds, HeaderEndingBeyondTheMemoryIsRefusedBeforeAnyWrite) {
  std::vector<std::uint8_t> memory(63, kUntouched);
  EXPECT_THROW(containerOn(memory), std::out_of_range);
  EXPECT_EQ(memory, std::vector<std::uint8_t>(63, kUntouched));
  EXPECT_THROW(ComponentHeader(kVga, 0, memory, 64, 0, kOneOffset), std::out_of_range);
}

TEST(HeaderBounds, ArrayLongerThanItsHeaderIsRefusedWithoutTouchingTheBytesBehind) {
  std::vector<std::uint8_t> memory(80, kUntouched);
  const std::vector<std::uint64_t> twoOffsets{72, 128};
  EXPECT_THROW(ContainerHeader(memory, 0, 64, 176, 1, 176, twoOffsets), std::out_of_range);
  EXPECT_EQ(std::vector<std::uint8_t>(memory.begin() + 64, memory.end()), std::vector<std::uint8_t>(16, kUntouched));
}

}  // namespace
}  // namespace lumo::mockTL::GenDc
