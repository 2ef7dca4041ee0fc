#include <gtest/gtest.h>

#include "gentl/GenTL.h"
#include "source/ContainerReader.h"
#include "source/RecordingFiles.h"
#include "support/ExpectGenTLError.h"

namespace lumo::mockTL::testing {
namespace {

class ContainerReaderTest : public ::testing::Test {
 protected:
  void record(bool fixed) {
    writeFile(dir / "rec.info", infoFileBytes(fixed, {4, 2}, {18}, {3}, {7}));
    writeFile(dir / "rec-000000.gdcs", patternFlowSets(0, 3, 6));
  }
  TemporaryDirectory dir;
};

// The acquisition thread calls this once per frame: it must reuse its list, not build a new one.
TEST_F(ContainerReaderTest, FlowsOfReusesOneListFrameAfterFrame) {
  record(true);
  ContainerReader reader(dir / "rec.info");
  const auto first = reader.flowsOf(1);
  const auto second = reader.flowsOf(2);
  EXPECT_EQ(first.data(), second.data());
  ASSERT_EQ(second.size(), 2u);
  EXPECT_EQ(second[1].data[0], patternByte(2, 4));
  EXPECT_EQ(second[1].size, 2u);
}

TEST_F(ContainerReaderTest, OpenFailureCarriesTheReaderStatusAndText) {
  EXPECT_GENTL_ERROR(ContainerReader(dir / "absent.info"), GC_ERR_NOT_AVAILABLE, "Failed to open InfoFile for reading");
}

TEST_F(ContainerReaderTest, FrameFailuresCarryTheReaderStatusAndText) {
  record(true);
  ContainerReader reader(dir / "rec.info");
  EXPECT_GENTL_ERROR(reader.flowsOf(3), GC_ERR_INVALID_INDEX, "Given index greater than available flow sets");
  reader.flowsOf(0);
  EXPECT_GENTL_ERROR(reader.flowsOf(3), GC_ERR_INVALID_INDEX, "Given index greater than available flow sets");
}

TEST_F(ContainerReaderTest, DynamicFlowSizesOpenButRefuseFrames) {
  record(false);
  ContainerReader reader(dir / "rec.info");
  EXPECT_FALSE(reader.fixedFlowSizes());
  EXPECT_GENTL_ERROR(reader.flowsOf(0), GC_ERR_NOT_IMPLEMENTED,
                     "Dynamic flow sizes are not supported (FixedFlowSizes == false)");
}

}  // namespace
}  // namespace lumo::mockTL::testing
