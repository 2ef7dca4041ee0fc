#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace lumo::mockTL {

// Keeps GCCloseLib from destroying the module tree under a call that is using it. Every export
// that may touch a module holds a Pass for as long as it does; GCCloseLib tears the tree down
// through closeAfterDrain, which waits until no Pass is held and makes calls that arrive meanwhile
// wait until the teardown is over (they then find the library closed, or a handle unknown). A
// consumer thread may therefore call any export while another closes the library.
//
// A Pass costs two atomic operations while the library is not being closed. Calls that wait
// without bound (EventGetData) hold their Pass only while they look the handle up: they keep what
// they wait on alive themselves, and a closing library must not wait for their timeout.
// Thread safe.
class CallGate {
 public:
  // Only a thread's outermost Pass counts: an export body that runs another frame inside (as
  // IFUpdateDeviceList does) must not wait for a teardown that waits for its own outer Pass.
  class Pass {
   public:
    Pass() {
      if (depth()++ == 0) CallGate::instance().enter();
    }
    ~Pass() {
      if (--depth() == 0) CallGate::instance().leave();
    }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

   private:
    static int& depth() {
      thread_local int passes = 0;
      return passes;
    }
  };

  static CallGate& instance();

  // Runs `teardown` once no Pass is held, and holds back new Passes until it returns. Closers
  // take turns. Must not be called while the caller holds a Pass.
  template <class Teardown>
  void closeAfterDrain(Teardown&& teardown) {
    std::lock_guard closer(closerMutex_);
    beginClosing();
    try {
      teardown();
    } catch (...) {
      endClosing();
      throw;
    }
    endClosing();
  }

 private:
  CallGate() = default;

  void enter();
  void leave();
  void beginClosing();
  void endClosing();

  std::atomic<std::size_t> inFlight_{0};
  std::atomic<bool> closing_{false};
  std::mutex closerMutex_;
  // Guards the two waits: the closer's for the calls in flight, the callers' for the teardown.
  std::mutex mutex_;
  std::condition_variable drained_;
  std::condition_variable reopened_;
};

}  // namespace lumo::mockTL
