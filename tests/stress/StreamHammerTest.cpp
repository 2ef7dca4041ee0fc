// Consumers that do everything at once on one stream and on four: taking and requeuing frames,
// two controllers per stream stopping, flushing (DSFlushQueue in every mode, EventFlush),
// restarting and killing waits, a thread that revokes buffers and announces new ones while
// frames flow and their ports are read, and one per device that changes the image size and pixel format under the
// running acquisition. Afterwards the stream's queues must still hold every queued buffer
// exactly once and the stream must stream again.
//
// What would fail: a crash or an overrun when a fill meets a buffer announced for another image
// size (the address sanitizer), a data race (the thread sanitizer), a deadlock between a flush, a
// stop and the acquisition thread (the watchdog), a buffer in both queues or in one twice, a
// buffer marked queued that no queue holds, a call that answers a code no consumer could expect.
//
// ACQ_QUEUE_UNQUEUED_TO_INPUT is left out: it deliberately leaves a buffer marked queued without
// queuing it (see the flush tests of the acquisition), which this audit would count as lost.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <set>
#include <thread>
#include <vector>

#include "stress/StressRig.h"

namespace {

using namespace std::chrono_literals;
using stress::RigStream;
using stress::StressRig;
namespace camera = testing_support::camera;

constexpr int kBuffersPerStream = 6;
constexpr int kConsumersPerStream = 3;
constexpr int kControllersPerStream = 2;
constexpr auto kRunTime = 1500ms;

constexpr std::uint32_t kMono8 = 0x01080001;
constexpr std::uint32_t kMono16 = 0x01100007;
constexpr std::uint32_t kRgb8 = 0x02180014;

struct Tally {
  std::atomic<std::uint64_t> frames{0};
  std::atomic<std::uint64_t> flushes{0};
  std::atomic<std::uint64_t> restarts{0};
  std::atomic<std::uint64_t> kills{0};
  std::atomic<std::uint64_t> revokes{0};
  std::atomic<std::uint64_t> settingChanges{0};
};

class StreamHammer : public StressRig, public ::testing::WithParamInterface<int> {
 protected:
  // The stream's announced buffers as DSGetBufferID lists them now; another thread may revoke
  // one meanwhile, so an index past the end is expected.
  std::vector<BUFFER_HANDLE> announced(DS_HANDLE stream) {
    std::vector<BUFFER_HANDLE> buffers;
    for (std::uint32_t index = 0;; ++index) {
      BUFFER_HANDLE buffer = nullptr;
      const GC_ERROR result = gentl.DSGetBufferID(stream, index, &buffer);
      log.expectOneOf("DSGetBufferID", result, {GC_ERR_SUCCESS, GC_ERR_INVALID_INDEX});
      if (result != GC_ERR_SUCCESS) return buffers;
      buffers.push_back(buffer);
    }
  }

  void consume(const RigStream& rig, const std::atomic<bool>& done) {
    for (std::uint64_t round = 0; !done; ++round) {
      EVENT_NEW_BUFFER_DATA data{};
      size_t size = sizeof(data);
      const GC_ERROR got = gentl.EventGetData(rig.event, &data, &size, round % 3);
      log.expectOneOf("EventGetData", got, {GC_ERR_SUCCESS, GC_ERR_TIMEOUT, GC_ERR_ABORT});
      if (got != GC_ERR_SUCCESS) continue;
      ++tally.frames;
      std::uint64_t frameId = 0;
      INFO_DATATYPE type = 0;
      size = sizeof(frameId);
      // Unfilled when a flush handed it over; gone when the churner revoked it.
      log.expectOneOf("DSGetBufferInfo",
                      gentl.DSGetBufferInfo(rig.stream, data.BufferHandle, BUFFER_INFO_FRAMEID, &type, &frameId, &size),
                      {GC_ERR_SUCCESS, GC_ERR_NOT_AVAILABLE, GC_ERR_INVALID_HANDLE});
      // Its port too, which the churner may be destroying meanwhile.
      readPort("GCReadPort buffer", data.BufferHandle, stress::kBufferIsQueuedRegister,
               {GC_ERR_SUCCESS, GC_ERR_INVALID_HANDLE});
      // A controller may have queued it again meanwhile, or the churner revoked it.
      log.expectOneOf("DSQueueBuffer", gentl.DSQueueBuffer(rig.stream, data.BufferHandle),
                      {GC_ERR_SUCCESS, GC_ERR_INVALID_BUFFER, GC_ERR_INVALID_HANDLE});
    }
  }

  void control(const RigStream& rig, int controller, const std::atomic<bool>& done) {
    static constexpr ACQ_QUEUE_TYPE kModes[] = {ACQ_QUEUE_OUTPUT_DISCARD, ACQ_QUEUE_ALL_TO_INPUT,
                                                ACQ_QUEUE_INPUT_TO_OUTPUT, ACQ_QUEUE_ALL_DISCARD};
    for (int round = controller; !done; ++round) {
      log.expectOneOf("DSStopAcquisition", gentl.DSStopAcquisition(rig.stream, ACQ_STOP_FLAGS_DEFAULT),
                      {GC_ERR_SUCCESS, GC_ERR_RESOURCE_IN_USE});
      const ACQ_QUEUE_TYPE mode = kModes[round % 4];
      if (mode == ACQ_QUEUE_OUTPUT_DISCARD && round % 8 == 0) {
        // The event's own flush discards the same queue.
        log.expectOneOf("EventFlush", gentl.EventFlush(rig.event), {GC_ERR_SUCCESS});
      } else {
        log.expectOneOf("DSFlushQueue", gentl.DSFlushQueue(rig.stream, mode), {GC_ERR_SUCCESS});
      }
      ++tally.flushes;
      if (mode == ACQ_QUEUE_OUTPUT_DISCARD || mode == ACQ_QUEUE_ALL_DISCARD) {
        // Discarded buffers come back only when queued again, as a consumer does after a discard.
        for (BUFFER_HANDLE buffer : announced(rig.stream)) {
          log.expectOneOf("DSQueueBuffer", gentl.DSQueueBuffer(rig.stream, buffer),
                          {GC_ERR_SUCCESS, GC_ERR_INVALID_BUFFER, GC_ERR_INVALID_HANDLE});
        }
      }
      log.expectOneOf("DSStartAcquisition", start(rig.stream), {GC_ERR_SUCCESS, GC_ERR_RESOURCE_IN_USE});
      ++tally.restarts;
      if (round % 3 == 0) {
        log.expectOneOf("EventKill", gentl.EventKill(rig.event), {GC_ERR_SUCCESS});
        ++tally.kills;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5 + 10 * (round % 3)));
    }
  }

  // Revokes a buffer, wherever it is, and announces a fresh one in its place.
  void churn(const RigStream& rig, const std::atomic<bool>& done) {
    for (std::uint32_t round = 0; !done; ++round) {
      std::this_thread::sleep_for(15ms);
      BUFFER_HANDLE victim = nullptr;
      if (gentl.DSGetBufferID(rig.stream, round % kBuffersPerStream, &victim) != GC_ERR_SUCCESS) {
        log.fail("the churner lost count of the stream's buffers");
        continue;
      }
      log.expectOneOf("DSRevokeBuffer", gentl.DSRevokeBuffer(rig.stream, victim, nullptr, nullptr), {GC_ERR_SUCCESS});
      BUFFER_HANDLE fresh = nullptr;
      log.expectOneOf("DSAllocAndAnnounceBuffer",
                      gentl.DSAllocAndAnnounceBuffer(rig.stream, payloadSize(rig.stream), nullptr, &fresh),
                      {GC_ERR_SUCCESS});
      ++tally.revokes;
      log.expectOneOf("DSQueueBuffer", gentl.DSQueueBuffer(rig.stream, fresh), {GC_ERR_SUCCESS, GC_ERR_INVALID_BUFFER});
    }
  }

  // Changes the selected stream's image under the running acquisition: buffers announced for one
  // size meet fills of another.
  void tune(const RigStream& rig, const std::atomic<bool>& done) {
    static constexpr std::uint32_t kWidths[] = {16, 64, 128, 40};
    static constexpr std::uint32_t kHeights[] = {8, 32, 64};
    static constexpr std::uint32_t kFormats[] = {kMono8, kMono16, kRgb8, kMono8, kMono16};
    for (std::uint32_t round = 0; !done; ++round) {
      log.expectOneOf("GCWritePort SourceSelector", writeRegister(rig.remote, camera::kSourceSelector, round % 2),
                      {GC_ERR_SUCCESS});
      log.expectOneOf("GCWritePort Width", writeRegister(rig.remote, camera::kWidth, kWidths[round % 4]),
                      {GC_ERR_SUCCESS});
      log.expectOneOf("GCWritePort Height", writeRegister(rig.remote, camera::kHeight, kHeights[round % 3]),
                      {GC_ERR_SUCCESS});
      log.expectOneOf("GCWritePort PixelFormat", writeRegister(rig.remote, camera::kPixelFormat, kFormats[round % 5]),
                      {GC_ERR_SUCCESS});
      tally.settingChanges += 3;
      std::this_thread::sleep_for(2ms);
    }
  }

  // After the run, with every thread joined: the buffers in the two queues are distinct, are the
  // ones marked queued, and every announced buffer streams once more.
  void audit(const RigStream& rig) {
    const GC_ERROR stopped = gentl.DSStopAcquisition(rig.stream, ACQ_STOP_FLAGS_DEFAULT);
    EXPECT_TRUE(stopped == GC_ERR_SUCCESS || stopped == GC_ERR_RESOURCE_IN_USE) << stopped;
    const auto buffers = announced(rig.stream);
    EXPECT_EQ(buffers.size(), static_cast<std::size_t>(kBuffersPerStream));
    const auto queued = counter(rig.stream, STREAM_INFO_NUM_QUEUED);
    const auto awaiting = counter(rig.stream, STREAM_INFO_NUM_AWAIT_DELIVERY);
    std::set<BUFFER_HANDLE> marked;
    for (BUFFER_HANDLE buffer : buffers) {
      if (isQueued(rig.stream, buffer)) marked.insert(buffer);
    }

    auto inQueues = drain(rig.event);
    EXPECT_EQ(inQueues.size(), awaiting);
    ASSERT_EQ(gentl.DSFlushQueue(rig.stream, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
    const auto fromInput = drain(rig.event);
    EXPECT_EQ(fromInput.size(), queued);
    inQueues.insert(inQueues.end(), fromInput.begin(), fromInput.end());
    // A revoked buffer may still sit in a queue; the announced ones are audited.
    std::vector<BUFFER_HANDLE> announcedInQueues;
    std::copy_if(inQueues.begin(), inQueues.end(), std::back_inserter(announcedInQueues), [&](BUFFER_HANDLE buffer) {
      return std::find(buffers.begin(), buffers.end(), buffer) != buffers.end();
    });
    const std::set<BUFFER_HANDLE> distinct(announcedInQueues.begin(), announcedInQueues.end());
    EXPECT_EQ(distinct.size(), announcedInQueues.size()) << "a buffer sat in the queues twice";
    EXPECT_EQ(distinct, marked) << "the buffers marked queued are not the ones the queues hold";
    for (BUFFER_HANDLE buffer : buffers) EXPECT_FALSE(isQueued(rig.stream, buffer));

    // Nothing stuck: each buffer can be queued and comes back exactly once.
    for (BUFFER_HANDLE buffer : buffers) ASSERT_EQ(gentl.DSQueueBuffer(rig.stream, buffer), GC_ERR_SUCCESS);
    ASSERT_EQ(start(rig.stream, buffers.size()), GC_ERR_SUCCESS);
    std::multiset<BUFFER_HANDLE> delivered;
    for (std::size_t n = 0; n < buffers.size(); ++n) delivered.insert(nextBuffer(rig.event));
    EXPECT_EQ(delivered, std::multiset<BUFFER_HANDLE>(buffers.begin(), buffers.end()));
    EXPECT_EQ(gentl.DSStopAcquisition(rig.stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  }

  Tally tally;
};

class StreamHammerRace : public StressRig {
 protected:
  static constexpr int kRaceRounds = 300;
};

TEST_P(StreamHammer, QueuesStayConsistentUnderFlushesRevokesAndSettingChanges) {
  const stress::Watchdog watchdog(60s, "the stream hammer");
  const std::vector<RigStream> rigs = openRig(GetParam(), kBuffersPerStream);
  for (const RigStream& rig : rigs) ASSERT_EQ(start(rig.stream), GC_ERR_SUCCESS);

  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (std::size_t s = 0; s < rigs.size(); ++s) {
    const RigStream& rig = rigs[s];
    for (int consumer = 0; consumer < kConsumersPerStream; ++consumer) {
      threads.emplace_back([&] { consume(rig, done); });
    }
    for (int controller = 0; controller < kControllersPerStream; ++controller) {
      threads.emplace_back([&, controller] { control(rig, controller, done); });
    }
    threads.emplace_back([&] { churn(rig, done); });
    if (s % 2 == 0) threads.emplace_back([&] { tune(rig, done); });
  }
  std::this_thread::sleep_for(kRunTime);
  done = true;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(log.report(), "");

  for (std::size_t s = 0; s < rigs.size(); ++s) {
    SCOPED_TRACE("stream " + std::to_string(s));
    audit(rigs[s]);
  }
  std::printf(
      "[stress] %zu streams, %zu threads, %llu frames taken, %llu flushes, %llu restarts, %llu kills, %llu revokes, "
      "%llu setting writes\n",
      rigs.size(), threads.size(), static_cast<unsigned long long>(tally.frames.load()),
      static_cast<unsigned long long>(tally.flushes.load()), static_cast<unsigned long long>(tally.restarts.load()),
      static_cast<unsigned long long>(tally.kills.load()), static_cast<unsigned long long>(tally.revokes.load()),
      static_cast<unsigned long long>(tally.settingChanges.load()));
  EXPECT_GT(tally.frames.load(), 0u);
}

// The narrow case behind the audit above, repeated until the windows meet: a consumer hands its
// buffers back while the controller discards everything. Each buffer must end either discarded
// (not queued) or queued once, never in the input queue without its queued mark, from where the
// next requeue would put it in a second time.
TEST_F(StreamHammerRace, RequeueDuringDiscardLeavesEachBufferQueuedOnceOrNotAtAll) {
  const stress::Watchdog watchdog(60s, "requeues racing discards");
  const RigStream rig = openRig(1, kBuffersPerStream).front();
  int duplicates = 0, unmarked = 0;
  for (int round = 0; round < kRaceRounds; ++round) {
    ASSERT_EQ(gentl.DSFlushQueue(rig.stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    std::thread requeue([&] {
      for (BUFFER_HANDLE buffer : rig.buffers) {
        log.expectOneOf("DSQueueBuffer", gentl.DSQueueBuffer(rig.stream, buffer), {GC_ERR_SUCCESS});
      }
    });
    log.expectOneOf("DSFlushQueue", gentl.DSFlushQueue(rig.stream, ACQ_QUEUE_ALL_DISCARD), {GC_ERR_SUCCESS});
    requeue.join();
    std::size_t marked = 0;
    for (BUFFER_HANDLE buffer : rig.buffers) marked += isQueued(rig.stream, buffer) ? 1 : 0;
    const auto queued = counter(rig.stream, STREAM_INFO_NUM_QUEUED);
    if (queued != marked) ++unmarked;
    // Requeue whatever is not marked, as a consumer would, and count what the queue then holds.
    for (BUFFER_HANDLE buffer : rig.buffers) {
      const GC_ERROR result = gentl.DSQueueBuffer(rig.stream, buffer);
      log.expectOneOf("DSQueueBuffer", result, {GC_ERR_SUCCESS, GC_ERR_INVALID_BUFFER});
    }
    if (counter(rig.stream, STREAM_INFO_NUM_QUEUED) != rig.buffers.size()) ++duplicates;
  }
  EXPECT_EQ(log.report(), "");
  EXPECT_EQ(unmarked, 0) << "rounds that left a buffer in the input queue without its queued mark";
  EXPECT_EQ(duplicates, 0) << "rounds that ended with a buffer queued twice";
}

INSTANTIATE_TEST_SUITE_P(Streams, StreamHammer, ::testing::Values(1, 4),
                         [](const auto& info) { return info.param == 1 ? "OneStream" : "FourStreams"; });

}  // namespace
