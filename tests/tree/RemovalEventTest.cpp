// The camera's removal event through the exports: the remote device port offers EVENT_REMOTE_DEVICE
// like the other modules offer theirs, so reconnect code can wait on it.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

#include "support/ScopedEnvironment.h"
#include "support/StreamSession.h"

namespace {

using testing_support::ConsumerSession;
using testing_support::ScopedVariable;
using testing_support::StreamSession;
using testing_support::TemporaryDirectory;

class RemovalEvent : public ConsumerSession {
 protected:
  void SetUp() override {
    ConsumerSession::SetUp();
    device = openDevice(openInterface(openSystem()));
    ASSERT_EQ(gentl.DevGetPort(device, &camera), GC_ERR_SUCCESS);
  }

  DEV_HANDLE device = nullptr;
  PORT_HANDLE camera = nullptr;
};

// Fault caught: the remote device without the kind ("event not supported"), or an event that waits,
// kills, flushes or reports its type unlike the others.
TEST_F(RemovalEvent, RegistersOnTheCameraPortAndWaitsLikeEveryOtherKind) {
  EVENT_HANDLE event = nullptr;
  ASSERT_EQ(gentl.GCRegisterEvent(camera, EVENT_REMOTE_DEVICE, &event), GC_ERR_SUCCESS);
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(gentl.GCRegisterEvent(camera, EVENT_REMOTE_DEVICE, &event), GC_ERR_RESOURCE_IN_USE);

  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  int32_t kind = 0;
  size_t size = sizeof(kind);
  EXPECT_EQ(gentl.EventGetInfo(event, EVENT_EVENT_TYPE, &type, &kind, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(kind, EVENT_REMOTE_DEVICE);
  size_t queued = 1;
  size = sizeof(queued);
  EXPECT_EQ(gentl.EventGetInfo(event, EVENT_NUM_IN_QUEUE, &type, &queued, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(queued, 0u);

  char data[64] = {};
  size = sizeof(data);
  EXPECT_EQ(gentl.EventGetData(event, data, &size, 10), GC_ERR_TIMEOUT);
  EXPECT_EQ(gentl.EventKill(event), GC_ERR_SUCCESS);
  EXPECT_EQ(gentl.EventGetData(event, data, &size, 10), GC_ERR_ABORT);
  EXPECT_EQ(gentl.EventFlush(event), GC_ERR_SUCCESS);
  EXPECT_EQ(gentl.GCUnregisterEvent(camera, EVENT_REMOTE_DEVICE), GC_ERR_SUCCESS);
  EXPECT_EQ(gentl.GCUnregisterEvent(camera, EVENT_REMOTE_DEVICE), GC_ERR_NOT_INITIALIZED);
}

// A camera unplugged after five frames of its two streams together, as reconnect code meets it.
class DeviceRemoval : public StreamSession {
 protected:
  void SetUp() override {
    StreamSession::SetUp();
    config.emplace("LMMOCKTL_CONFIG", directory.write("unplug.json", kCamera).string());
    system = openSystem();
    iface = openInterface(system, "I");
  }

  // Opens the camera and both streams and grabs unpaced until the camera is gone; the frames each
  // stream delivered.
  std::pair<int, int> grabUntilRemoved() {
    device = openDevice(iface, "Cam");
    EXPECT_EQ(gentl.DevGetPort(device, &camera), GC_ERR_SUCCESS);
    std::uint32_t unpaced = 0;
    size_t size = sizeof(unpaced);
    EXPECT_EQ(gentl.GCWritePort(camera, 0x60, &unpaced, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.GCRegisterEvent(camera, EVENT_REMOTE_DEVICE, &removal), GC_ERR_SUCCESS);
    streams = {openStream(device, "A"), openStream(device, "B")};
    const EVENT_HANDLE events[] = {startAcquisition(streams[0], GENTL_INFINITE, 8),
                                   startAcquisition(streams[1], GENTL_INFINITE, 8)};
    char data[64] = {};
    size = sizeof(data);
    EXPECT_EQ(gentl.EventGetData(removal, data, &size, kFrameWait), GC_ERR_SUCCESS);
    EXPECT_EQ(std::string(data, size), std::string("Cam", 4));
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    char id[16] = {};
    size_t idSize = sizeof(id);
    EXPECT_EQ(gentl.EventGetDataInfo(removal, data, size, EVENT_DATA_ID, &type, id, &idSize), GC_ERR_SUCCESS);
    EXPECT_STREQ(id, "Cam");
    std::pair<int, int> delivered{0, 0};
    for (int i = 0; i < 2; ++i) {
      EVENT_NEW_BUFFER_DATA buffer{};
      size_t bufferSize = sizeof(buffer);
      while (gentl.EventGetData(events[i], &buffer, &bufferSize, 200) == GC_ERR_SUCCESS) {
        ++(i == 0 ? delivered.first : delivered.second);
      }
    }
    return delivered;
  }

  // What a consumer's clean-up does after a removal: every call still succeeds.
  void closeEverything() {
    for (const DS_HANDLE stream : streams) {
      EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
      EXPECT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
      BUFFER_HANDLE buffer = nullptr;
      while (gentl.DSGetBufferID(stream, 0, &buffer) == GC_ERR_SUCCESS) {
        ASSERT_EQ(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr), GC_ERR_SUCCESS);
      }
      EXPECT_EQ(gentl.GCUnregisterEvent(stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
      EXPECT_EQ(gentl.DSClose(stream), GC_ERR_SUCCESS);
    }
    EXPECT_EQ(gentl.GCUnregisterEvent(camera, EVENT_REMOTE_DEVICE), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.DevClose(device), GC_ERR_SUCCESS);
  }

  static constexpr const char* kCamera =
      R"({"Interfaces": [{"ID": "I", "Devices": [{"ID": "Cam", "RemoveAfterFrames": 5, "Streams": [)"
      R"({"ID": "A", "Width": 16, "Height": 4}, {"ID": "B", "Width": 8, "Height": 2}]}]}]})";
  TemporaryDirectory directory;
  std::optional<ScopedVariable> config;
  PORT_HANDLE camera = nullptr;
  EVENT_HANDLE removal = nullptr;
  std::vector<DS_HANDLE> streams;
};

// Faults caught: more or fewer frames than the camera had in it, no removal item or one without
// the device's id, a clean-up call that fails or hangs after the removal, a camera that cannot be
// opened again or comes back without a fresh count.
TEST_F(DeviceRemoval, TheCameraGoesAfterItsFramesAndComesBackAfterTheDeviceIsClosed) {
  const auto [first, second] = grabUntilRemoved();
  EXPECT_EQ(first + second, 5);
  closeEverything();
  const auto [again, andAgain] = grabUntilRemoved();
  EXPECT_EQ(again + andAgain, 5);
  closeEverything();
}

}  // namespace
