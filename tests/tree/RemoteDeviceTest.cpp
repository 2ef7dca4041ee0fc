// The simulated camera as a GenApi-based consumer drives it: through the port of the handle that
// DevGetPort returns, with GCReadPort and GCWritePort.
#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>

#include "support/StreamSession.h"

namespace {

using testing_support::StreamSession;

constexpr std::uint64_t kAcqActive = 0x0;
constexpr std::uint64_t kTriggerSoftware = 0x4;
constexpr std::uint64_t kTriggerCount = 0x8;
constexpr std::uint64_t kSleepBetweenFrames = 0x60;
constexpr std::uint64_t kSourceCount = 0x100;
constexpr std::uint64_t kSourceSelector = 0x200;
constexpr std::uint64_t kWidth = 0x1000;
constexpr std::uint64_t kHeight = 0x1500;
constexpr std::uint64_t kPaddingMode = 0x1600;
constexpr std::uint64_t kPaddingLineCountY = 0x1608;
constexpr std::uint64_t kPixelFormat = 0x2500;
constexpr std::uint64_t kPayloadSize = 0x2600;
constexpr std::uint64_t kTlParamsLocked = 0x9000;
constexpr std::uint64_t kTimestamp = 0x13400;
constexpr std::uint64_t kGenDCStreamingMode = 0x30000;
constexpr std::uint64_t kGenDCFlowMappingConfiguration = 0x30020;
constexpr std::uint64_t kGenDCPartType = 0x30024;
constexpr std::uint64_t kStreamingDataSource = 0x30028;
constexpr std::uint64_t kGenDCFlowMappingTable = 0x31000;
constexpr std::uint64_t kGenDCDescriptor = 0x32000;
constexpr std::uint64_t kTestGenDCImageCount = 0x40000;

class RemoteDevice : public StreamSession {
 protected:
  void SetUp() override {
    StreamSession::SetUp();
    stream = openDeviceStream();
    ASSERT_EQ(gentl.DevGetPort(device, &port), GC_ERR_SUCCESS) << producer.lastError().second;
  }

  template <class T = std::uint32_t>
  T read(std::uint64_t address) {
    T value{};
    size_t size = sizeof(value);
    EXPECT_EQ(gentl.GCReadPort(port, address, &value, &size), GC_ERR_SUCCESS)
        << address << ": " << producer.lastError().second;
    return value;
  }
  GC_ERROR write(std::uint64_t address, std::uint32_t value) {
    size_t size = sizeof(value);
    return gentl.GCWritePort(port, address, &value, &size);
  }
  std::string text(std::uint64_t address, size_t length = 64) {
    std::string bytes(length, '\x7f');
    EXPECT_EQ(gentl.GCReadPort(port, address, bytes.data(), &length), GC_ERR_SUCCESS);
    return bytes.substr(0, bytes.find('\0'));
  }

  DS_HANDLE stream = nullptr;
  PORT_HANDLE port = nullptr;
};

TEST_F(RemoteDevice, IsTheSameCameraForEveryCallAndAfterReopening) {
  PORT_HANDLE again = nullptr;
  ASSERT_EQ(gentl.DevGetPort(device, &again), GC_ERR_SUCCESS);
  EXPECT_EQ(again, port);
  ASSERT_EQ(gentl.DevClose(device), GC_ERR_SUCCESS);
  ASSERT_EQ(openDevice(iface), device);
  ASSERT_EQ(gentl.DevGetPort(device, &again), GC_ERR_SUCCESS);
  EXPECT_EQ(again, port);
}

TEST_F(RemoteDevice, ReportsTheDeviceRecord) {
  EXPECT_EQ(text(0x9500, 256), "MyDevice0");
  EXPECT_EQ(text(0x10000), "MyDevice0");
  EXPECT_EQ(text(0x10500), "KORVANE IMAGING");
  EXPECT_EQ(text(0x11000), "Mock Camera (Default)");
  EXPECT_EQ(text(0x12000), "MyDevice0");
  EXPECT_EQ(text(0x12500), "MyDevice0");
  EXPECT_EQ(text(0x13000), "1.0");
  EXPECT_EQ(read(kSourceCount), 4u);
}

TEST_F(RemoteDevice, TimestampNeverGoesBack) {
  const auto first = read<std::uint64_t>(kTimestamp);
  EXPECT_GT(first, 0u);
  EXPECT_GE(read<std::uint64_t>(kTimestamp), first);
}

TEST_F(RemoteDevice, GeometryWritesReachTheStreamAndItsPayload) {
  ASSERT_EQ(write(kWidth, 64), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kHeight, 32), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kWidth), 64u);
  EXPECT_EQ(read(kHeight), 32u);
  EXPECT_EQ(read<std::uint64_t>(kPayloadSize), 64u * 32u);
  EXPECT_EQ(payloadSize(stream), 64u * 32u);
  ASSERT_EQ(write(kPaddingMode, 1), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kPaddingLineCountY, 2), GC_ERR_SUCCESS);
  EXPECT_EQ(read<std::uint64_t>(kPayloadSize), 64u * 34u);
  ASSERT_EQ(write(kPixelFormat, 0x01100007), GC_ERR_SUCCESS);  // Mono16
  EXPECT_EQ(read<std::uint64_t>(kPayloadSize), 2u * 64u * 34u);

  const auto event = registerNewBuffer(stream);
  allocateBuffers(stream, 3);
  ASSERT_EQ(write(kSleepBetweenFrames, 1000000), GC_ERR_SUCCESS);
  ASSERT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_SUCCESS);
  const auto buffer = nextBuffer(event);
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(bufferInfo<size_t>(stream, buffer, BUFFER_INFO_SIZE_FILLED), 2u * 64u * 34u);
  gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT);
}

TEST_F(RemoteDevice, PixelFormatZeroMeansMono8) {
  ASSERT_EQ(write(kPixelFormat, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kPixelFormat), 0x01080001u);
}

TEST_F(RemoteDevice, SourceSelectorChoosesTheStreamThatSizeWritesReach) {
  EXPECT_NE(write(kSourceSelector, 4), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kSourceSelector), 0u);
  ASSERT_EQ(write(kSourceSelector, 3), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kWidth, 100), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kSourceSelector), 3u);
  EXPECT_EQ(read(kWidth), 100u);
  ASSERT_EQ(write(kSourceSelector, 0), GC_ERR_SUCCESS);
  EXPECT_NE(read(kWidth), 100u);
}

TEST_F(RemoteDevice, TriggerCountCountsSinceTheLastStart) {
  ASSERT_EQ(write(kTriggerSoftware, 0), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kTriggerSoftware, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kTriggerCount), 2u);
  ASSERT_EQ(write(kAcqActive, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kTriggerCount), 2u);
  ASSERT_EQ(write(kAcqActive, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kTriggerCount), 0u);
  ASSERT_EQ(write(kTriggerSoftware, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kTriggerCount), 1u);
  EXPECT_EQ(write(kTriggerCount, 5), GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(read(kTriggerCount), 1u);
}

// The lock reads back the inverse of what was written; consumers rely on it.
struct LockStep {
  const char* name;
  std::uint32_t written[3];
  int count;
  bool grabbing;
  std::uint32_t expected;
};

void PrintTo(const LockStep& step, std::ostream* out) { *out << step.name; }

class TlParamsLocked : public RemoteDevice, public ::testing::WithParamInterface<LockStep> {};

TEST_P(TlParamsLocked, ReadsBackAsSequencesOfWritesLeaveIt) {
  const auto& step = GetParam();
  EXPECT_EQ(read(kTlParamsLocked), 0u);
  for (int i = 0; i < step.count; ++i) {
    if (step.grabbing && i == step.count - 1) {
      allocateBuffers(stream, 3);
      ASSERT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS);
    }
    ASSERT_EQ(write(kTlParamsLocked, step.written[i]), GC_ERR_SUCCESS);
  }
  EXPECT_EQ(read(kTlParamsLocked), step.expected);
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
  EXPECT_EQ(read(kGenDCPartType), 0x4200u);
  EXPECT_EQ(read(kTestGenDCImageCount), 1u);
  ASSERT_EQ(write(kGenDCStreamingMode, 1), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kGenDCFlowMappingConfiguration, 1), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kGenDCPartType, 0x14201), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kTestGenDCImageCount, 2), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kGenDCStreamingMode), 1u);
  EXPECT_EQ(read(kGenDCFlowMappingConfiguration), 1u);
  EXPECT_EQ(read(kGenDCPartType), 0x4201u);
  EXPECT_EQ(read(kTestGenDCImageCount), 2u);
  ASSERT_EQ(write(kSourceSelector, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kGenDCStreamingMode), 0u);
  EXPECT_EQ(read(kStreamingDataSource), 0u);
}

TEST_F(RemoteDevice, DescriptorAndFlowTableHaveNoDataWithoutFlows) {
  for (const std::uint64_t address : {kGenDCDescriptor, kGenDCFlowMappingTable}) {
    std::uint8_t bytes[16] = {};
    size_t size = sizeof(bytes);
    EXPECT_EQ(gentl.GCReadPort(port, address, bytes, &size), GC_ERR_NO_DATA);
    expectLastError(GC_ERR_NO_DATA, "command is invalid while flow mechanism is not used");
  }
}

}  // namespace

namespace {

constexpr std::uint64_t kFileSelector = 0x20000;
constexpr std::uint64_t kFileSize = 0x20004;
constexpr std::uint64_t kFileAccessOffset = 0x20010;
constexpr std::uint64_t kFileOpenMode = 0x20014;
constexpr std::uint64_t kFileOperationSelector = 0x20018;
constexpr std::uint64_t kFileOperationResult = 0x20020;
constexpr std::uint64_t kFileOperationStatus = 0x20024;
constexpr std::uint64_t kFileOperationExecute = 0x20028;
constexpr std::uint64_t kFileAccessBuffer = 0x20030;

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
    EXPECT_EQ(write(kFileSelector, file), GC_ERR_SUCCESS);
    EXPECT_EQ(write(kFileOperationSelector, operation), GC_ERR_SUCCESS);
    return write(kFileOperationExecute, 1);
  }
  void expectRuntimeError(const std::string& message) {
    expectLastError(GC_ERR_ERROR, "std::exception caught. " + message);
  }
};

TEST_F(FileAccess, TestFile0NeverOpensAndKeepsItsStatus) {
  ASSERT_EQ(write(kFileSelector, 0), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kFileOperationSelector, kOpen), GC_ERR_SUCCESS);
  const auto status = read(kFileOperationStatus);
  EXPECT_EQ(write(kFileOperationExecute, 1), GC_ERR_ERROR);
  expectRuntimeError("TestFile0 always fails to open");
  EXPECT_EQ(read(kFileOperationStatus), status);
}

TEST_F(FileAccess, TestFile1OpensAndReadsItsName) {
  ASSERT_EQ(write(kFileSelector, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kFileSize), 9u);
  ASSERT_EQ(write(kFileOpenMode, 0), GC_ERR_SUCCESS);
  ASSERT_EQ(execute(1, kOpen), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kFileOperationStatus), 0u);
  ASSERT_EQ(write(kFileOperationSelector, kRead), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kFileAccessOffset, 0), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kFileOperationExecute, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kFileOperationStatus), 0u);
  EXPECT_EQ(read(kFileOperationResult), 9u);
  EXPECT_EQ(text(kFileAccessBuffer, 9), "TestFile1");
  EXPECT_EQ(execute(1, kClose), GC_ERR_SUCCESS);
  EXPECT_EQ(read(kFileOperationStatus), 0u);
}

TEST_F(FileAccess, OpeningTwiceNeedsACloseBetween) {
  ASSERT_EQ(execute(1, kOpen), GC_ERR_SUCCESS);
  EXPECT_EQ(execute(1, kOpen), GC_ERR_ERROR);
  expectRuntimeError("file must be closed so that it can be opened");
  EXPECT_EQ(read(kFileOperationStatus), 1u);
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

void PrintTo(const Failure& failure, std::ostream* out) { *out << failure.name; }

class FileAccessFailure : public FileAccess, public ::testing::WithParamInterface<Failure> {};

TEST_P(FileAccessFailure, ReachesTheConsumerAsAGenericError) {
  ASSERT_EQ(write(kFileSelector, 1), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kFileOpenMode, 0), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kFileOperationSelector, kRead), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kFileAccessOffset, 0), GC_ERR_SUCCESS);
  const auto& failure = GetParam();
  if (failure.step == Step::ReadFromOffset) {
    ASSERT_EQ(execute(1, kOpen), GC_ERR_SUCCESS);
    ASSERT_EQ(write(kFileOperationSelector, kRead), GC_ERR_SUCCESS);
    ASSERT_EQ(write(kFileAccessOffset, failure.value), GC_ERR_SUCCESS);
    EXPECT_EQ(write(kFileOperationExecute, 1), GC_ERR_ERROR);
    ASSERT_EQ(write(kFileAccessOffset, 0), GC_ERR_SUCCESS);
  } else if (failure.step == Step::Execute) {
    EXPECT_EQ(execute(1, failure.value), GC_ERR_ERROR);
    EXPECT_EQ(read(kFileOperationStatus), 1u);
  } else {
    EXPECT_EQ(write(failure.address, failure.value), GC_ERR_ERROR);
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
  ASSERT_EQ(write(kFileOperationSelector, kRead), GC_ERR_SUCCESS);
  ASSERT_EQ(write(kFileOperationExecute, 1), GC_ERR_SUCCESS);
  const char bytes[4] = {'x', 'y', 'z', 'w'};
  size_t size = sizeof(bytes);
  EXPECT_EQ(gentl.GCWritePort(port, kFileAccessBuffer, bytes, &size), GC_ERR_ERROR);
  EXPECT_EQ(text(kFileAccessBuffer, 9), "TestFile1");
}

}  // namespace
