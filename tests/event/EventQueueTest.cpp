// Waiting, killing, flushing and counting, as every event kind shares them.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <future>
#include <thread>
#include <vector>

#include "event/ErrorEvent.h"
#include "event/NewBufferEvent.h"
#include "support/CountingBuffer.h"
#include "support/ExpectGenTLError.h"

namespace lumo::mockTL {
namespace {

using namespace std::chrono_literals;
using testing_support::CountingBuffer;

std::shared_ptr<ErrorEvent> registeredErrorEvent() {
  auto event = Event::create<ErrorEvent>();
  event->Register();
  return event;
}

// Takes one item; its code, or the failure's code.
GC_ERROR takeCode(Event& event, std::uint64_t timeout) {
  char data[ErrorEvent::kMaxDataBytes];
  std::size_t size = sizeof(data);
  try {
    event.GetData(data, size, timeout);
  } catch (const error::GenericException& failure) {
    return failure.code();
  }
  GC_ERROR code = 0;
  std::memcpy(&code, data, sizeof(code));
  return code;
}

std::uint64_t infoNumber(Event& event, EVENT_INFO_CMD command) {
  INFO_DATATYPE type = 0;
  std::uint64_t value = 0;
  std::size_t size = sizeof(value);
  event.GetInfo(command, type, &value, size);
  return value;
}

TEST(EventWait, AnEmptyQueueTimesOutAtOnceOrWhenTheTimeoutHasPassed) {
  auto event = registeredErrorEvent();
  char data[16];
  std::size_t size = sizeof(data);
  EXPECT_GENTL_ERROR(event->GetData(data, size, 0), GC_ERR_TIMEOUT,
                     "Timeout occured when waiting for event data:"
                     "lumo::mockTL::EventWorker<lumo::mockTL::ErrorEventData>::GetData");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(takeCode(*event, 40), GC_ERR_TIMEOUT);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 40ms);
}

TEST(EventKill, EachPendingKillAbortsOneWaitEvenWithItemsQueued) {
  auto event = registeredErrorEvent();
  event->Kill();
  event->Kill();
  event->Push({-7, "queued"});
  char data[16];
  std::size_t size = sizeof(data);
  EXPECT_GENTL_ERROR(event->GetData(data, size, GENTL_INFINITE), GC_ERR_ABORT,
                     "Waiting for event data aborted:lumo::mockTL::EventWorker<lumo::mockTL::ErrorEventData>::GetData");
  EXPECT_EQ(takeCode(*event, 0), GC_ERR_ABORT);
  EXPECT_EQ(takeCode(*event, 0), -7);
  EXPECT_EQ(takeCode(*event, 0), GC_ERR_TIMEOUT);
}

TEST(EventKill, FromAnotherThreadWakesExactlyOneOfTwoWaiters) {
  auto event = registeredErrorEvent();
  auto first = std::async(std::launch::async, [&] { return takeCode(*event, GENTL_INFINITE); });
  auto second = std::async(std::launch::async, [&] { return takeCode(*event, GENTL_INFINITE); });
  std::this_thread::sleep_for(20ms);  // lets both start waiting; a late one consumes the kill on entry
  event->Kill();

  const auto ready = [](std::future<GC_ERROR>& waiter) { return waiter.wait_for(1ms) == std::future_status::ready; };
  const auto giveUp = std::chrono::steady_clock::now() + 5s;
  while (!ready(first) && !ready(second) && std::chrono::steady_clock::now() < giveUp) {
  }
  auto* aborted = &first;
  auto* waiting = &second;
  if (!ready(first)) std::swap(aborted, waiting);
  if (!ready(*aborted)) {
    event->Push({-1, "releases"});
    event->Push({-1, "both waiters"});
    FAIL() << "the kill woke no waiter";
  }
  EXPECT_EQ(aborted->get(), GC_ERR_ABORT);
  EXPECT_EQ(waiting->wait_for(50ms), std::future_status::timeout) << "one kill aborted two waits";

  event->Push({-5, "wakes the other"});
  EXPECT_EQ(waiting->get(), -5);
}

// GENTL_INFINITE - 1 is beyond the clock's range: its deadline must not wrap into the past.
TEST(EventWait, AnEndlessWaitWakesOnAPushFromAnotherThread) {
  for (const std::uint64_t timeout : {GENTL_INFINITE, GENTL_INFINITE - 1}) {
    auto event = registeredErrorEvent();
    auto waiter = std::async(std::launch::async, [&] { return takeCode(*event, timeout); });
    EXPECT_EQ(waiter.wait_for(30ms), std::future_status::timeout) << timeout;
    event->Push({-9, "late"});
    EXPECT_EQ(waiter.get(), -9);
  }
}

TEST(EventFlush, EmptiesTheQueueWhileTheFiredCountKeepsCounting) {
  auto event = registeredErrorEvent();
  event->Push({-1, "a"});
  event->Push({-2, "b"});
  event->Flush();
  EXPECT_EQ(infoNumber(*event, EVENT_NUM_IN_QUEUE), 0u);
  EXPECT_EQ(infoNumber(*event, EVENT_NUM_FIRED), 2u);
  event->Push({-3, "c"});
  EXPECT_EQ(infoNumber(*event, EVENT_NUM_FIRED), 3u);
  EXPECT_EQ(takeCode(*event, 0), -3);
}

TEST(EventPush, AnErrorEventDropsPushesWhileUnregistered) {
  auto event = Event::create<ErrorEvent>();
  event->Push({-1, "nobody listens"});
  EXPECT_EQ(event->numFired(), 0u);
  event->Register();
  event->Push({-2, "heard"});
  event->Unregister();
  event->Push({-3, "nobody listens again"});
  EXPECT_EQ(event->numFired(), 1u);
  EXPECT_EQ(takeCode(*event, 0), -2);
}

TEST(EventPush, ANewBufferEventQueuesFilledBuffersBeforeRegistration) {
  auto event = Event::create<NewBufferEvent>();
  event->Push(std::make_shared<CountingBuffer>());
  EXPECT_EQ(event->numInQueue(), 1u);
  EXPECT_EQ(event->numFired(), 1u);
}

// Several producers, consumers, a killer and a flusher on one queue: every pushed buffer leaves
// the queue exactly once, handed out or discarded, and the counters agree.
TEST(EventConcurrency, NoItemIsLostOrLeavesTwiceUnderPushWaitKillAndFlush) {
  constexpr int kProducers = 3;
  constexpr int kPerProducer = 400;
  auto event = Event::create<NewBufferEvent>();
  std::vector<std::shared_ptr<CountingBuffer>> buffers;
  for (int i = 0; i < kProducers * kPerProducer; ++i) buffers.push_back(std::make_shared<CountingBuffer>());

  std::atomic<int> producersDone{0};
  std::atomic<int> delivered{0};
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int p = 0; p < kProducers; ++p) {
    threads.emplace_back([&, p] {
      for (int i = 0; i < kPerProducer; ++i) event->Push(buffers[p * kPerProducer + i]);
      producersDone.fetch_add(1);
    });
  }
  for (int c = 0; c < 3; ++c) {
    threads.emplace_back([&] {
      while (true) {
        EVENT_NEW_BUFFER_DATA data{};
        std::size_t size = sizeof(data);
        try {
          event->GetData(&data, size, 5);
          delivered.fetch_add(1);
        } catch (const error::GenericException& failure) {
          EXPECT_TRUE(failure.code() == GC_ERR_TIMEOUT || failure.code() == GC_ERR_ABORT) << failure.text();
          if (failure.code() == GC_ERR_TIMEOUT && producersDone.load() == kProducers && event->numInQueue() == 0) {
            return;
          }
        }
      }
    });
  }
  std::thread killer([&] {
    while (!stop.load()) {
      event->Kill();
      std::this_thread::sleep_for(1ms);
    }
  });
  std::thread flusher([&] {
    while (!stop.load()) {
      event->Flush();
      std::this_thread::sleep_for(2ms);
    }
  });
  for (auto& thread : threads) thread.join();
  stop.store(true);
  killer.join();
  flusher.join();
  event->Flush();

  for (const auto& buffer : buffers) ASSERT_EQ(buffer->unqueued.load(), 1);
  EXPECT_EQ(event->numFired(), static_cast<std::uint64_t>(kProducers * kPerProducer));
  EXPECT_EQ(event->numDelivered(), static_cast<std::uint64_t>(delivered.load()));
}

}  // namespace
}  // namespace lumo::mockTL
