// The call gate that lets GCCloseLib destroy the module tree only once no export is using it.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "gentl/CallGate.h"

namespace lumo::mockTL {
namespace {

using namespace std::chrono_literals;

// Would fail with a teardown that runs while a call still holds its pass: the destroyed module
// would be used after its destruction.
TEST(CallGate, TeardownWaitsForTheCallsInsideAndHoldsBackTheCallsThatArrive) {
  CallGate& gate = CallGate::instance();
  std::atomic<bool> tornDown{false};
  std::promise<void> callInside;
  std::promise<void> releaseCall;
  std::thread call([&] {
    const CallGate::Pass pass;
    callInside.set_value();
    releaseCall.get_future().wait();
    EXPECT_FALSE(tornDown.load()) << "torn down under a call";
  });
  callInside.get_future().wait();

  std::promise<void> teardownStarted;
  std::promise<void> finishTeardown;
  std::thread closer([&] {
    gate.closeAfterDrain([&] {
      teardownStarted.set_value();
      finishTeardown.get_future().wait();
      tornDown = true;
    });
  });
  auto started = teardownStarted.get_future();
  EXPECT_EQ(started.wait_for(50ms), std::future_status::timeout) << "the teardown did not wait for the call";
  releaseCall.set_value();
  call.join();
  started.wait();

  std::atomic<bool> lateCallPassed{false};
  std::thread lateCall([&] {
    const CallGate::Pass pass;
    lateCallPassed = true;
    EXPECT_TRUE(tornDown.load()) << "a call passed during the teardown";
  });
  std::this_thread::sleep_for(50ms);
  EXPECT_FALSE(lateCallPassed.load());
  finishTeardown.set_value();
  closer.join();
  lateCall.join();
  EXPECT_TRUE(lateCallPassed.load());
}

// Would hang (the watchdog of ctest) with a nested pass that waits for a teardown that waits for
// the outer pass of the same thread.
TEST(CallGate, APassInsideAPassOfTheSameThreadDoesNotWaitForTheTeardown) {
  CallGate& gate = CallGate::instance();
  std::promise<void> outerHeld;
  std::promise<void> closerWaiting;
  std::thread call([&] {
    const CallGate::Pass outer;
    outerHeld.set_value();
    closerWaiting.get_future().wait();
    std::this_thread::sleep_for(20ms);
    const CallGate::Pass inner;
  });
  outerHeld.get_future().wait();
  std::thread closer([&] { gate.closeAfterDrain([] {}); });
  closerWaiting.set_value();
  call.join();
  closer.join();
}

}  // namespace
}  // namespace lumo::mockTL
