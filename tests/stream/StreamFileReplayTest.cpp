// Stream-file replay end to end: a recording made with the stream file writer, named by a
// stream's "StreamFilePath", replayed through the built LmMockTL.cti into composite buffers as a
// GenDC consumer receives it. What these protect is that every delivered segment holds its flow of
// the right flow set byte for byte, that the stream reports the recording's flows, table and
// descriptor, and that broken recordings reach the consumer as clear failures, never as a crash.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "gendc/Container.h"
#include "source/LmRInfoFile.h"
#include "source/StreamFileWriter.h"
#include "support/FlowSession.h"
#include "support/LittleEndian.h"

namespace {

using lumo::mockTL::GenDc::test::expectFields;
using lumo::mockTL::GenDc::test::readField;
using lumo::mockTL::LmR::Flow;
using lumo::mockTL::LmR::InfoFile;
using lumo::mockTL::LmR::StreamFileWriter;
using testing_support::FlowSession;
using testing_support::ScopedVariable;
using testing_support::TemporaryDirectory;
using namespace testing_support::camera;

const std::vector<std::uint64_t> kFlowSizes = {32, 1000, 500};
constexpr std::uint64_t kFlowSets = 5;

// Byte `offset` of flow `flow` of flow set `set`: every flow of every set differs from the others.
std::uint8_t recordedByte(std::uint64_t set, std::uint64_t flow, std::uint64_t offset) {
  return static_cast<std::uint8_t>(set * 53 + flow * 17 + offset * 3 + 1);
}

std::vector<std::uint8_t> recordedFlow(std::uint64_t set, std::uint64_t flow) {
  std::vector<std::uint8_t> bytes(kFlowSizes[flow]);
  for (std::uint64_t offset = 0; offset < bytes.size(); ++offset) bytes[offset] = recordedByte(set, flow, offset);
  return bytes;
}

std::vector<std::uint8_t> prefetchDescriptor() {
  std::vector<std::uint8_t> bytes(24);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(0xA0 + i);
  return bytes;
}

class StreamFileReplay : public FlowSession {
 protected:
  // Records kFlowSets flow sets, two per data file, as "<dir>/rec/capture.info".
  std::filesystem::path record(const std::vector<std::uint8_t>& descriptor = prefetchDescriptor()) {
    const auto info = directory.path() / "rec" / "capture.info";
    std::filesystem::create_directories(info.parent_path());
    StreamFileWriter writer(info, kFlowSizes, descriptor, 2);
    for (std::uint64_t set = 0; set < kFlowSets; ++set) {
      std::vector<std::vector<std::uint8_t>> flows;
      std::vector<Flow> views;
      for (std::uint64_t flow = 0; flow < kFlowSizes.size(); ++flow) flows.push_back(recordedFlow(set, flow));
      for (const auto& flow : flows) views.push_back({flow.data(), flow.size()});
      writer.append(views);
    }
    writer.finish();
    return info;
  }

  // A configuration whose one stream "Replay" replays `info`.
  void configure(const std::filesystem::path& info) {
    const std::string json = R"({"Interfaces": [{"ID": "Bench", "Devices": [{"ID": "Cam", "Streams": [
        {"ID": "Replay", "StreamFilePath": ")" +
                             info.string() + R"("}]}]}]})";
    config.emplace("LMMOCKTL_CONFIG", directory.write("replay.json", json).string());
  }

  DS_HANDLE openReplay() {
    const DS_HANDLE stream = openDeviceStream("Replay", "Bench", "Cam");
    openCamera();
    return stream;
  }

  TemporaryDirectory directory;
  std::optional<ScopedVariable> config;
};

TEST_F(StreamFileReplay, ReportsTheRecordingsFlowsTableAndDescriptor) {
  configure(record());
  const DS_HANDLE stream = openReplay();
  EXPECT_EQ(readCamera(kStreamingDataSource), 2u);
  EXPECT_EQ(readCamera(kGenDCStreamingStatus), 1u);
  EXPECT_EQ(readCamera<std::uint64_t>(kStreamFileMaxFrameId), kFlowSets - 1);
  EXPECT_EQ(payloadSize(stream), 32u + 1000 + 500);

  EXPECT_EQ(flowSizes(stream), kFlowSizes);
  std::vector<std::uint8_t> table(64, 0xEE);
  size_t size = table.size();
  INFO_DATATYPE type = 0;
  ASSERT_EQ(gentl.DSGetInfo(stream, STREAM_INFO_FLOW_TABLE, &type, table.data(), &size), GC_ERR_SUCCESS);
  ASSERT_EQ(size, 40u);
  expectFields(table, {{0, 2, 0x7000}, {12, 4, 3}, {16, 8, 32}, {24, 8, 1000}, {32, 8, 500}, {40, 1, 0xEE}});

  EXPECT_EQ(streamBytes(stream, STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR), prefetchDescriptor());
  EXPECT_EQ(readCamera(kGenDCDescriptorSize), prefetchDescriptor().size());
  EXPECT_EQ(readCameraBytes(kGenDCDescriptor, prefetchDescriptor().size()), prefetchDescriptor());
}

struct StartFrame {
  const char* name;
  std::uint64_t start;
  std::vector<std::uint64_t> flowSets;  // replayed by run frames 0, 1, ...
};

class ReplayFromStartFrame : public StreamFileReplay, public ::testing::WithParamInterface<StartFrame> {};

TEST_P(ReplayFromStartFrame, DeliversEveryFlowByteForByteRoundAndRound) {
  configure(record());
  const DS_HANDLE stream = openReplay();
  ASSERT_EQ(writeCamera<std::uint64_t>(kStreamFileStartFrameId, GetParam().start), GC_ERR_SUCCESS);
  announceComposite(stream, kFlowSizes, 3);
  const EVENT_HANDLE event = registerNewBuffer(stream);
  const auto& expected = GetParam().flowSets;
  ASSERT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, expected.size()), GC_ERR_SUCCESS);
  for (std::uint64_t frame = 0; frame < expected.size(); ++frame) {
    SCOPED_TRACE("frame " + std::to_string(frame));
    const BUFFER_HANDLE buffer = nextBuffer(event);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(bufferInfo<std::uint64_t>(stream, buffer, BUFFER_INFO_FRAMEID), frame);
    EXPECT_EQ(bufferInfo<size_t>(stream, buffer, BUFFER_INFO_PAYLOADTYPE), size_t{PAYLOAD_TYPE_GENDC});
    for (uint32_t flow = 0; flow < kFlowSizes.size(); ++flow) {
      EXPECT_EQ(segmentBytes(stream, buffer, flow), recordedFlow(expected[frame], flow)) << "flow " << flow;
    }
    ASSERT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
  }
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

INSTANTIATE_TEST_SUITE_P(
    Starts, ReplayFromStartFrame,
    ::testing::Values(StartFrame{"First", 0, {0, 1, 2, 3, 4, 0}},
                      // Flow sets 3 and 4 lie in the second and third data files, 0 and 1 in the first.
                      StartFrame{"InTheSecondFile", 3, {3, 4, 0, 1}},
                      // 2^64 - 1 is 0 modulo 5: start + run must not wrap at 64 bits first.
                      StartFrame{"Largest", ~std::uint64_t{0}, {0, 1, 2}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StreamFileReplay, FlowLargerThanItsSegmentIsReportedAfterTheEarlierFlowsWereCopiedToTheirStart) {
  configure(record());
  const DS_HANDLE stream = openReplay();
  announceComposite(stream, {40, 999, 500}, 3);
  const EVENT_HANDLE errors = registerErrorEvent(stream);
  const EVENT_HANDLE event = registerNewBuffer(stream);
  ASSERT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_SUCCESS);
  const BUFFER_HANDLE buffer = nextBuffer(event);
  ASSERT_NE(buffer, nullptr);
  // A segment larger than its flow keeps what lies behind the flow.
  auto first = recordedFlow(0, 0);
  first.resize(40, 0xEE);
  EXPECT_EQ(segmentBytes(stream, buffer, 0), first);
  EXPECT_EQ(segmentBytes(stream, buffer, 1), std::vector<std::uint8_t>(999, 0xEE));
  EXPECT_EQ(nextErrorText(errors), "The flow does not fit into the corresponding buffer segment.");
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

TEST_F(StreamFileReplay, DynamicFlowSizesOpenButEveryFrameReportsThem) {
  const auto info = record();
  InfoFile description = InfoFile::read(info);
  description.fixedFlowSizes = false;
  description.write(info);
  configure(info);
  const DS_HANDLE stream = openReplay();
  announceComposite(stream, kFlowSizes, 3);
  const EVENT_HANDLE errors = registerErrorEvent(stream);
  const EVENT_HANDLE event = registerNewBuffer(stream);
  ASSERT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_SUCCESS);
  ASSERT_NE(nextBuffer(event), nullptr);
  // The reader's text, followed by where the stream met it.
  const std::string report = nextErrorText(errors);
  EXPECT_EQ(report.rfind("Dynamic flow sizes are not supported (FixedFlowSizes == false):", 0), 0u) << report;
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

TEST_F(StreamFileReplay, BuffersReportTheImageTheRecordedDescriptorDescribes) {
  lumo::mockTL::GenDc::StreamSettings settings;
  settings.streamingMode = true;
  settings.width = 40;
  settings.height = 6;
  settings.pixelFormat = 0x01100007;  // Mono16
  const lumo::mockTL::GenDc::Container container(settings);
  const auto descriptor = container.descriptor().bytes();
  configure(record({descriptor.begin(), descriptor.end()}));
  const DS_HANDLE stream = openReplay();
  announceComposite(stream, kFlowSizes, 1);
  BUFFER_HANDLE buffer = nullptr;
  ASSERT_EQ(gentl.DSGetBufferID(stream, 0, &buffer), GC_ERR_SUCCESS);
  EXPECT_EQ(bufferInfo<size_t>(stream, buffer, BUFFER_INFO_WIDTH), 40u);
  EXPECT_EQ(bufferInfo<size_t>(stream, buffer, BUFFER_INFO_HEIGHT), 6u);
  EXPECT_EQ(bufferInfo<std::uint64_t>(stream, buffer, BUFFER_INFO_PIXELFORMAT), 0x01100007u);
  // The payload stays the recording's flow set, whatever the descriptor says.
  EXPECT_EQ(payloadSize(stream), 32u + 1000 + 500);
}

TEST_F(StreamFileReplay, FlowTableLongerThanItsRegisterIsRefusedWhileTheFlowsStillCount) {
  // 127 flows make a table of 16 + 8 × 127 = 1032 bytes, 8 more than the register holds.
  const auto info = directory.path() / "many.info";
  const std::vector<std::uint64_t> sizes(127, 1);
  {
    StreamFileWriter writer(info, sizes, prefetchDescriptor(), 1);
    const std::uint8_t byte = 7;
    writer.append(std::vector<Flow>(sizes.size(), Flow{&byte, 1}));
    writer.finish();
  }
  configure(info);
  const DS_HANDLE stream = openReplay();
  EXPECT_EQ(flowSizes(stream), sizes);
  INFO_DATATYPE type = 0;
  size_t size = 0;
  EXPECT_EQ(gentl.DSGetInfo(stream, STREAM_INFO_FLOW_TABLE, &type, nullptr, &size), GC_ERR_ERROR);
  expectLastError(GC_ERR_ERROR, "flow mapping table size does not fit the register definition");
  std::vector<std::uint8_t> bytes(1024);
  size = bytes.size();
  EXPECT_EQ(gentl.GCReadPort(camera, kGenDCFlowMappingTable, bytes.data(), &size), GC_ERR_ERROR);
}

// A recording that cannot be replayed leaves the device listed; opening its stream fails with the
// recording's own code and text.
struct BrokenRecording {
  const char* name;
  void (*damage)(const std::filesystem::path& info);
  GC_ERROR code;
  const char* message;
};

class BrokenStreamFile : public StreamFileReplay, public ::testing::WithParamInterface<BrokenRecording> {};

TEST_P(BrokenStreamFile, FailsTheStreamsOpenWithTheRecordingsText) {
  const auto info = record();
  GetParam().damage(info);
  configure(info);
  system = openSystem();
  device = openDevice(openInterface(system, "Bench"), "Cam");
  DS_HANDLE stream = nullptr;
  EXPECT_EQ(gentl.DevOpenDataStream(device, "Replay", &stream), GetParam().code);
  expectLastError(GetParam().code, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Recordings, BrokenStreamFile,
    ::testing::Values(BrokenRecording{"MissingInfoFile",
                                      [](const std::filesystem::path& info) { std::filesystem::remove(info); },
                                      GC_ERR_NOT_AVAILABLE, "Failed to open InfoFile for reading"},
                      BrokenRecording{"MissingDataFile",
                                      [](const std::filesystem::path& info) {
                                        std::filesystem::remove(InfoFile::dataFilePath(info, 1));
                                      },
                                      GC_ERR_NOT_AVAILABLE, "CreateFileW failed"},
                      BrokenRecording{"DataFileShorterThanItsFlowSets",
                                      [](const std::filesystem::path& info) {
                                        const auto data = InfoFile::dataFilePath(info, 2);
                                        std::filesystem::resize_file(data, std::filesystem::file_size(data) - 1);
                                      },
                                      GC_ERR_INVALID_VALUE, "Data file too short for its flow sets"},
                      BrokenRecording{"InfoFileCutShort",
                                      [](const std::filesystem::path& info) {
                                        std::filesystem::resize_file(info, std::filesystem::file_size(info) - 1);
                                      },
                                      GC_ERR_INVALID_VALUE, "Corrupted InfoFile"},
                      BrokenRecording{"EmptyPrefetchDescriptor",
                                      [](const std::filesystem::path& info) {
                                        InfoFile description = InfoFile::read(info);
                                        description.prefetchDescriptor.clear();
                                        description.write(info);
                                      },
                                      GC_ERR_INVALID_VALUE, "prefetch descriptor must not be empty"}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
