#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "base/Info.h"
#include "support/ExpectGenTLError.h"

namespace lumo::mockTL::info {
namespace {

constexpr const char* kTooSmall = "The passed buffer is too small to receive the requested module information";

TEST(InfoString, SizeQueryExactFitAndOneTooFew) {
  INFO_DATATYPE type = 0;
  std::size_t size = 0;
  ReportInfoString(type, nullptr, size, "Custom");
  EXPECT_EQ(size, 7u);
  EXPECT_EQ(type, INFO_DATATYPE_STRING);

  char buffer[8];
  std::memset(buffer, 'x', sizeof(buffer));
  size = 6;
  EXPECT_GENTL_ERROR(ReportInfoString(type, buffer, size, "Custom"), GC_ERR_BUFFER_TOO_SMALL, kTooSmall);
  EXPECT_EQ(buffer[0], 'x') << "a refused destination stays untouched";
  EXPECT_EQ(size, 6u);

  size = 7;
  ReportInfoString(type, buffer, size, "Custom");
  EXPECT_STREQ(buffer, "Custom");
  EXPECT_EQ(size, 7u);
}

// Each command's type, size and value are checked through the built producer; what a consumer
// cannot see there is whether a refused destination was written to.
TEST(InfoNumeric, OneByteTooFewLeavesTheDestinationUntouched) {
  INFO_DATATYPE type = 0;
  std::uint64_t value = 0;
  std::size_t size = sizeof(value) - 1;
  EXPECT_GENTL_ERROR(ReportInfoNumeric(type, &value, size, std::uint64_t{1} << 40), GC_ERR_BUFFER_TOO_SMALL, kTooSmall);
  EXPECT_EQ(value, 0u);
}

}  // namespace
}  // namespace lumo::mockTL::info
