#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "gendc/ComponentHeader.h"
#include "gendc/ContainerHeader.h"

namespace lumo::mockTL::GenDc {
namespace {

constexpr std::uint8_t kUntouched = 0xEE;

ContainerHeader containerOn(std::span<std::uint8_t> memory) {
  const std::vector<std::uint64_t> componentOffsets{72};
  return ContainerHeader(memory, 0, 64, 176, 307200, 176, componentOffsets);
}

const StreamSettings kVga{.width = 640, .height = 480};
const std::vector<std::uint64_t> kOneOffset{120};

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
