// Closing under running streams: while four streams grab and consumer threads take frames, read
// information and ports and requeue buffers, the main thread closes one level of the tree (the
// stream, its device, the interface, the system, or the whole library) and opens it again, over
// several rounds. Consumers keep calling with the handles they have, stale ones included.
//
// What would fail: a crash or a use after free when a call meets a module that another thread is
// closing or destroying, a close that hangs on an acquisition thread or a waiting consumer (the
// watchdog), a code no consumer could expect, or a tree that does not stream after reopening.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

#include "stress/StressRig.h"

namespace {

using namespace std::chrono_literals;
using stress::RigStream;
using stress::StressRig;

constexpr int kStreams = 4;
constexpr int kConsumersPerStream = 2;
constexpr int kRounds = 4;

enum class Teardown { DSClose, DevClose, IFClose, TLClose, GCCloseLib };

const char* nameOf(Teardown teardown) {
  switch (teardown) {
    case Teardown::DSClose: return "DSClose";
    case Teardown::DevClose: return "DevClose";
    case Teardown::IFClose: return "IFClose";
    case Teardown::TLClose: return "TLClose";
    case Teardown::GCCloseLib: return "GCCloseLib";
  }
  return "?";
}

class TeardownWhileGrabbing : public StressRig, public ::testing::WithParamInterface<Teardown> {
 protected:
  // The handles the consumers use, replaced when the main thread reopens.
  std::vector<RigStream> current() {
    std::lock_guard lock(rigMutex);
    return rigs;
  }

  void consume(int index, const std::atomic<bool>& done) {
    // What a call may answer while its module closes or after it has: a closed library refuses
    // everything, a destroyed module's handle is unknown, a closed device's stream is no longer
    // grabbing, and a wait either times out or is cut short.
    const std::initializer_list<GC_ERROR> closing = {GC_ERR_SUCCESS, GC_ERR_NOT_INITIALIZED, GC_ERR_INVALID_HANDLE};
    // After the library's close a stale handle may name a new module built at the same address:
    // a stream that does not know the stale buffer, or a module of another kind whose port has
    // no such register or refuses the read.
    const std::initializer_list<GC_ERROR> buffer = {GC_ERR_SUCCESS, GC_ERR_NOT_INITIALIZED, GC_ERR_INVALID_HANDLE,
                                                    GC_ERR_INVALID_BUFFER, GC_ERR_NOT_AVAILABLE};
    const std::initializer_list<GC_ERROR> stalePort = {
        GC_ERR_SUCCESS,       GC_ERR_NOT_INITIALIZED, GC_ERR_INVALID_HANDLE, GC_ERR_INVALID_ADDRESS,
        GC_ERR_ACCESS_DENIED, GC_ERR_NOT_AVAILABLE,   GC_ERR_NOT_IMPLEMENTED};
    const std::initializer_list<GC_ERROR>& port = GetParam() == Teardown::GCCloseLib ? stalePort : closing;
    for (std::uint64_t round = 0; !done; ++round) {
      const RigStream rig = current()[index];
      EVENT_NEW_BUFFER_DATA data{};
      size_t size = sizeof(data);
      const GC_ERROR got = gentl.EventGetData(rig.event, &data, &size, 5);
      ++calls;
      // The event of a destroyed stream is no longer registered.
      log.expectOneOf("EventGetData", got,
                      {GC_ERR_SUCCESS, GC_ERR_TIMEOUT, GC_ERR_ABORT, GC_ERR_NOT_INITIALIZED, GC_ERR_INVALID_PARAMETER});
      std::uint64_t value = 0;
      INFO_DATATYPE type = 0;
      size = sizeof(value);
      log.expectOneOf("DSGetInfo", gentl.DSGetInfo(rig.stream, STREAM_INFO_NUM_AWAIT_DELIVERY, &type, &value, &size),
                      closing);
      readModulePorts(rig, port);
      calls += 4;
      if (got != GC_ERR_SUCCESS) continue;
      ++frames;
      size = sizeof(value);
      log.expectOneOf("DSGetBufferInfo",
                      gentl.DSGetBufferInfo(rig.stream, data.BufferHandle, BUFFER_INFO_FRAMEID, &type, &value, &size),
                      buffer);
      readPort("GCReadPort buffer", data.BufferHandle, stress::kBufferIsQueuedRegister, port);
      log.expectOneOf("DSQueueBuffer", gentl.DSQueueBuffer(rig.stream, data.BufferHandle), buffer);
      calls += 3;
    }
  }

  // Closes the level under test while the consumers run.
  void tearDownOnce(Teardown teardown) {
    const std::vector<RigStream> open = current();
    switch (teardown) {
      case Teardown::DSClose:
        for (const RigStream& rig : open) EXPECT_EQ(gentl.DSClose(rig.stream), GC_ERR_SUCCESS);
        return;
      case Teardown::DevClose:
        EXPECT_EQ(gentl.DevClose(open[0].device), GC_ERR_SUCCESS);
        EXPECT_EQ(gentl.DevClose(open[2].device), GC_ERR_SUCCESS);
        return;
      case Teardown::IFClose: EXPECT_EQ(gentl.IFClose(iface), GC_ERR_SUCCESS); return;
      case Teardown::TLClose: EXPECT_EQ(gentl.TLClose(system), GC_ERR_SUCCESS); return;
      case Teardown::GCCloseLib: EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS); return;
    }
  }

  // Opens again what the close closed and starts every stream; streams and buffers that
  // survived keep their handles.
  void reopen(Teardown teardown) {
    std::vector<RigStream> next = current();
    switch (teardown) {
      case Teardown::DSClose: break;
      case Teardown::DevClose:
        for (const char* id : {"Cam0", "Cam1"}) {
          DEV_HANDLE device = nullptr;
          EXPECT_EQ(gentl.IFOpenDevice(iface, id, DEVICE_ACCESS_EXCLUSIVE, &device), GC_ERR_SUCCESS);
        }
        break;
      case Teardown::IFClose:
      case Teardown::TLClose:
        // The modules survive their close; reopening finds the same ones.
        if (teardown == Teardown::TLClose) {
          EXPECT_EQ(gentl.TLOpen(&system), GC_ERR_SUCCESS);
        }
        EXPECT_EQ(gentl.TLOpenInterface(system, "Rig", &iface), GC_ERR_SUCCESS);
        for (const char* id : {"Cam0", "Cam1"}) {
          DEV_HANDLE device = nullptr;
          EXPECT_EQ(gentl.IFOpenDevice(iface, id, DEVICE_ACCESS_EXCLUSIVE, &device), GC_ERR_SUCCESS);
        }
        break;
      case Teardown::GCCloseLib:
        // The consumers go on with their stale handles while the new tree is built, some of it
        // at their addresses.
        EXPECT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
        next = openRig(kStreams, 4);
        break;
    }
    for (const RigStream& rig : next) EXPECT_EQ(start(rig.stream), GC_ERR_SUCCESS) << producer.lastError().second;
    {
      std::lock_guard lock(rigMutex);
      rigs = next;
    }
  }

  std::mutex rigMutex;
  std::vector<RigStream> rigs;
  std::atomic<std::uint64_t> calls{0};
  std::atomic<std::uint64_t> frames{0};
};

TEST_P(TeardownWhileGrabbing, ConsumersGetCodesNotCrashesAndTheTreeStreamsAgain) {
  const Teardown teardown = GetParam();
  const stress::Watchdog watchdog(60s, std::string("closing with ") + nameOf(teardown));
  rigs = openRig(kStreams, 4);
  for (const RigStream& rig : rigs) ASSERT_EQ(start(rig.stream), GC_ERR_SUCCESS);

  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (int index = 0; index < kStreams; ++index) {
    for (int consumer = 0; consumer < kConsumersPerStream; ++consumer) {
      threads.emplace_back([&, index] { consume(index, done); });
    }
  }
  for (int round = 0; round < kRounds; ++round) {
    std::this_thread::sleep_for(60ms);
    tearDownOnce(teardown);
    // Consumers meet the closed tree for a while before it opens again.
    std::this_thread::sleep_for(30ms);
    reopen(teardown);
  }
  std::this_thread::sleep_for(60ms);
  done = true;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(log.report(), "");

  // Whatever the consumers were doing, every stream delivers again.
  for (const RigStream& rig : current()) {
    for (BUFFER_HANDLE buffer : rig.buffers) {
      const GC_ERROR queued = gentl.DSQueueBuffer(rig.stream, buffer);
      EXPECT_TRUE(queued == GC_ERR_SUCCESS || queued == GC_ERR_INVALID_BUFFER) << queued;
    }
    EXPECT_NE(nextBuffer(rig.event), nullptr);
  }
  std::printf("[stress] %s: %d rounds under %zu consumer threads, %llu calls, %llu frames\n", nameOf(teardown), kRounds,
              threads.size(), static_cast<unsigned long long>(calls.load()),
              static_cast<unsigned long long>(frames.load()));
}

INSTANTIATE_TEST_SUITE_P(Levels, TeardownWhileGrabbing,
                         ::testing::Values(Teardown::DSClose, Teardown::DevClose, Teardown::IFClose, Teardown::TLClose,
                                           Teardown::GCCloseLib),
                         [](const auto& info) { return std::string(nameOf(info.param)); });

}  // namespace
