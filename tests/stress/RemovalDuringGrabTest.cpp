// The camera unplugged while consumer threads grab from both its streams, fire its software
// trigger and read its ports, round after round with the reconnect in between: every frame the
// camera had is delivered exactly once, no wait hangs, and the clean-up succeeds every time.
#include <atomic>
#include <thread>
#include <vector>

#include "stress/StressRig.h"

namespace stress {
namespace {

constexpr int kFramesPerCamera = 60;

class RemovalDuringGrab : public StressRig {
 protected:
  testing_support::ScopedVariable unplugging{"LMMOCKTL_CONFIG",
                                             directory
                                                 .write("unplug.json", R"({"Interfaces": [{"ID": "Rig", "Devices": [
        {"ID": "Cam0", "TriggerMode": "Software", "RemoveAfterFrames": 60, "Streams": [
          {"ID": "A", "Width": 64, "Height": 32, "IncompleteFrameEvery": 4},
          {"ID": "B", "Width": 48, "Height": 16, "LostFrameEvery": 5, "ErrorEventEvery": 3}]}]}]})")
                                                 .string()};
};

TEST_F(RemovalDuringGrab, EveryFrameArrivesOnceAndEveryCallReturnsAcrossReconnects) {
  const int rounds = kSanitized ? 4 : 15;
  Watchdog watchdog(std::chrono::seconds(90), "removal during grab");
  for (int round = 0; round < rounds; ++round) {
    std::vector<RigStream> rig = openRig(2, 4);
    EVENT_HANDLE removal = nullptr;
    ASSERT_EQ(gentl.GCRegisterEvent(rig[0].remote, EVENT_REMOTE_DEVICE, &removal), GC_ERR_SUCCESS);
    for (const RigStream& stream : rig) ASSERT_EQ(start(stream.stream), GC_ERR_SUCCESS);

    std::atomic<bool> removed{false};
    std::atomic<int> delivered{0};
    std::vector<std::thread> threads;
    // Two consumers per stream, requeuing what they get.
    for (const RigStream& stream : rig) {
      for (int n = 0; n < 2; ++n) {
        threads.emplace_back([&, stream] {
          while (!removed) {
            EVENT_NEW_BUFFER_DATA data{};
            size_t size = sizeof(data);
            const GC_ERROR result = gentl.EventGetData(stream.event, &data, &size, 20);
            if (result == GC_ERR_SUCCESS) {
              ++delivered;
              log.expectOneOf("DSQueueBuffer", gentl.DSQueueBuffer(stream.stream, data.BufferHandle), {GC_ERR_SUCCESS});
            } else {
              log.expectOneOf("EventGetData", result, {GC_ERR_TIMEOUT});
            }
          }
        });
      }
    }
    // The trigger, fired until the camera is gone, and a monitor reading every port.
    threads.emplace_back([&] {
      while (!removed) {
        log.expectOneOf("TriggerSoftware", writeRegister(rig[0].remote, testing_support::camera::kTriggerSoftware, 0),
                        {GC_ERR_SUCCESS});
        std::this_thread::yield();
      }
    });
    threads.emplace_back([&] {
      while (!removed) readModulePorts(rig[1], {GC_ERR_SUCCESS});
    });
    char item[32] = {};
    size_t size = sizeof(item);
    EXPECT_EQ(gentl.EventGetData(removal, item, &size, 20000), GC_ERR_SUCCESS) << "round " << round;
    // The consumers take what was delivered before the removal, then stop.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    removed = true;
    for (std::thread& thread : threads) thread.join();
    for (const RigStream& stream : rig) delivered += static_cast<int>(drain(stream.event).size());
    EXPECT_EQ(delivered, kFramesPerCamera) << "round " << round;

    for (const RigStream& stream : rig) {
      EXPECT_EQ(gentl.DSStopAcquisition(stream.stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
      EXPECT_EQ(gentl.DSFlushQueue(stream.stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
      for (const BUFFER_HANDLE buffer : stream.buffers) {
        EXPECT_EQ(gentl.DSRevokeBuffer(stream.stream, buffer, nullptr, nullptr), GC_ERR_SUCCESS);
      }
      EXPECT_EQ(gentl.GCUnregisterEvent(stream.stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
      EXPECT_EQ(gentl.DSClose(stream.stream), GC_ERR_SUCCESS);
    }
    EXPECT_EQ(gentl.GCUnregisterEvent(rig[0].remote, EVENT_REMOTE_DEVICE), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.DevClose(rig[0].device), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.IFClose(iface), GC_ERR_SUCCESS);
    EXPECT_EQ(gentl.TLClose(system), GC_ERR_SUCCESS);
  }
  EXPECT_EQ(log.report(), "");
}

}  // namespace
}  // namespace stress
