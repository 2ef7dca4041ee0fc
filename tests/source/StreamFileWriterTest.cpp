#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "source/ContainerReader.h"
#include "source/LmRInfoFile.h"
#include "source/RecordingFiles.h"
#include "source/StreamFileWriter.h"

namespace lumo::mockTL::testing {
namespace {

// The flows of global flow set `flowSet` with the given sizes, in the test pattern.
std::vector<std::vector<std::uint8_t>> patternFlows(std::uint64_t flowSet, const std::vector<std::uint64_t>& sizes) {
  std::vector<std::vector<std::uint8_t>> flows;
  std::uint64_t offset = 0;
  for (const auto size : sizes) {
    auto& flow = flows.emplace_back();
    for (std::uint64_t i = 0; i < size; ++i) flow.push_back(patternByte(flowSet, offset + i));
    offset += size;
  }
  return flows;
}

void append(LmR::StreamFileWriter& writer, const std::vector<std::vector<std::uint8_t>>& flows) {
  std::vector<LmR::Flow> records;
  for (const auto& flow : flows) records.push_back({flow.data(), flow.size()});
  writer.append(records);
}

// An empty flow among the others takes no bytes, and the writer's destructor finishes the recording.
TEST(StreamFileWriterTest, InfoFileHasTheExactLayoutAndReadsBack) {
  TemporaryDirectory dir;
  const std::vector<std::uint64_t> sizes = {4, 0, 2};
  {
    LmR::StreamFileWriter writer(dir / "rec.info", sizes, {9, 8, 7}, 2);
    for (std::uint64_t flowSet = 0; flowSet < 3; ++flowSet) append(writer, patternFlows(flowSet, sizes));
  }
  EXPECT_EQ(readBytes(dir / "rec.info"), infoFileBytes(true, sizes, {12, 6}, {2, 1}, {9, 8, 7}));
  EXPECT_EQ(readBytes(dir / "rec-000000.gdcs"), patternFlowSets(0, 2, 6));
  EXPECT_EQ(readBytes(dir / "rec-000001.gdcs"), patternFlowSets(2, 1, 6));
  EXPECT_FALSE(std::filesystem::exists(dir / "rec-000002.gdcs"));

  ContainerReader reader(dir / "rec.info");
  const auto flows = reader.flowsOf(2);
  ASSERT_EQ(flows.size(), 3u);
  EXPECT_EQ(flows[1].size, 0u);
  EXPECT_EQ(std::vector<std::uint8_t>(flows[2].data, flows[2].data + flows[2].size), patternFlows(2, sizes)[2]);
}

TEST(StreamFileWriterTest, EmptyRecordingOpensWithNoFlowSets) {
  TemporaryDirectory dir;
  LmR::StreamFileWriter(dir / "rec.info", {8}, {}, 5).finish();
  ContainerReader reader(dir / "rec.info");
  EXPECT_EQ(reader.frameCount(), 0u);
  EXPECT_EQ(reader.dataFileCount(), 0u);
}

TEST(StreamFileWriterTest, WrongShapedFlowSetIsRefusedAndLeavesTheRecordingIntact) {
  TemporaryDirectory dir;
  LmR::StreamFileWriter writer(dir / "rec.info", {4, 2}, {}, 2);
  append(writer, patternFlows(0, {4, 2}));
  EXPECT_THROW(append(writer, patternFlows(1, {4})), std::invalid_argument);
  EXPECT_THROW(append(writer, patternFlows(1, {4, 3})), std::invalid_argument);
  const std::uint8_t four[4] = {};
  const std::vector<LmR::Flow> missingData = {{four, 4}, {nullptr, 2}};
  EXPECT_THROW(writer.append(missingData), std::invalid_argument);
  append(writer, patternFlows(1, {4, 2}));
  writer.finish();
  EXPECT_THROW(append(writer, patternFlows(2, {4, 2})), std::logic_error);
  EXPECT_EQ(readBytes(dir / "rec-000000.gdcs"), patternFlowSets(0, 2, 6));
}

TEST(StreamFileWriterTest, RefusesDataFilesWithoutFlowSetsAndOverflowingFlowSizes) {
  TemporaryDirectory dir;
  EXPECT_THROW(LmR::StreamFileWriter(dir / "rec.info", {4}, {}, 0), std::invalid_argument);
  EXPECT_THROW(LmR::StreamFileWriter(dir / "rec.info", {~std::uint64_t{0}, 1}, {}, 1), std::invalid_argument);
}

TEST(StreamFileWriterTest, UnwritableDirectoryFailsAtTheFirstFlowSet) {
  TemporaryDirectory dir;
  LmR::StreamFileWriter writer(dir / "missing" / "rec.info", {1}, {}, 1);
  EXPECT_THROW(append(writer, patternFlows(0, {1})), std::runtime_error);
}

// The acquisition thread calls this once per frame: it must reuse its list, not build a new one.
TEST(ContainerReaderTest, FlowsOfReusesOneListFrameAfterFrame) {
  TemporaryDirectory dir;
  writeBytes(dir / "rec.info", infoFileBytes(true, {4, 2}, {18}, {3}, {7}));
  writeBytes(dir / "rec-000000.gdcs", patternFlowSets(0, 3, 6));
  ContainerReader reader(dir / "rec.info");
  const auto first = reader.flowsOf(1);
  const auto second = reader.flowsOf(2);
  EXPECT_EQ(first.data(), second.data());
  ASSERT_EQ(second.size(), 2u);
  EXPECT_EQ(second[1].data[0], patternByte(2, 4));
  EXPECT_EQ(second[1].size, 2u);
}

TEST(DataFileNameTest, StemGetsANumberOfAtLeastSixDigits) {
  EXPECT_EQ(LmR::InfoFile::dataFilePath("rec/capture", 1), "rec/capture-000001.gdcs");
  EXPECT_EQ(LmR::InfoFile::dataFilePath("rec/capture.info", 0), "rec/capture-000000.gdcs");
  EXPECT_EQ(LmR::InfoFile::dataFilePath("rec/cap.v2.info", 42), "rec/cap.v2-000042.gdcs");
  EXPECT_EQ(LmR::InfoFile::dataFilePath("capture", 1234567), "capture-1234567.gdcs");
}

}  // namespace
}  // namespace lumo::mockTL::testing
