// The simulated camera as a GenApi-based consumer drives it: through the port of the handle that
// DevGetPort returns, with GCReadPort and GCWritePort.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "support/FlowSession.h"

namespace {

using testing_support::FlowSession;

using namespace testing_support::camera;

class RemoteDevice : public FlowSession {
 protected:
  void SetUp() override {
    FlowSession::SetUp();
    stream = openDeviceStream();
    openCamera();
  }

  DS_HANDLE stream = nullptr;
};

TEST_F(RemoteDevice, IsTheSameCameraForEveryCallAndAfterReopening) {
  PORT_HANDLE again = nullptr;
  ASSERT_EQ(gentl.DevGetPort(device, &again), GC_ERR_SUCCESS);
  EXPECT_EQ(again, camera);
  ASSERT_EQ(gentl.DevClose(device), GC_ERR_SUCCESS);
  ASSERT_EQ(openDevice(iface), device);
  ASSERT_EQ(gentl.DevGetPort(device, &again), GC_ERR_SUCCESS);
  EXPECT_EQ(again, camera);
}

TEST_F(RemoteDevice, ReportsTheDeviceRecord) {
  EXPECT_EQ(readCameraText(0x9500, 256), "MyDevice0");
  EXPECT_EQ(readCameraText(0x10000), "MyDevice0");
  EXPECT_EQ(readCameraText(0x10500), "KORVANE IMAGING");
  EXPECT_EQ(readCameraText(0x11000), "Mock Camera (Default)");
  EXPECT_EQ(readCameraText(0x12000), "MyDevice0");
  EXPECT_EQ(readCameraText(0x12500), "MyDevice0");
  EXPECT_EQ(readCameraText(0x13000), "1.0");
  EXPECT_EQ(readCamera(kSourceCount), 4u);
}

TEST_F(RemoteDevice, TimestampNeverGoesBack) {
  const auto first = readCamera<std::uint64_t>(kTimestamp);
  EXPECT_GT(first, 0u);
  EXPECT_GE(readCamera<std::uint64_t>(kTimestamp), first);
}

TEST_F(RemoteDevice, GeometryWritesReachTheStreamAndItsPayload) {
  ASSERT_EQ(writeCamera(kWidth, 64), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kHeight, 32), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kWidth), 64u);
  EXPECT_EQ(readCamera(kHeight), 32u);
  EXPECT_EQ(readCamera<std::uint64_t>(kPayloadSize), 64u * 32u);
  EXPECT_EQ(payloadSize(stream), 64u * 32u);
  ASSERT_EQ(writeCamera(kPaddingMode, 1), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kPaddingLineCountY, 2), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera<std::uint64_t>(kPayloadSize), 64u * 34u);
  ASSERT_EQ(writeCamera(kPixelFormat, 0x01100007), GC_ERR_SUCCESS);  // Mono16
  EXPECT_EQ(readCamera<std::uint64_t>(kPayloadSize), 2u * 64u * 34u);

  const auto buffer = nextBuffer(startAcquisition(stream, 1));
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(bufferInfo<size_t>(stream, buffer, BUFFER_INFO_SIZE_FILLED), 2u * 64u * 34u);
  gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT);
}

TEST_F(RemoteDevice, PixelFormatZeroMeansMono8) {
  ASSERT_EQ(writeCamera(kPixelFormat, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kPixelFormat), 0x01080001u);
}

TEST_F(RemoteDevice, SourceSelectorChoosesTheStreamThatSizeWritesReach) {
  EXPECT_NE(writeCamera(kSourceSelector, 4), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kSourceSelector), 0u);
  ASSERT_EQ(writeCamera(kSourceSelector, 3), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kWidth, 100), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kSourceSelector), 3u);
  EXPECT_EQ(readCamera(kWidth), 100u);
  ASSERT_EQ(writeCamera(kSourceSelector, 0), GC_ERR_SUCCESS);
  EXPECT_NE(readCamera(kWidth), 100u);
}

TEST_F(RemoteDevice, TriggerCountCountsSinceTheLastStart) {
  ASSERT_EQ(writeCamera(kTriggerSoftware, 0), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kTriggerSoftware, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kTriggerCount), 2u);
  ASSERT_EQ(writeCamera(kAcqActive, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kTriggerCount), 2u);
  ASSERT_EQ(writeCamera(kAcqActive, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kTriggerCount), 0u);
  ASSERT_EQ(writeCamera(kTriggerSoftware, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kTriggerCount), 1u);
  EXPECT_EQ(writeCamera(kTriggerCount, 5), GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(readCamera(kTriggerCount), 1u);
}

// The lock reads back the inverse of what was written; consumers rely on it.
struct LockStep {
  const char* name;
  std::uint32_t written[3];
  int count;
  bool grabbing;
  std::uint32_t expected;
};

class TlParamsLocked : public RemoteDevice, public ::testing::WithParamInterface<LockStep> {};

TEST_P(TlParamsLocked, ReadsBackAsSequencesOfWritesLeaveIt) {
  const auto& step = GetParam();
  EXPECT_EQ(readCamera(kTlParamsLocked), 0u);
  for (int i = 0; i < step.count; ++i) {
    if (step.grabbing && i == step.count - 1) {
      allocateBuffers(stream, 3);
      ASSERT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS);
    }
    ASSERT_EQ(writeCamera(kTlParamsLocked, step.written[i]), GC_ERR_SUCCESS);
  }
  EXPECT_EQ(readCamera(kTlParamsLocked), step.expected);
  if (step.grabbing) {
    gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT);
  }
}

INSTANTIATE_TEST_SUITE_P(Sequences, TlParamsLocked,
                         ::testing::Values(LockStep{"One", {1}, 1, false, 0}, LockStep{"Zero", {0}, 1, false, 1},
                                           LockStep{"ZeroThenOne", {0, 1}, 2, false, 0},
                                           LockStep{"ZeroThenZero", {0, 0}, 2, false, 1},
                                           LockStep{"ZeroThenZeroWhileGrabbing", {0, 0}, 2, true, 1},
                                           LockStep{"ZeroThenOneWhileGrabbing", {0, 1}, 2, true, 0}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(RemoteDevice, GenDCSettingsAreKeptPerStream) {
  EXPECT_EQ(readCamera(kGenDCPartType), 0x4200u);
  EXPECT_EQ(readCamera(kTestGenDCImageCount), 1u);
  ASSERT_EQ(writeCamera(kGenDCStreamingMode, 1), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kGenDCFlowMappingConfiguration, 1), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kGenDCPartType, 0x14201), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kTestGenDCImageCount, 2), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kGenDCStreamingMode), 1u);
  EXPECT_EQ(readCamera(kGenDCFlowMappingConfiguration), 1u);
  EXPECT_EQ(readCamera(kGenDCPartType), 0x4201u);
  EXPECT_EQ(readCamera(kTestGenDCImageCount), 2u);
  ASSERT_EQ(writeCamera(kSourceSelector, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kGenDCStreamingMode), 0u);
  EXPECT_EQ(readCamera(kStreamingDataSource), 0u);
}

TEST_F(RemoteDevice, DescriptorAndFlowTableHaveNoDataWithoutFlows) {
  for (const std::uint64_t address : {kGenDCDescriptor, kGenDCFlowMappingTable}) {
    std::uint8_t bytes[16] = {};
    size_t size = sizeof(bytes);
    EXPECT_EQ(gentl.GCReadPort(camera, address, bytes, &size), GC_ERR_NO_DATA);
    expectLastError(GC_ERR_NO_DATA, "command is invalid while flow mechanism is not used");
  }
}

enum : std::uint32_t { kOpen = 0, kClose = 1, kRead = 2, kWrite = 3, kDelete = 4 };

// The file-access state is the library's, kept across devices: every case starts from TestFile1
// closed and ends with it closed again.
class FileAccess : public RemoteDevice {
 protected:
  void SetUp() override {
    RemoteDevice::SetUp();
    EXPECT_EQ(execute(1, kClose), GC_ERR_SUCCESS) << "closing a closed file succeeds";
  }
  void TearDown() override {
    execute(1, kClose);
    RemoteDevice::TearDown();
  }
  GC_ERROR execute(std::uint32_t file, std::uint32_t operation) {
    EXPECT_EQ(writeCamera(kFileSelector, file), GC_ERR_SUCCESS);
    EXPECT_EQ(writeCamera(kFileOperationSelector, operation), GC_ERR_SUCCESS);
    return writeCamera(kFileOperationExecute, 1);
  }
  void expectRuntimeError(const std::string& message) {
    expectLastError(GC_ERR_ERROR, "std::exception caught. " + message);
  }
};

TEST_F(FileAccess, TestFile0NeverOpensAndKeepsItsStatus) {
  ASSERT_EQ(writeCamera(kFileSelector, 0), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kFileOperationSelector, kOpen), GC_ERR_SUCCESS);
  const auto status = readCamera(kFileOperationStatus);
  EXPECT_EQ(writeCamera(kFileOperationExecute, 1), GC_ERR_ERROR);
  expectRuntimeError("TestFile0 always fails to open");
  EXPECT_EQ(readCamera(kFileOperationStatus), status);
}

TEST_F(FileAccess, TestFile1OpensAndReadsItsName) {
  ASSERT_EQ(writeCamera(kFileSelector, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kFileSize), 9u);
  ASSERT_EQ(writeCamera(kFileOpenMode, 0), GC_ERR_SUCCESS);
  ASSERT_EQ(execute(1, kOpen), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kFileOperationStatus), 0u);
  ASSERT_EQ(writeCamera(kFileOperationSelector, kRead), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kFileAccessOffset, 0), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kFileOperationExecute, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kFileOperationStatus), 0u);
  EXPECT_EQ(readCamera(kFileOperationResult), 9u);
  EXPECT_EQ(readCameraText(kFileAccessBuffer, 9), "TestFile1");
  EXPECT_EQ(execute(1, kClose), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kFileOperationStatus), 0u);
}

TEST_F(FileAccess, OpeningTwiceNeedsACloseBetween) {
  ASSERT_EQ(execute(1, kOpen), GC_ERR_SUCCESS);
  EXPECT_EQ(execute(1, kOpen), GC_ERR_ERROR);
  expectRuntimeError("file must be closed so that it can be opened");
  EXPECT_EQ(readCamera(kFileOperationStatus), 1u);
  ASSERT_EQ(execute(1, kClose), GC_ERR_SUCCESS);
  EXPECT_EQ(execute(1, kOpen), GC_ERR_SUCCESS);
}

// How a case fails: a selector write refused, an operation executed, or a read from an offset.
enum class Step { Select, Execute, ReadFromOffset };

struct Failure {
  const char* name;
  Step step;
  std::uint64_t address;
  std::uint32_t value;
  const char* message;
};

class FileAccessFailure : public FileAccess, public ::testing::WithParamInterface<Failure> {};

TEST_P(FileAccessFailure, ReachesTheConsumerAsAGenericError) {
  ASSERT_EQ(writeCamera(kFileSelector, 1), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kFileOpenMode, 0), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kFileOperationSelector, kRead), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kFileAccessOffset, 0), GC_ERR_SUCCESS);
  const auto& failure = GetParam();
  if (failure.step == Step::ReadFromOffset) {
    ASSERT_EQ(execute(1, kOpen), GC_ERR_SUCCESS);
    ASSERT_EQ(writeCamera(kFileOperationSelector, kRead), GC_ERR_SUCCESS);
    ASSERT_EQ(writeCamera(kFileAccessOffset, failure.value), GC_ERR_SUCCESS);
    EXPECT_EQ(writeCamera(kFileOperationExecute, 1), GC_ERR_ERROR);
    ASSERT_EQ(writeCamera(kFileAccessOffset, 0), GC_ERR_SUCCESS);
  } else if (failure.step == Step::Execute) {
    EXPECT_EQ(execute(1, failure.value), GC_ERR_ERROR);
    EXPECT_EQ(readCamera(kFileOperationStatus), 1u);
  } else {
    EXPECT_EQ(writeCamera(failure.address, failure.value), GC_ERR_ERROR);
  }
  expectRuntimeError(failure.message);
}

INSTANTIATE_TEST_SUITE_P(
    Operations, FileAccessFailure,
    ::testing::Values(
        Failure{"UnknownFile", Step::Select, kFileSelector, 7, "no suitable file operation found"},
        Failure{"UnknownOperation", Step::Select, kFileOperationSelector, 9, "no suitable file operation found"},
        Failure{"ReadWhileClosed", Step::Execute, kFileOperationSelector, kRead, "file not open for read operation"},
        Failure{"ReadWithOffset", Step::ReadFromOffset, kFileAccessOffset, 4, "file read with offset is not supported"},
        Failure{"Write", Step::Execute, kFileOperationSelector, kWrite, "writing a file is not supported"},
        Failure{"Delete", Step::Execute, kFileOperationSelector, kDelete, "deleting a file is not supported"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(FileAccess, BufferWritesChangeNothing) {
  ASSERT_EQ(execute(1, kOpen), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kFileOperationSelector, kRead), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kFileOperationExecute, 1), GC_ERR_SUCCESS);
  const char bytes[4] = {'x', 'y', 'z', 'w'};
  size_t size = sizeof(bytes);
  EXPECT_EQ(gentl.GCWritePort(camera, kFileAccessBuffer, bytes, &size), GC_ERR_ERROR);
  EXPECT_EQ(readCameraText(kFileAccessBuffer, 9), "TestFile1");
}

}  // namespace
