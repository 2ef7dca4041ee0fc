#include <gtest/gtest.h>

#include "gentl/GenTL.h"
#include "source/ContainerReader.h"
#include "source/RecordingFiles.h"
#include "support/ExpectGenTLError.h"

namespace lumo::mockTL::testing {
namespace {

class ContainerReaderTest : public ::testing::Test {
 protected:
  void record() {
    writeFile(dir / "rec.info", infoFileBytes(true, {4, 2}, {18}, {3}, {7}));
    writeFile(dir / "rec-000000.gdcs", patternFlowSets(0, 3, 6));
  }
  TemporaryDirectory dir;
};

// The acquisition thread calls this once per frame: it must reuse its list, not build a new one.
TEST_F(ContainerReaderTest, FlowsOfReusesOneListFrameAfterFrame) {
  record();
  ContainerReader reader(dir / "rec.info");
  const auto first = reader.flowsOf(1);
  const auto second = reader.flowsOf(2);
  EXPECT_EQ(first.data(), second.data());
  ASSERT_EQ(second.size(), 2u);
  EXPECT_EQ(second[1].data[0], patternByte(2, 4));
  EXPECT_EQ(second[1].size, 2u);
}

// An index past the end never reaches the reader through a stream, which wraps its frame counter.
TEST_F(ContainerReaderTest, FrameFailuresCarryTheReaderStatusAndText) {
  record();
  ContainerReader reader(dir / "rec.info");
  EXPECT_GENTL_ERROR(reader.flowsOf(3), GC_ERR_INVALID_INDEX, "Given index greater than available flow sets");
  reader.flowsOf(0);
  EXPECT_GENTL_ERROR(reader.flowsOf(3), GC_ERR_INVALID_INDEX, "Given index greater than available flow sets");
}

}  // namespace
}  // namespace lumo::mockTL::testing
