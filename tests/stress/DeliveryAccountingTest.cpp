// Every frame the producer hands out is accounted for, while consumer threads wait with short
// timeouts, other threads kill their waits, the acquisition is stopped and restarted and the
// stream's counters and registers are read, on one stream and on four at once.
//
// What would fail: a buffer delivered to a second consumer while the first still holds it (a
// queue entry duplicated), a buffer that never comes back (an entry lost between the queues or
// left behind by a timed-out wait), a kill that aborts no wait or two, a counter that misses a
// delivery, a deadlock (the watchdog), a data race or a leak (the sanitizers).
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <thread>
#include <vector>

#include "stress/StressRig.h"

namespace {

using namespace std::chrono_literals;
using stress::RigStream;
using stress::StressRig;

constexpr int kBuffersPerStream = 6;
constexpr int kConsumersPerStream = 3;
constexpr auto kRunTime = 1500ms;
// The ledger's mark of a buffer that the producer has: queued, being filled or awaiting delivery.
constexpr int kWithProducer = -1;
// The mark of a buffer taken from the event after the run.
constexpr int kDrained = -2;

// Who holds each buffer of one stream, as the consumers see it: the producer, or the consumer
// thread that took it from the event and has not queued it again.
struct Ledger {
  explicit Ledger(const RigStream& rig) : buffers(rig.buffers), holder(rig.buffers.size()) {
    for (auto& entry : holder) entry = kWithProducer;
  }
  int indexOf(BUFFER_HANDLE buffer) const {
    for (std::size_t n = 0; n < buffers.size(); ++n) {
      if (buffers[n] == buffer) return static_cast<int>(n);
    }
    return -1;
  }
  int withProducer() const {
    int count = 0;
    for (const auto& entry : holder) count += entry == kWithProducer ? 1 : 0;
    return count;
  }

  std::vector<BUFFER_HANDLE> buffers;
  std::vector<std::atomic<int>> holder;
  std::atomic<std::uint64_t> kills{0};
  std::atomic<std::uint64_t> aborts{0};
  std::atomic<std::uint64_t> taken{0};
  std::atomic<std::uint64_t> timeouts{0};
  std::atomic<std::uint64_t> restarts{0};
  std::atomic<int> heldAtEnd{0};
};

class DeliveryAccounting : public StressRig, public ::testing::WithParamInterface<int> {
 protected:
  // Takes frames until told to stop, always keeping the last one until the next arrives, so that
  // some buffers are held by consumers at every moment, the end included.
  void consume(const RigStream& rig, Ledger& ledger, int consumer, const std::atomic<bool>& done) {
    static constexpr std::uint64_t kTimeouts[] = {0, 1, 2, 5};
    int held = -1;
    for (std::uint64_t round = 0; !done; ++round) {
      EVENT_NEW_BUFFER_DATA data{};
      size_t size = sizeof(data);
      const GC_ERROR got = gentl.EventGetData(rig.event, &data, &size, kTimeouts[round % 4]);
      log.expectOneOf("EventGetData", got, {GC_ERR_SUCCESS, GC_ERR_TIMEOUT, GC_ERR_ABORT});
      if (got == GC_ERR_ABORT) ++ledger.aborts;
      if (got == GC_ERR_TIMEOUT) ++ledger.timeouts;
      if (got != GC_ERR_SUCCESS) continue;
      ++ledger.taken;
      const int index = ledger.indexOf(data.BufferHandle);
      if (index < 0) {
        log.fail("EventGetData delivered a handle the stream never announced");
        continue;
      }
      int expected = kWithProducer;
      if (!ledger.holder[index].compare_exchange_strong(expected, consumer)) {
        log.fail("buffer " + std::to_string(index) + " delivered while consumer " + std::to_string(expected) +
                 " holds it");
        continue;
      }
      if (data.pUserPointer != &ledger.holder[index]) log.fail("delivered with another buffer's private pointer");
      bool8_t queued = 1;
      INFO_DATATYPE type = 0;
      size = sizeof(queued);
      log.expectOneOf(
          "DSGetBufferInfo",
          gentl.DSGetBufferInfo(rig.stream, data.BufferHandle, BUFFER_INFO_IS_QUEUED, &type, &queued, &size),
          {GC_ERR_SUCCESS});
      if (queued != 0) log.fail("a delivered buffer still reports itself queued");
      if (held >= 0) {
        // Handed back before the call: the acquisition thread may deliver it again at once.
        ledger.holder[held] = kWithProducer;
        log.expectOneOf("DSQueueBuffer", gentl.DSQueueBuffer(rig.stream, ledger.buffers[held]), {GC_ERR_SUCCESS});
      }
      held = index;
    }
    if (held >= 0) ++ledger.heldAtEnd;
  }

  // Kills waits at random moments, racing with deliveries and timeouts.
  void kill(const RigStream& rig, Ledger& ledger, const std::atomic<bool>& done) {
    for (std::uint64_t round = 0; !done; ++round) {
      log.expectOneOf("EventKill", gentl.EventKill(rig.event), {GC_ERR_SUCCESS});
      ++ledger.kills;
      std::this_thread::sleep_for(std::chrono::microseconds(500 + 1500 * (round % 3)));
    }
  }

  // Stops and restarts the acquisition; stopping leaves both queues as they are.
  void restart(const RigStream& rig, Ledger& ledger, const std::atomic<bool>& done) {
    while (!done) {
      std::this_thread::sleep_for(20ms);
      log.expectOneOf("DSStopAcquisition", gentl.DSStopAcquisition(rig.stream, ACQ_STOP_FLAGS_DEFAULT),
                      {GC_ERR_SUCCESS});
      std::this_thread::sleep_for(3ms);
      log.expectOneOf("DSStartAcquisition", start(rig.stream), {GC_ERR_SUCCESS});
      ++ledger.restarts;
    }
  }

  // Reads what monitoring tools read while frames flow.
  void inspect(const std::vector<RigStream>& rigs, const std::atomic<bool>& done) {
    while (!done) {
      for (const RigStream& rig : rigs) {
        for (STREAM_INFO_CMD command :
             {STREAM_INFO_NUM_DELIVERED, STREAM_INFO_NUM_QUEUED, STREAM_INFO_NUM_AWAIT_DELIVERY,
              STREAM_INFO_NUM_STARTED, STREAM_INFO_IS_GRABBING, STREAM_INFO_NUM_ANNOUNCED}) {
          GC_ERROR result = GC_ERR_SUCCESS;
          counter(rig.stream, command, &result);
          log.expectOneOf("DSGetInfo", result, {GC_ERR_SUCCESS});
        }
        readModulePorts(rig, {GC_ERR_SUCCESS});
        for (BUFFER_HANDLE buffer : rig.buffers) {
          readPort("GCReadPort buffer", buffer, stress::kBufferIsQueuedRegister, {GC_ERR_SUCCESS});
          std::uint64_t timestamp = 0;
          INFO_DATATYPE type = 0;
          size_t size = sizeof(timestamp);
          log.expectOneOf("DSGetBufferInfo",
                          gentl.DSGetBufferInfo(rig.stream, buffer, BUFFER_INFO_TIMESTAMP, &type, &timestamp, &size),
                          {GC_ERR_SUCCESS});
        }
        std::uint64_t inQueue = 0;
        INFO_DATATYPE type = 0;
        size_t size = sizeof(inQueue);
        log.expectOneOf("EventGetInfo", gentl.EventGetInfo(rig.event, EVENT_NUM_IN_QUEUE, &type, &inQueue, &size),
                        {GC_ERR_SUCCESS});
      }
    }
  }

  // Buffers announced with the address of their ledger entry as private pointer, so that the
  // event data's second half can be checked too.
  void reannounceWithPrivatePointers(RigStream& rig, Ledger& ledger) {
    ASSERT_EQ(gentl.DSFlushQueue(rig.stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    for (std::size_t n = 0; n < rig.buffers.size(); ++n) {
      ASSERT_EQ(gentl.DSRevokeBuffer(rig.stream, rig.buffers[n], nullptr, nullptr), GC_ERR_SUCCESS);
      ASSERT_EQ(gentl.DSAllocAndAnnounceBuffer(rig.stream, payloadSize(rig.stream), &ledger.holder[n], &rig.buffers[n]),
                GC_ERR_SUCCESS);
    }
    ledger.buffers = rig.buffers;
    for (BUFFER_HANDLE buffer : rig.buffers) ASSERT_EQ(gentl.DSQueueBuffer(rig.stream, buffer), GC_ERR_SUCCESS);
  }
};

TEST_P(DeliveryAccounting, EveryBufferIsQueuedAwaitingOrHeldExactlyOnceAndEveryKillAbortsOneWait) {
  const stress::Watchdog watchdog(60s, "the delivery accounting run");
  std::vector<RigStream> rigs = openRig(GetParam(), kBuffersPerStream);
  std::vector<std::unique_ptr<Ledger>> ledgers;
  for (RigStream& rig : rigs) {
    ledgers.push_back(std::make_unique<Ledger>(rig));
    reannounceWithPrivatePointers(rig, *ledgers.back());
    ASSERT_EQ(start(rig.stream), GC_ERR_SUCCESS);
  }

  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (std::size_t s = 0; s < rigs.size(); ++s) {
    for (int consumer = 0; consumer < kConsumersPerStream; ++consumer) {
      threads.emplace_back([&, s, consumer] { consume(rigs[s], *ledgers[s], consumer, done); });
    }
    threads.emplace_back([&, s] { kill(rigs[s], *ledgers[s], done); });
    threads.emplace_back([&, s] { restart(rigs[s], *ledgers[s], done); });
  }
  threads.emplace_back([&] { inspect(rigs, done); });
  std::this_thread::sleep_for(kRunTime);
  done = true;
  for (auto& thread : threads) thread.join();
  ASSERT_EQ(log.report(), "");

  std::uint64_t frames = 0, kills = 0, timeouts = 0, restarts = 0;
  for (std::size_t s = 0; s < rigs.size(); ++s) {
    const RigStream& rig = rigs[s];
    Ledger& ledger = *ledgers[s];
    SCOPED_TRACE("stream " + std::to_string(s));
    ASSERT_EQ(gentl.DSStopAcquisition(rig.stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
    const auto announced = counter(rig.stream, STREAM_INFO_NUM_ANNOUNCED);
    const auto queued = counter(rig.stream, STREAM_INFO_NUM_QUEUED);
    const auto awaiting = counter(rig.stream, STREAM_INFO_NUM_AWAIT_DELIVERY);
    const auto started = counter(rig.stream, STREAM_INFO_NUM_STARTED);
    EXPECT_EQ(announced, static_cast<std::uint64_t>(kBuffersPerStream));
    EXPECT_EQ(queued + awaiting + ledger.heldAtEnd, announced) << "a buffer lost or counted twice";
    EXPECT_EQ(static_cast<std::uint64_t>(ledger.withProducer()), queued + awaiting);
    for (std::size_t n = 0; n < rig.buffers.size(); ++n) {
      EXPECT_EQ(isQueued(rig.stream, rig.buffers[n]), ledger.holder[n] == kWithProducer) << "buffer " << n;
    }

    std::uint64_t aborts = 0;
    const auto waiting = drain(rig.event, &aborts);
    EXPECT_EQ(waiting.size(), awaiting);
    for (BUFFER_HANDLE buffer : waiting) {
      const int index = ledger.indexOf(buffer);
      ASSERT_GE(index, 0);
      EXPECT_EQ(ledger.holder[index].exchange(kDrained), kWithProducer) << "drained a held buffer";
    }
    EXPECT_EQ(ledger.aborts + aborts, ledger.kills) << "a kill aborted no wait, or two";
    EXPECT_EQ(started, ledger.taken + waiting.size()) << "a filled buffer went missing on its way to the consumer";
    EXPECT_EQ(counter(rig.stream, STREAM_INFO_NUM_DELIVERED), ledger.taken + waiting.size());
    frames += started;
    kills += ledger.kills;
    timeouts += ledger.timeouts;
    restarts += ledger.restarts;
  }
  std::printf("[stress] %zu streams, %zu threads, %llu frames, %llu kills, %llu timeouts, %llu restarts\n", rigs.size(),
              threads.size(), static_cast<unsigned long long>(frames), static_cast<unsigned long long>(kills),
              static_cast<unsigned long long>(timeouts), static_cast<unsigned long long>(restarts));
  EXPECT_GT(frames, 0u);
}

INSTANTIATE_TEST_SUITE_P(Streams, DeliveryAccounting, ::testing::Values(1, 4),
                         [](const auto& info) { return info.param == 1 ? "OneStream" : "FourStreams"; });

}  // namespace
