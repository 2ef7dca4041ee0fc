#include <gtest/gtest.h>

#include <cstring>

#include "module/Info.h"
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

struct NumericCase {
  const char* name;
  void (*report)(INFO_DATATYPE&, void*, std::size_t&);
  INFO_DATATYPE type;
  std::size_t size;
  std::uint64_t value;
};

void PrintTo(const NumericCase& c, std::ostream* out) { *out << c.name; }

class InfoNumeric : public ::testing::TestWithParam<NumericCase> {};

TEST_P(InfoNumeric, ReportsTagSizeAndValueAndRefusesSmallBuffers) {
  const NumericCase& c = GetParam();
  INFO_DATATYPE type = -1;
  std::size_t size = 0;
  c.report(type, nullptr, size);
  EXPECT_EQ(type, c.type);
  EXPECT_EQ(size, c.size);

  std::uint64_t value = 0;
  size = c.size - 1;
  EXPECT_GENTL_ERROR(c.report(type, &value, size), GC_ERR_BUFFER_TOO_SMALL, kTooSmall);
  EXPECT_EQ(value, 0u);

  size = sizeof(value);
  c.report(type, &value, size);
  EXPECT_EQ(value, c.value);
  EXPECT_EQ(size, c.size);
}

INSTANTIATE_TEST_SUITE_P(
    EveryValueKind, InfoNumeric,
    ::testing::Values(
        NumericCase{"SignedIsInt32",
                    [](INFO_DATATYPE& t, void* d, std::size_t& s) { ReportInfoNumeric(t, d, s, std::int32_t{-2}); },
                    INFO_DATATYPE_INT32, 4, 0xFFFFFFFEu},
        NumericCase{"UnsignedIsInt32Too",
                    [](INFO_DATATYPE& t, void* d, std::size_t& s) { ReportInfoNumeric(t, d, s, std::uint32_t{6}); },
                    INFO_DATATYPE_INT32, 4, 6},
        NumericCase{
            "Uint64",
            [](INFO_DATATYPE& t, void* d, std::size_t& s) { ReportInfoNumeric(t, d, s, std::uint64_t{1} << 40); },
            INFO_DATATYPE_UINT64, 8, std::uint64_t{1} << 40},
        NumericCase{"SizeT", [](INFO_DATATYPE& t, void* d, std::size_t& s) { ReportInfoNumeric(t, d, s, Size{12}); },
                    INFO_DATATYPE_SIZET, 8, 12},
        NumericCase{"Pointer",
                    [](INFO_DATATYPE& t, void* d, std::size_t& s) {
                      ReportInfoNumeric(t, d, s, reinterpret_cast<const void*>(0x1000));
                    },
                    INFO_DATATYPE_PTR, 8, 0x1000},
        NumericCase{"Bool", [](INFO_DATATYPE& t, void* d, std::size_t& s) { ReportInfoNumeric(t, d, s, true); },
                    INFO_DATATYPE_BOOL8, 1, 1}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lumo::mockTL::info
