// Software-trigger acquisition through the exports: a device in trigger mode delivers one frame per
// TriggerSoftware execution on each acquiring stream, and none otherwise.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "support/CameraRegisters.h"
#include "support/ScopedEnvironment.h"
#include "support/StreamSession.h"

namespace {

using testing_support::ScopedVariable;
using testing_support::StreamSession;
using testing_support::TemporaryDirectory;
namespace camera = testing_support::camera;

// Two small streams, paced at an hour so that only a trigger can bring a frame.
std::string triggeredDevice(const char* mode) {
  return std::string(R"({"Interfaces": [{"ID": "I", "Devices": [{"ID": "Cam", "TriggerMode": ")") + mode +
         R"(", "Streams": [{"ID": "A", "Width": 16, "Height": 4}, {"ID": "B", "Width": 8, "Height": 2}]}]}]})";
}

class SoftwareTrigger : public StreamSession {
 protected:
  void open(const char* mode) {
    config.emplace("LMMOCKTL_CONFIG", directory.write("trigger.json", triggeredDevice(mode)).string());
    first = openDeviceStream("A", "I", "Cam");
    ASSERT_EQ(gentl.DevGetPort(device, &port), GC_ERR_SUCCESS);
    writeCamera(camera::kSleepBetweenFrames, 3600000000u);
  }
  void writeCamera(std::uint64_t address, std::uint32_t value) {
    size_t size = sizeof(value);
    ASSERT_EQ(gentl.GCWritePort(port, address, &value, &size), GC_ERR_SUCCESS) << producer.lastError().second;
  }
  void trigger(int times = 1) {
    for (int i = 0; i < times; ++i) writeCamera(camera::kTriggerSoftware, 0);
  }
  std::uint64_t frameId(DS_HANDLE stream, EVENT_HANDLE event) {
    const BUFFER_HANDLE buffer = nextBuffer(event);
    const auto id = bufferInfo<std::uint64_t>(stream, buffer, BUFFER_INFO_FRAMEID);
    EXPECT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
    return id;
  }
  bool nothingWithin(EVENT_HANDLE event, std::uint64_t milliseconds) {
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof(data);
    return gentl.EventGetData(event, &data, &size, milliseconds) == GC_ERR_TIMEOUT;
  }

  TemporaryDirectory directory;
  std::optional<ScopedVariable> config;
  DS_HANDLE first = nullptr;
  PORT_HANDLE port = nullptr;
};

// Faults caught: frames that run free in trigger mode, a trigger lost or counted twice, triggers
// from before the start delivered, frame ids that skip.
TEST_F(SoftwareTrigger, DeliversExactlyOneFramePerTriggerAndNothingBetween) {
  open("Software");
  trigger();  // before the start: not this acquisition's
  const EVENT_HANDLE event = startAcquisition(first);
  EXPECT_TRUE(nothingWithin(event, 100));
  trigger(3);
  EXPECT_EQ(frameId(first, event), 0u);
  EXPECT_EQ(frameId(first, event), 1u);
  EXPECT_EQ(frameId(first, event), 2u);
  EXPECT_TRUE(nothingWithin(event, 100));
  std::uint32_t count = 0;
  size_t size = sizeof(count);
  ASSERT_EQ(gentl.GCReadPort(port, camera::kTriggerCount, &count, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 4u);
  EXPECT_EQ(gentl.DSStopAcquisition(first, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

// Fault caught: a trigger dropped because no buffer was queued when it came.
TEST_F(SoftwareTrigger, ATriggerWithoutAQueuedBufferWaitsForOne) {
  open("Software");
  const BUFFER_HANDLE buffer = allocateBuffers(first, 3, false).front();
  const EVENT_HANDLE event = registerNewBuffer(first);
  ASSERT_EQ(gentl.DSStartAcquisition(first, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE), GC_ERR_SUCCESS);
  trigger(2);
  EXPECT_TRUE(nothingWithin(event, 50));
  ASSERT_EQ(gentl.DSQueueBuffer(first, buffer), GC_ERR_SUCCESS);
  EXPECT_EQ(frameId(first, event), 0u);
  EXPECT_EQ(frameId(first, event), 1u);
  EXPECT_EQ(gentl.DSStopAcquisition(first, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

// Fault caught: a trigger that wakes one stream of the device only.
TEST_F(SoftwareTrigger, EveryAcquiringStreamOfTheDeviceDeliversOneFramePerTrigger) {
  open("Software");
  const DS_HANDLE second = openStream(device, "B");
  const EVENT_HANDLE firstEvent = startAcquisition(first);
  const EVENT_HANDLE secondEvent = startAcquisition(second);
  trigger(2);
  for (const auto& [stream, event] : {std::pair(first, firstEvent), std::pair(second, secondEvent)}) {
    EXPECT_EQ(frameId(stream, event), 0u);
    EXPECT_EQ(frameId(stream, event), 1u);
    EXPECT_TRUE(nothingWithin(event, 50));
    EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  }
}

}  // namespace
