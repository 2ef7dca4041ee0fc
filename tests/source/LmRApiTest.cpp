#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "source/LmRApi.h"
#include "source/RecordingFiles.h"

namespace lumo::mockTL::testing {
namespace {

const std::vector<std::uint64_t> kFlowSizes = {16, 8, 4};
const std::vector<std::uint8_t> kDescriptor = {'G', 'N', 'D', 'C', 1, 1, 0, 0, 0x00, 0x10};

// A recording of 3 flows in 2 data files holding 2 and 1 flow sets, opened once per test.
class OpenedRecordingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    writeBytes(dir / "rec.info", infoFileBytes(true, kFlowSizes, {56, 28}, {2, 1}, kDescriptor));
    writeBytes(dir / "rec-000000.gdcs", patternFlowSets(0, 2, 28));
    writeBytes(dir / "rec-000001.gdcs", patternFlowSets(2, 1, 28));
    ASSERT_EQ(LmRCreateContainerReader((dir / "rec.info").c_str(), &reader), LmRStatus::Success)
        << LmRGetLastErrorMessage();
  }
  void TearDown() override {
    if (reader != nullptr) LmRContainerReaderRelease(reader);
  }

  TemporaryDirectory dir;
  LmRContainerReaderHandle reader = nullptr;
};

// Every call refuses a handle that is not a live one of its kind: released, of the other kind, or
// made up. A reader or view made after a release must not bring the released handle back to life.
TEST_F(OpenedRecordingTest, HandlesThatAreNotLiveOnesOfTheirKindAreInvalid) {
  LmRContainerReaderHandle released = nullptr;
  ASSERT_EQ(LmRCreateContainerReader((dir / "rec.info").c_str(), &released), LmRStatus::Success);
  ASSERT_EQ(LmRContainerReaderRelease(released), LmRStatus::Success);
  LmRFlowSetViewHandle releasedView = nullptr;
  ASSERT_EQ(LmRContainerReaderCreateView(reader, 0, &releasedView), LmRStatus::Success);
  ASSERT_EQ(LmRFlowSetViewRelease(releasedView), LmRStatus::Success);
  LmRContainerReaderHandle other = nullptr;
  ASSERT_EQ(LmRCreateContainerReader((dir / "rec.info").c_str(), &other), LmRStatus::Success);
  LmRFlowSetViewHandle view = nullptr;
  ASSERT_EQ(LmRContainerReaderCreateView(other, 0, &view), LmRStatus::Success);

  std::vector<LmRContainerReaderHandle> readers = {released, reinterpret_cast<LmRContainerReaderHandle>(view)};
  std::vector<LmRFlowSetViewHandle> views = {releasedView, reinterpret_cast<LmRFlowSetViewHandle>(reader)};
  for (const auto made : {std::uintptr_t{0}, std::uintptr_t{0xDEADBEEF}, ~std::uintptr_t{0}}) {
    readers.push_back(reinterpret_cast<LmRContainerReaderHandle>(made));
    views.push_back(reinterpret_cast<LmRFlowSetViewHandle>(made));
  }
  for (const auto handle : readers) {
    std::size_t size = 0;
    LmRFlowSetViewHandle created = nullptr;
    EXPECT_LMR_FAILURE(LmRContainerReaderGetProperty(handle, LmRProperty::FlowSizes, nullptr, &size),
                       LmRStatus::InvalidHandle, "ContainerReader handle invalid");
    EXPECT_LMR_FAILURE(LmRContainerReaderCreateView(handle, 0, &created), LmRStatus::InvalidHandle,
                       "ContainerReader handle invalid");
    EXPECT_LMR_FAILURE(LmRContainerReaderRelease(handle), LmRStatus::InvalidHandle, "ContainerReader handle invalid");
  }
  for (const auto handle : views) {
    std::uint64_t count = 0;
    const void* data = nullptr;
    EXPECT_LMR_FAILURE(LmRFlowSetViewFlowCount(handle, &count), LmRStatus::InvalidHandle, "View handle invalid");
    EXPECT_LMR_FAILURE(LmRFlowSetViewGetFlow(handle, 0, &data, &count), LmRStatus::InvalidHandle,
                       "View handle invalid");
    EXPECT_LMR_FAILURE(LmRFlowSetViewMoveTo(handle, 0), LmRStatus::InvalidHandle, "View handle invalid");
    EXPECT_LMR_FAILURE(LmRFlowSetViewRelease(handle), LmRStatus::InvalidHandle, "View handle invalid");
  }
  EXPECT_EQ(LmRFlowSetViewRelease(view), LmRStatus::Success);
  EXPECT_EQ(LmRContainerReaderRelease(other), LmRStatus::Success);
}

// A view keeps the mapping alive: reading it after its reader is released must not touch unmapped
// memory (the sanitizers or a fault would catch it).
TEST_F(OpenedRecordingTest, ViewOutlivesItsReleasedReader) {
  LmRFlowSetViewHandle view = nullptr;
  ASSERT_EQ(LmRContainerReaderCreateView(reader, 2, &view), LmRStatus::Success);
  ASSERT_EQ(LmRContainerReaderRelease(reader), LmRStatus::Success);
  reader = nullptr;
  ASSERT_EQ(LmRFlowSetViewMoveTo(view, 1), LmRStatus::Success);
  const void* data = nullptr;
  std::uint64_t size = 0;
  ASSERT_EQ(LmRFlowSetViewGetFlow(view, 2, &data, &size), LmRStatus::Success);
  ASSERT_EQ(size, 4u);
  EXPECT_EQ(static_cast<const std::uint8_t*>(data)[3], patternByte(1, 24 + 3));
  EXPECT_EQ(LmRFlowSetViewRelease(view), LmRStatus::Success);
}

// One thread replays while another keeps opening and releasing views and readers of the same
// recording: the handle table and the shared mappings must hold up (ThreadSanitizer watches).
TEST_F(OpenedRecordingTest, ConcurrentViewsOfOneReaderReplayIndependently) {
  auto replay = [this](std::uint64_t first) {
    LmRFlowSetViewHandle view = nullptr;
    ASSERT_EQ(LmRContainerReaderCreateView(reader, first, &view), LmRStatus::Success);
    for (std::uint64_t run = 0; run < 300; ++run) {
      const auto flowSet = (first + run) % 3;
      ASSERT_EQ(LmRFlowSetViewMoveTo(view, flowSet), LmRStatus::Success);
      const void* data = nullptr;
      std::uint64_t size = 0;
      ASSERT_EQ(LmRFlowSetViewGetFlow(view, 1, &data, &size), LmRStatus::Success);
      ASSERT_EQ(static_cast<const std::uint8_t*>(data)[0], patternByte(flowSet, 16));
    }
    EXPECT_EQ(LmRFlowSetViewRelease(view), LmRStatus::Success);
  };
  std::thread first(replay, 0);
  std::thread second(replay, 2);
  first.join();
  second.join();
}

TEST_F(OpenedRecordingTest, WidePathIsReadAsUnicode) {
  const std::string utf8Stem = "aufnahme-\xc3\xbc";
  std::filesystem::copy_file(dir / "rec.info", dir / (utf8Stem + ".info"));
  std::filesystem::copy_file(dir / "rec-000000.gdcs", dir / (utf8Stem + "-000000.gdcs"));
  std::filesystem::copy_file(dir / "rec-000001.gdcs", dir / (utf8Stem + "-000001.gdcs"));
  const auto directory = dir.path().string();
  const std::wstring wide = std::wstring(directory.begin(), directory.end()) + L"/aufnahme-\u00fc.info";
  LmRContainerReaderHandle other = nullptr;
  ASSERT_EQ(LmRCreateContainerReaderW(wide.c_str(), &other), LmRStatus::Success) << LmRGetLastErrorMessage();
  EXPECT_EQ(LmRContainerReaderRelease(other), LmRStatus::Success);

  const wchar_t loneSurrogate[] = {L'a', static_cast<wchar_t>(0xD800), 0};
  EXPECT_LMR_FAILURE(LmRCreateContainerReaderW(loneSurrogate, &other), LmRStatus::InvalidParameter,
                     "InfoFile path is not valid Unicode");
}

TEST(LmRLibraryTest, EachThreadReadsItsOwnLastError) {
  LmRFlowSetViewHandle view = nullptr;
  EXPECT_EQ(LmRFlowSetViewRelease(view), LmRStatus::InvalidHandle);
  std::thread other([] {
    std::size_t size = 0;
    EXPECT_EQ(LmRContainerReaderGetProperty(nullptr, LmRProperty::FlowSizes, nullptr, &size), LmRStatus::InvalidHandle);
    EXPECT_STREQ(LmRGetLastErrorMessage(), "ContainerReader handle invalid");
  });
  other.join();
  EXPECT_STREQ(LmRGetLastErrorMessage(), "View handle invalid");
}

}  // namespace
}  // namespace lumo::mockTL::testing
