// A consumer that runs the whole cycle again and again in one process, as a test bench that
// opens the camera for every test case does: library, system, interface, device and stream open,
// buffers announced, acquisition started, a frame taken, everything stopped and closed. Every
// fourth cycle leaves the stream grabbing with its buffers announced and only closes the library.
//
// What would fail: memory that grows with the cycles (checked on the process's resident size and
// the heap in use, after a warm-up; under AddressSanitizer its leak checker does the job at exit
// instead, since its quarantine keeps freed memory resident), an acquisition thread or a module
// that outlives its close, a cycle that no longer delivers a frame.
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <vector>

#include "stress/StressRig.h"

namespace {

using namespace std::chrono_literals;
using stress::StressRig;

// 1000 cycles take a few seconds in a plain build; the sanitized builds run 200.
constexpr int kCycles = stress::kSanitized ? 200 : 1000;
constexpr int kWarmUpCycles = stress::kSanitized ? 20 : 100;

struct MemoryUse {
  std::int64_t residentBytes = 0;
  std::int64_t heapBytes = 0;
};

MemoryUse memoryUse() {
  MemoryUse use;
  std::ifstream statm("/proc/self/statm");
  std::int64_t size = 0, resident = 0;
  statm >> size >> resident;
  use.residentBytes = resident * ::sysconf(_SC_PAGESIZE);
  const struct mallinfo2 heap = ::mallinfo2();
  use.heapBytes = static_cast<std::int64_t>(heap.uordblks + heap.hblkhd);
  return use;
}

class OpenCloseCycles : public StressRig {
 protected:
  void cycle(int number) {
    const DS_HANDLE stream = openDeviceStream("A", "Rig", "Cam0");
    ASSERT_NE(stream, nullptr) << producer.lastError().second;

    const size_t payload = payloadSize(stream);
    // Odd cycles bring their own memory, even ones let the producer allocate it.
    std::vector<std::vector<std::uint8_t>> memory(3, std::vector<std::uint8_t>(payload));
    std::vector<BUFFER_HANDLE> buffers(3);
    for (std::size_t n = 0; n < buffers.size(); ++n) {
      const GC_ERROR announced = number % 2 == 1
                                     ? gentl.DSAnnounceBuffer(stream, memory[n].data(), payload, nullptr, &buffers[n])
                                     : gentl.DSAllocAndAnnounceBuffer(stream, payload, nullptr, &buffers[n]);
      ASSERT_EQ(announced, GC_ERR_SUCCESS);
      ASSERT_EQ(gentl.DSQueueBuffer(stream, buffers[n]), GC_ERR_SUCCESS);
    }
    EVENT_HANDLE event = nullptr;
    ASSERT_EQ(gentl.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
    ASSERT_EQ(start(stream), GC_ERR_SUCCESS);
    ASSERT_NE(nextBuffer(event), nullptr);

    if (number % 4 != 3) {
      ASSERT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
      ASSERT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
      for (BUFFER_HANDLE buffer : buffers) {
        ASSERT_EQ(gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr), GC_ERR_SUCCESS);
      }
      ASSERT_EQ(gentl.GCUnregisterEvent(stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
      ASSERT_EQ(gentl.DSClose(stream), GC_ERR_SUCCESS);
      ASSERT_EQ(gentl.DevClose(device), GC_ERR_SUCCESS);
      ASSERT_EQ(gentl.IFClose(iface), GC_ERR_SUCCESS);
      ASSERT_EQ(gentl.TLClose(system), GC_ERR_SUCCESS);
    }
    // The modules are opened once per tree: the next cycle needs a new one. The library stops
    // whatever still grabs; the consumer's memory must outlive the acquisition.
    ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
    ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
  }
};

TEST_F(OpenCloseCycles, MemoryStaysFlatOverManyFullCycles) {
  const stress::Watchdog watchdog(100s, "the open/close cycles");
  const auto began = std::chrono::steady_clock::now();
  for (int number = 0; number < kWarmUpCycles; ++number) {
    ASSERT_NO_FATAL_FAILURE(cycle(number)) << "cycle " << number;
  }
  const MemoryUse before = memoryUse();
  for (int number = kWarmUpCycles; number < kCycles; ++number) {
    ASSERT_NO_FATAL_FAILURE(cycle(number)) << "cycle " << number;
  }
  const MemoryUse after = memoryUse();
  const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
  const auto measured = kCycles - kWarmUpCycles;
  std::printf("[stress] %d cycles in %.1f s; over the last %d: resident %+lld bytes, heap in use %+lld bytes\n",
              kCycles, seconds, measured, static_cast<long long>(after.residentBytes - before.residentBytes),
              static_cast<long long>(after.heapBytes - before.heapBytes));
  if (stress::kSanitized) {
    // The figures are the sanitizer's own bookkeeping here; the leak checker judges at exit.
    return;
  }
  // A leak of one small block per cycle (a 64-byte registry entry) would exceed the heap bound.
  EXPECT_LT(after.heapBytes - before.heapBytes, 32 * 1024) << "heap grows with the cycles";
  EXPECT_LT(after.residentBytes - before.residentBytes, 512 * 1024) << "resident memory grows with the cycles";
}

}  // namespace
