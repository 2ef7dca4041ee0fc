// Several consumer threads on one data stream at once, through the built LmMockTL.cti: GenDC settings
// changed under a running acquisition, one memory announced from many threads, a stop racing a
// device close. Run under ThreadSanitizer as well; what these protect is that every call completes
// with one of its specified codes while the acquisition thread fills buffers. The stress tests
// hammer the queues, flushes and restarts.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "support/CallLog.h"
#include "support/FlowSession.h"

namespace {

using testing_support::FlowSession;
using testing_support::ScopedVariable;
using testing_support::TemporaryDirectory;
using namespace testing_support::camera;

constexpr const char* kSmallStream = R"({
  "Interfaces": [{"ID": "Bench", "Devices": [{"ID": "Cam", "Streams": [
    {"ID": "Small", "PixelFormat": "Mono8", "Width": 64, "Height": 32}]}]}]})";

class StreamConcurrency : public FlowSession {
 protected:
  void SetUp() override {
    FlowSession::SetUp();
    stream = openDeviceStream("Small", "Bench", "Cam");
    openCamera();
  }

  TemporaryDirectory directory;
  ScopedVariable config{"LMMOCKTL_CONFIG", directory.write("small.json", kSmallStream).string()};
  DS_HANDLE stream = nullptr;
  testing_support::CallLog log;
};

// GenDC settings are the consumer's to change while frames are built from them: every frame sees
// one consistent layout, and the flow queries never see half of one.
TEST_F(StreamConcurrency, GenDCSettingsChangeWhileFramesAreBuiltFromThem) {
  // Room for the largest container of this stream: two 64 x 32 Mono8 images behind 296 bytes.
  allocateBuffers(stream, 4, true, 296 + 2 * 64 * 32);
  const EVENT_HANDLE event = registerNewBuffer(stream);
  ASSERT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS);
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    while (!done) {
      EVENT_NEW_BUFFER_DATA data{};
      size_t size = sizeof(data);
      if (gentl.EventGetData(event, &data, &size, 50) != GC_ERR_SUCCESS) continue;
      log.expectOneOf("DSQueueBuffer", gentl.DSQueueBuffer(stream, data.BufferHandle), {GC_ERR_SUCCESS});
    }
  });
  threads.emplace_back([&] {
    for (std::uint32_t round = 0; !done; ++round) {
      for (const auto& [address, value] : {std::pair{kGenDCStreamingMode, std::uint32_t{round % 3 != 0}},
                                           {kGenDCFlowMappingConfiguration, round % 2},
                                           {kTestGenDCImageCount, 1 + round % 2},
                                           {kGenDCPartType, 0x4200 + round % 2}}) {
        log.expectOneOf("GCWritePort", writeCamera(address, value), {GC_ERR_SUCCESS});
      }
    }
  });
  threads.emplace_back([&] {
    while (!done) {
      uint32_t flows = 0;
      log.expectOneOf("DSGetNumFlows", gentl.DSGetNumFlows(stream, &flows), {GC_ERR_SUCCESS});
      std::vector<std::uint8_t> bytes(1024);
      for (STREAM_INFO_CMD command : {STREAM_INFO_FLOW_TABLE, STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR}) {
        INFO_DATATYPE type = 0;
        size_t size = bytes.size();
        log.expectOneOf("DSGetInfo", gentl.DSGetInfo(stream, command, &type, bytes.data(), &size),
                        {GC_ERR_SUCCESS, GC_ERR_NO_DATA});
      }
      size_t flowSize = 0;
      size_t size = sizeof(flowSize);
      INFO_DATATYPE type = 0;
      log.expectOneOf("DSGetFlowInfo", gentl.DSGetFlowInfo(stream, 0, FLOW_INFO_SIZE, &type, &flowSize, &size),
                      {GC_ERR_SUCCESS});
    }
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(1000));
  done = true;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(log.report(), "");
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

TEST_F(StreamConcurrency, SameMemoryAnnouncedFromManyThreadsMakesOneBuffer) {
  std::vector<char> memory(64);
  std::atomic<int> announced{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      BUFFER_HANDLE buffer = nullptr;
      const GC_ERROR result = gentl.DSAnnounceBuffer(stream, memory.data(), memory.size(), nullptr, &buffer);
      log.expectOneOf("DSAnnounceBuffer", result, {GC_ERR_SUCCESS, GC_ERR_RESOURCE_IN_USE});
      if (result == GC_ERR_SUCCESS) ++announced;
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(log.report(), "");
  EXPECT_EQ(announced.load(), 1);
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_ANNOUNCED), 1u);
}

TEST_F(StreamConcurrency, StopAndDeviceCloseAtOnceBothComplete) {
  allocateBuffers(stream, 3);
  for (int round = 0; round < 5; ++round) {
    ASSERT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS);
    std::thread stopper([&] {
      log.expectOneOf("DSStopAcquisition", gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_KILL),
                      {GC_ERR_SUCCESS, GC_ERR_RESOURCE_IN_USE});
    });
    EXPECT_EQ(gentl.DevClose(device), GC_ERR_SUCCESS);
    stopper.join();
    EXPECT_EQ(streamInfo<bool8_t>(stream, STREAM_INFO_IS_GRABBING), 0);
    ASSERT_EQ(gentl.IFOpenDevice(iface, "Cam", DEVICE_ACCESS_EXCLUSIVE, &device), GC_ERR_SUCCESS);
  }
  EXPECT_EQ(log.report(), "");
}

}  // namespace
