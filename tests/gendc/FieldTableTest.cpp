#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>

#include "gendc/FieldTable.h"

namespace lumo::mockTL::GenDc {
namespace {

using FieldList = std::initializer_list<std::pair<std::string, FieldType>>;

struct BrokenTable {
  const char* name;
  std::function<void()> build;
  const char* message;
};
void PrintTo(const BrokenTable& c, std::ostream* out) { *out << c.name; }

class FieldTableRefusesBrokenLists : public ::testing::TestWithParam<BrokenTable> {};

TEST_P(FieldTableRefusesBrokenLists, WithItsOwnText) {
  try {
    GetParam().build();
    FAIL() << "table built";
  } catch (const std::runtime_error& failure) {
    EXPECT_STREQ(failure.what(), GetParam().message);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Lists, FieldTableRefusesBrokenLists,
    ::testing::Values(BrokenTable{"Empty", [] { FieldTable{FieldList{}}; },
                                  "number of initializers must be greater than or equal to 1"},
                      BrokenTable{
                          "DuplicateKey",
                          [] {
                            FieldTable{{"0", FieldType::Uint8}, {"1", FieldType::Uint16}, {"0", FieldType::Uint32}};
                          },
                          "key must not be duplicated"},
                      BrokenTable{"TypeCodeZero",
                                  [] {
                                    FieldTable{{"0", static_cast<FieldType>(0)}};
                                  },
                                  "undefined data type"},
                      BrokenTable{"TypeCodeFive",
                                  [] {
                                    FieldTable{{"0", FieldType::Uint8}, {"1", static_cast<FieldType>(5)}};
                                  },
                                  "undefined data type"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lumo::mockTL::GenDc
