#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>

#include "gendc/ComponentHeader.h"
#include "gendc/ContainerHeader.h"
#include "gendc/FieldTable.h"
#include "gendc/FlowMappingTable.h"
#include "gendc/PartHeader.h"

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

// A wrong type anywhere in a field list shifts every later field, so consumers would parse garbage.
struct FieldPosition {
  const char* name;
  const FieldTable& (*table)();
  const char* key;
  std::uint64_t offset;
  FieldType type;
};
void PrintTo(const FieldPosition& c, std::ostream* out) { *out << c.name; }

class HeaderFieldsLieWhereGenDcPutsThem : public ::testing::TestWithParam<FieldPosition> {};

TEST_P(HeaderFieldsLieWhereGenDcPutsThem, AtTheirOffsetWithTheirType) {
  const FieldEntry& entry = GetParam().table().lookup(GetParam().key);
  EXPECT_EQ(entry.offset, GetParam().offset);
  EXPECT_EQ(entry.type, GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(
    Headers, HeaderFieldsLieWhereGenDcPutsThem,
    ::testing::Values(FieldPosition{"ContainerSignature", ContainerHeader::fields, "0", 0, FieldType::Uint32},
                      FieldPosition{"ContainerHeaderType", ContainerHeader::fields, "5", 8, FieldType::Uint16},
                      FieldPosition{"ContainerId", ContainerHeader::fields, "8", 16, FieldType::Uint64},
                      FieldPosition{"ContainerDataOffset", ContainerHeader::fields, "13", 40, FieldType::Uint64},
                      FieldPosition{"ContainerComponentCount", ContainerHeader::fields, "15", 52, FieldType::Uint32},
                      FieldPosition{"ContainerComponentOffsets", ContainerHeader::fields, "16", 56, FieldType::Uint64},
                      FieldPosition{"ComponentTimestamp", ComponentHeader::fields, "9", 24, FieldType::Uint64},
                      FieldPosition{"ComponentTypeId", ComponentHeader::fields, "10", 32, FieldType::Uint64},
                      FieldPosition{"ComponentPartCount", ComponentHeader::fields, "13", 46, FieldType::Uint16},
                      FieldPosition{"ComponentPartOffsets", ComponentHeader::fields, "14", 48, FieldType::Uint64},
                      FieldPosition{"PartFlowId", PartHeader::fields, "5", 14, FieldType::Uint16},
                      FieldPosition{"PartDataOffset", PartHeader::fields, "8", 32, FieldType::Uint64},
                      FieldPosition{"PartDimensionX", PartHeader::fields, "10", 40, FieldType::Uint32},
                      FieldPosition{"PartPaddingY", PartHeader::fields, "13", 50, FieldType::Uint16},
                      FieldPosition{"PartInfoReserved", PartHeader::fields, "14", 52, FieldType::Uint32},
                      FieldPosition{"FlowTableVersionMinor", FlowMappingTable::fields, "4", 9, FieldType::Uint8},
                      FieldPosition{"FlowTableFlowCount", FlowMappingTable::fields, "6", 12, FieldType::Uint32},
                      FieldPosition{"FlowTableFlowSizes", FlowMappingTable::fields, "7", 16, FieldType::Uint64}),
    [](const auto& info) { return std::string(info.param.name); });

// The 2D part layout skips key "9"; a table that invented it would accept writes to a field
// that does not exist in the header.
TEST(PartHeaderFields, HaveNoKeyNine) { EXPECT_THROW(PartHeader::fields().lookup("9"), std::out_of_range); }

TEST(FieldTableElementOffset, StepsByTheElementWidth) {
  EXPECT_EQ(ContainerHeader::fields().elementOffset("16", 3), 56u + 3 * 8);
  EXPECT_EQ(FieldTable({{"0", FieldType::Uint16}, {"1", FieldType::Uint32}}).elementOffset("1", 2), 2u + 2 * 4);
}

TEST(HeaderSizes, GrowByOneEightByteEntryPerElement) {
  EXPECT_EQ(ContainerHeader::sizeFor(2), 72u);
  EXPECT_EQ(ComponentHeader::sizeFor(1), 56u);
  EXPECT_EQ(PartHeader::size(), 56u);
  EXPECT_EQ(FlowMappingTable::sizeFor(3), 40u);
}

}  // namespace
}  // namespace lumo::mockTL::GenDc
