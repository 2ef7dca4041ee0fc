#pragma once

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "support/CallLog.h"
#include "support/CameraRegisters.h"
#include "support/StreamSession.h"

namespace stress {

// Sanitized builds run slower by an order of magnitude; cycle counts shrink there, durations do not.
#if defined(LMMOCKTL_STRESS_SANITIZED)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

// Ends the process when the scope has not finished within its limit, so that a deadlock fails
// the test with a message instead of hanging the suite until CI kills it.
class Watchdog {
 public:
  Watchdog(std::chrono::seconds limit, std::string what)
      : what_(std::move(what)), thread_([this, limit] {
          std::unique_lock lock(mutex_);
          if (!finished_.wait_for(lock, limit, [this] { return done_; })) {
            std::fprintf(stderr, "Watchdog: %s did not finish within %lld s: deadlock or lost wake-up\n", what_.c_str(),
                         static_cast<long long>(limit.count()));
            std::fflush(stderr);
            std::abort();
          }
        }) {}
  ~Watchdog() {
    {
      std::lock_guard lock(mutex_);
      done_ = true;
    }
    finished_.notify_all();
    thread_.join();
  }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  std::string what_;
  std::mutex mutex_;
  std::condition_variable finished_;
  bool done_ = false;
  std::thread thread_;
};

// Two devices with two small streams each: fills cost little even under the sanitizers, so the
// threads spend their time in the producer's queues and locks.
inline constexpr const char* kRigConfiguration = R"({
  "Interfaces": [{"ID": "Rig", "Devices": [
    {"ID": "Cam0", "Streams": [{"ID": "A", "PixelFormat": "Mono8", "Width": 64, "Height": 32},
                               {"ID": "B", "PixelFormat": "Mono16", "Width": 48, "Height": 16}]},
    {"ID": "Cam1", "Streams": [{"ID": "A", "PixelFormat": "RGB8", "Width": 32, "Height": 16},
                               {"ID": "B", "PixelFormat": "Mono8", "Width": 64, "Height": 32}]}]}]})";

// Registers the threads read: Stat_NumBuffersQueued, DeviceStreamChannelCount, BufferIsQueued.
inline constexpr std::uint64_t kStreamQueuedRegister = 0x8;
inline constexpr std::uint64_t kDeviceStreamCountRegister = 0x500;
inline constexpr std::uint64_t kBufferIsQueuedRegister = 0x18;

// One grabbing stream as a consumer keeps it.
struct RigStream {
  DEV_HANDLE device = nullptr;
  PORT_HANDLE remote = nullptr;
  DS_HANDLE stream = nullptr;
  EVENT_HANDLE event = nullptr;
  std::vector<BUFFER_HANDLE> buffers;
};

// A consumer of the two-device rig: opens up to four streams, with a frame period short enough
// for hundreds of deliveries a second.
class StressRig : public testing_support::StreamSession {
 protected:
  static constexpr std::uint32_t kFramePeriodNs = 1'000'000;

  // The first `count` streams (Cam0/A, Cam0/B, Cam1/A, Cam1/B), each with `buffers` buffers
  // queued and its new-buffer event registered. Does not start them.
  std::vector<RigStream> openRig(int count, int buffers) {
    system = openSystem();
    EXPECT_EQ(gentl.TLUpdateInterfaceList(system, nullptr, 0), GC_ERR_SUCCESS);
    iface = openInterface(system, "Rig");
    EXPECT_EQ(gentl.IFUpdateDeviceList(iface, nullptr, 0), GC_ERR_SUCCESS);
    std::array<DEV_HANDLE, 2> devices{};
    std::vector<RigStream> rig(count);
    for (int n = 0; n < count; ++n) {
      RigStream& entry = rig[n];
      DEV_HANDLE& device = devices[n / 2];
      if (device == nullptr) {
        device = openDevice(iface, n < 2 ? "Cam0" : "Cam1");
        PORT_HANDLE remote = nullptr;
        EXPECT_EQ(gentl.DevGetPort(device, &remote), GC_ERR_SUCCESS);
        writeRegister(remote, testing_support::camera::kSleepBetweenFrames, kFramePeriodNs);
      }
      entry.device = device;
      EXPECT_EQ(gentl.DevGetPort(device, &entry.remote), GC_ERR_SUCCESS);
      entry.stream = openStream(device, n % 2 == 0 ? "A" : "B");
      entry.buffers = allocateBuffers(entry.stream, buffers);
      entry.event = registerNewBuffer(entry.stream);
    }
    this->device = devices[0];
    return rig;
  }

  GC_ERROR writeRegister(PORT_HANDLE port, std::uint64_t address, std::uint32_t value) {
    size_t size = sizeof(value);
    return gentl.GCWritePort(port, address, &value, &size);
  }

  // Reads a 32-bit register of `port` as monitoring tools do, expecting one of `allowed`.
  void readPort(const char* call, void* port, std::uint64_t address, std::initializer_list<GC_ERROR> allowed) {
    std::uint32_t value = 0;
    size_t size = sizeof(value);
    log.expectOneOf(call, gentl.GCReadPort(port, address, &value, &size), allowed);
  }
  // A register of each of the stream's, its device's and its camera's ports.
  void readModulePorts(const RigStream& rig, std::initializer_list<GC_ERROR> allowed) {
    readPort("GCReadPort stream", rig.stream, kStreamQueuedRegister, allowed);
    readPort("GCReadPort device", rig.device, kDeviceStreamCountRegister, allowed);
    readPort("GCReadPort remote device", rig.remote, testing_support::camera::kSleepBetweenFrames, allowed);
  }

  GC_ERROR start(DS_HANDLE stream, std::uint64_t frames = GENTL_INFINITE) {
    return gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, frames);
  }

  // A numeric stream counter, or the failing call's code in `result`.
  std::uint64_t counter(DS_HANDLE stream, STREAM_INFO_CMD command, GC_ERROR* result = nullptr) {
    std::uint64_t value = 0;
    INFO_DATATYPE type = 0;
    size_t size = sizeof(value);
    const GC_ERROR code = gentl.DSGetInfo(stream, command, &type, &value, &size);
    if (result != nullptr) *result = code;
    return value;
  }

  bool isQueued(DS_HANDLE stream, BUFFER_HANDLE buffer) {
    return bufferInfo<bool8_t>(stream, buffer, BUFFER_INFO_IS_QUEUED) != 0;
  }

  // Takes every item the event holds, without waiting: the buffers in delivery order; the kills
  // still pending are consumed on the way and counted in `aborts`.
  std::vector<BUFFER_HANDLE> drain(EVENT_HANDLE event, std::uint64_t* aborts = nullptr) {
    std::vector<BUFFER_HANDLE> taken;
    for (;;) {
      EVENT_NEW_BUFFER_DATA data{};
      size_t size = sizeof(data);
      const GC_ERROR result = gentl.EventGetData(event, &data, &size, 0);
      if (result == GC_ERR_SUCCESS) {
        taken.push_back(data.BufferHandle);
      } else if (result == GC_ERR_ABORT) {
        if (aborts != nullptr) ++*aborts;
      } else {
        EXPECT_EQ(result, GC_ERR_TIMEOUT) << producer.lastError().second;
        return taken;
      }
    }
  }

  testing_support::TemporaryDirectory directory;
  testing_support::ScopedVariable config{"LMMOCKTL_CONFIG", directory.write("rig.json", kRigConfiguration).string()};
  testing_support::CallLog log;
};

}  // namespace stress
