#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "source/LmRApi.h"
#include "source/RecordingFiles.h"

namespace lumo::mockTL::testing {
namespace {

constexpr std::uint64_t kHuge = std::uint64_t{1} << 60;
const std::vector<std::uint64_t> kFlowSizes = {4, 2};
const std::vector<std::uint8_t> kDescriptor = {'G', 'N', 'D', 'C', 1};

// The recording every corrupt case starts from: two flows of 4 and 2 bytes, one flow set in the
// first data file and two in the second.
std::vector<std::uint8_t> goodInfoFile() { return infoFileBytes(true, kFlowSizes, {6, 12}, {1, 2}, kDescriptor); }

void writeDataFiles(const TemporaryDirectory& dir, const std::vector<std::uint64_t>& sizes) {
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    writeBytes(dir / ("rec-00000" + std::to_string(i) + ".gdcs"), std::vector<std::uint8_t>(sizes[i], 0xAB));
  }
}

// Opens dir/rec.info and closes it again; returns the status.
LmRStatus openRecording(const TemporaryDirectory& dir) {
  LmRContainerReaderHandle reader = nullptr;
  const auto status = LmRCreateContainerReader((dir / "rec.info").c_str(), &reader);
  if (status == LmRStatus::Success) {
    EXPECT_EQ(LmRContainerReaderRelease(reader), LmRStatus::Success);
  }
  return status;
}

struct CorruptRecording {
  std::string name;
  std::function<void(const TemporaryDirectory&)> make;
  LmRStatus status;
  const char* message;
};

std::function<void(const TemporaryDirectory&)> infoFileOnly(std::vector<std::uint8_t> bytes) {
  return [bytes](const TemporaryDirectory& dir) {
    writeBytes(dir / "rec.info", bytes);
    writeDataFiles(dir, {6, 12});
  };
}

Bytes header() { return Bytes().u32(0x494E464F).u32(1).u8(0).u8(1); }

const char* const kInvalid = "Invalid InfoFile format";
const char* const kCorrupted = "Corrupted InfoFile";
const char* const kShort = "Data file too short for its flow sets";

// Files cut short anywhere are covered byte by byte further down; a missing info file, a missing
// data file and one too short are checked through the built producer.
std::vector<CorruptRecording> corruptRecordings() {
  return {
      {"InfoFileIsADirectory",
       [](const TemporaryDirectory& dir) { std::filesystem::create_directory(dir / "rec.info"); },
       LmRStatus::NotAvailable, "Failed to open InfoFile for reading"},
      {"MagicInReverseByteOrder", infoFileOnly(Bytes().u32(0x4F464E49).u32(1).bytes()), LmRStatus::InvalidFile,
       kInvalid},
      {"Version2", infoFileOnly(Bytes().u32(0x494E464F).u32(2).u8(0).u8(1).u64(0).u64(0).u64(0).bytes()),
       LmRStatus::InvalidFile, kInvalid},
      {"FlowCountBeyondFile", infoFileOnly(header().u64(kHuge).u64(4).bytes()), LmRStatus::InvalidFile, kCorrupted},
      {"DataFileCountBeyondFile", infoFileOnly(header().u64(0).u64(kHuge).u64(0).bytes()), LmRStatus::InvalidFile,
       kCorrupted},
      // Room for the per-file values but not for the flow set counts after them.
      {"DataFileCountFillingOnlyFirstTable", infoFileOnly(header().u64(0).u64(2).u64s({1, 1}).u64(0).bytes()),
       LmRStatus::InvalidFile, kCorrupted},
      {"DescriptorSizeBeyondFile", infoFileOnly(header().u64(0).u64(0).u64(std::uint64_t{1} << 62).u8(1).bytes()),
       LmRStatus::InvalidFile, kCorrupted},
      {"DescriptorSizeMaximal", infoFileOnly(header().u64(0).u64(0).u64(~std::uint64_t{0}).u8(1).bytes()),
       LmRStatus::InvalidFile, kCorrupted},
      {"FlowSizesOverflowTheirSum", infoFileOnly(infoFileBytes(true, {~std::uint64_t{0}, 2}, {}, {}, {})),
       LmRStatus::InvalidFile, kCorrupted},
      // Empty flow sets need no data bytes, so only the sum of the counts can catch this.
      {"FlowSetCountsOverflowTheirSum",
       [](const TemporaryDirectory& dir) {
         writeBytes(dir / "rec.info", infoFileBytes(true, {0}, {0, 0}, {~std::uint64_t{0}, 1}, {}));
         writeDataFiles(dir, {0, 0});
       },
       LmRStatus::InvalidFile, kCorrupted},
      {"DataFileIsADirectory",
       [](const TemporaryDirectory& dir) {
         writeBytes(dir / "rec.info", goodInfoFile());
         std::filesystem::create_directory(dir / "rec-000000.gdcs");
       },
       LmRStatus::NotAvailable, "CreateFileW failed"},
      {"EmptyDataFileClaimingFlowSets",
       [](const TemporaryDirectory& dir) {
         writeBytes(dir / "rec.info", goodInfoFile());
         writeDataFiles(dir, {6, 0});
       },
       LmRStatus::InvalidFile, kShort},
      // Flow set count × flow set size wraps around to 0 in 64 bits.
      {"FlowSetBytesOverflow",
       [](const TemporaryDirectory& dir) {
         writeBytes(dir / "rec.info", infoFileBytes(true, {8}, {0}, {std::uint64_t{1} << 61}, {}));
         writeDataFiles(dir, {8});
       },
       LmRStatus::InvalidFile, kShort},
  };
}

class CorruptRecordingTest : public ::testing::TestWithParam<CorruptRecording> {
 protected:
  TemporaryDirectory dir;
};

TEST_P(CorruptRecordingTest, IsRefusedWithItsOwnMessage) {
  GetParam().make(dir);
  LmRContainerReaderHandle reader = nullptr;
  EXPECT_LMR_FAILURE(LmRCreateContainerReader((dir / "rec.info").c_str(), &reader), GetParam().status,
                     GetParam().message);
  EXPECT_EQ(reader, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Recordings, CorruptRecordingTest, ::testing::ValuesIn(corruptRecordings()),
                         [](const auto& info) { return info.param.name; });

// Catches a length check that is missing or off by one anywhere in the reading sequence.
TEST(InfoFileTest, CutAfterAnyByteIsRefused) {
  TemporaryDirectory dir;
  writeDataFiles(dir, {6, 12});
  const auto bytes = goodInfoFile();
  for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
    SCOPED_TRACE(cut);
    writeBytes(dir / "rec.info", {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(cut)});
    EXPECT_LMR_FAILURE(openRecording(dir), LmRStatus::InvalidFile, cut < 8 ? kInvalid : kCorrupted);
  }
}

// The good recording the corrupt cases start from opens, also with bytes after its descriptor, and
// dynamic flow sizes open without their data files' lengths being checked.
TEST(InfoFileTest, GoodRecordingsOpen) {
  TemporaryDirectory dir;
  auto bytes = goodInfoFile();
  infoFileOnly(bytes)(dir);
  EXPECT_EQ(openRecording(dir), LmRStatus::Success) << LmRGetLastErrorMessage();
  bytes.push_back(0x55);
  writeBytes(dir / "rec.info", bytes);
  EXPECT_EQ(openRecording(dir), LmRStatus::Success) << LmRGetLastErrorMessage();
  writeBytes(dir / "rec.info", infoFileBytes(false, kFlowSizes, {0}, {5}, kDescriptor));
  writeDataFiles(dir, {1});
  EXPECT_EQ(openRecording(dir), LmRStatus::Success) << LmRGetLastErrorMessage();
}

// A recording laid out by hand: flow sizes 4 and 2, data files holding `counts` flow sets, each
// flow set filled with its global index's pattern.
class FlowSetLocationTest : public ::testing::Test {
 protected:
  void record(const std::vector<std::uint64_t>& counts, bool fixed = true) {
    std::vector<std::uint64_t> perFile;
    std::uint64_t first = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
      writeBytes(dir / ("rec-00000" + std::to_string(i) + ".gdcs"), patternFlowSets(first, counts[i], 6));
      perFile.push_back(counts[i] * 6);
      first += counts[i];
    }
    writeBytes(dir / "rec.info", infoFileBytes(fixed, kFlowSizes, perFile, counts, kDescriptor));
    ASSERT_EQ(LmRCreateContainerReader((dir / "rec.info").c_str(), &reader), LmRStatus::Success)
        << LmRGetLastErrorMessage();
  }
  void TearDown() override {
    if (reader != nullptr) LmRContainerReaderRelease(reader);
  }

  // Checks that view shows flow set `flowSet`: flow 0 at its start, flow 1 four bytes further.
  void expectShows(LmRFlowSetViewHandle view, std::uint64_t flowSet) {
    std::uint64_t count = 0;
    ASSERT_EQ(LmRFlowSetViewFlowCount(view, &count), LmRStatus::Success);
    ASSERT_EQ(count, 2u);
    for (std::uint64_t flow = 0; flow < 2; ++flow) {
      const void* data = nullptr;
      std::uint64_t size = 0;
      ASSERT_EQ(LmRFlowSetViewGetFlow(view, flow, &data, &size), LmRStatus::Success);
      ASSERT_EQ(size, kFlowSizes[flow]);
      const auto* bytes = static_cast<const std::uint8_t*>(data);
      for (std::uint64_t i = 0; i < size; ++i) {
        EXPECT_EQ(bytes[i], patternByte(flowSet, flow * 4 + i)) << "flow set " << flowSet << " flow " << flow;
      }
    }
  }

  void expectViewOf(std::uint64_t flowSet) {
    LmRFlowSetViewHandle view = nullptr;
    ASSERT_EQ(LmRContainerReaderCreateView(reader, flowSet, &view), LmRStatus::Success) << LmRGetLastErrorMessage();
    expectShows(view, flowSet);
    EXPECT_EQ(LmRFlowSetViewRelease(view), LmRStatus::Success);
  }

  TemporaryDirectory dir;
  LmRContainerReaderHandle reader = nullptr;
};

// Indexes count across data files, skipping those without flow sets.
TEST_F(FlowSetLocationTest, DataFilesWithoutFlowSetsAreSkipped) {
  record({0, 2, 0, 0, 3, 0});
  for (std::uint64_t flowSet = 0; flowSet < 5; ++flowSet) expectViewOf(flowSet);
}

// The range is checked first: an index past the end names the index, not the flow sizes.
TEST_F(FlowSetLocationTest, DynamicFlowSizesRefuseEveryViewInRange) {
  record({3, 5}, false);
  LmRFlowSetViewHandle view = nullptr;
  for (const std::uint64_t flowSet : {0, 7}) {
    EXPECT_LMR_FAILURE(LmRContainerReaderCreateView(reader, flowSet, &view), LmRStatus::NotImplemented,
                       "Dynamic flow sizes are not supported (FixedFlowSizes == false)");
  }
  for (const std::uint64_t flowSet : {std::uint64_t{8}, ~std::uint64_t{0}}) {
    EXPECT_LMR_FAILURE(LmRContainerReaderCreateView(reader, flowSet, &view), LmRStatus::InvalidIndex,
                       "Given index greater than available flow sets");
  }
}

TEST_F(FlowSetLocationTest, MovedViewShowsTheNewFlowSetAndKeepsTheOldOneOnFailure) {
  record({3, 5});
  LmRFlowSetViewHandle view = nullptr;
  ASSERT_EQ(LmRContainerReaderCreateView(reader, 0, &view), LmRStatus::Success);
  ASSERT_EQ(LmRFlowSetViewMoveTo(view, 6), LmRStatus::Success);
  expectShows(view, 6);
  EXPECT_LMR_FAILURE(LmRFlowSetViewMoveTo(view, 8), LmRStatus::InvalidIndex,
                     "Given index greater than available flow sets");
  expectShows(view, 6);
  EXPECT_EQ(LmRFlowSetViewRelease(view), LmRStatus::Success);
}

TEST_F(FlowSetLocationTest, FlowIndexPastTheLastFlowIsRefused) {
  record({1});
  LmRFlowSetViewHandle view = nullptr;
  ASSERT_EQ(LmRContainerReaderCreateView(reader, 0, &view), LmRStatus::Success);
  const void* data = nullptr;
  std::uint64_t size = 0;
  EXPECT_LMR_FAILURE(LmRFlowSetViewGetFlow(view, 2, &data, &size), LmRStatus::InvalidIndex,
                     "Given flow index greater than existing flows in current flow set");
  EXPECT_EQ(LmRFlowSetViewRelease(view), LmRStatus::Success);
}

}  // namespace
}  // namespace lumo::mockTL::testing
