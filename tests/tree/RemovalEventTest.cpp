// The camera's removal event through the exports: the remote device port offers EVENT_REMOTE_DEVICE
// like the other modules offer theirs, so reconnect code can wait on it.
#include <gtest/gtest.h>

#include <cstdint>

#include "support/ConsumerSession.h"

namespace {

using testing_support::ConsumerSession;

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

}  // namespace
