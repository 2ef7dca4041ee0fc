#include "gentl/CallGate.h"

namespace lumo::mockTL {

CallGate& CallGate::instance() {
  static CallGate gate;
  return gate;
}

void CallGate::enter() {
  for (;;) {
    // Counted before the look at closing_, and the closer sets closing_ before it counts (both
    // sequentially consistent): either the closer waits for this call, or this call waits.
    inFlight_.fetch_add(1);
    if (!closing_.load()) {
      return;
    }
    leave();
    std::unique_lock lock(mutex_);
    reopened_.wait(lock, [this] { return !closing_.load(); });
  }
}

void CallGate::leave() {
  if (inFlight_.fetch_sub(1) == 1 && closing_.load()) {
    // Under the mutex, so that the closer cannot miss it between its test and its wait.
    std::lock_guard lock(mutex_);
    drained_.notify_all();
  }
}

void CallGate::beginClosing() {
  std::unique_lock lock(mutex_);
  closing_.store(true);
  drained_.wait(lock, [this] { return inFlight_.load() == 0; });
}

void CallGate::endClosing() {
  {
    std::lock_guard lock(mutex_);
    closing_.store(false);
  }
  reopened_.notify_all();
}

}  // namespace lumo::mockTL
