#include "stream/CameraLink.h"

#include <utility>
#include <vector>

namespace lumo::mockTL {

void CameraLink::trigger() {
  if (!softwareTrigger_) {
    return;
  }
  {
    std::lock_guard lock(mutex_);
    ++triggers_;
  }
  wake_.notify_all();
}

void CameraLink::wakeWaiters() {
  // Taking the mutex orders the caller's stop flag before any waiter's next look at it.
  { std::lock_guard lock(mutex_); }
  wake_.notify_all();
}

void CameraLink::setRemovalEvent(std::shared_ptr<RemoveDeviceEvent> event, const std::string& deviceId) {
  std::lock_guard lock(mutex_);
  removalEvent_ = std::move(event);
  deviceId_ = deviceId;
}

CameraLink::Claim CameraLink::claimFrame() {
  const std::uint64_t limit = removeAfterFrames_;
  if (limit == 0) {
    return Claim::Granted;
  }
  std::uint64_t claimed = claimed_;
  do {
    if (removed_ || claimed >= limit) {
      return Claim::Refused;
    }
  } while (!claimed_.compare_exchange_weak(claimed, claimed + 1));
  return claimed + 1 == limit ? Claim::Last : Claim::Granted;
}

void CameraLink::returnClaim() {
  if (removeAfterFrames_ != 0) {
    --claimed_;
  }
}

void CameraLink::unplug() {
  std::shared_ptr<RemoveDeviceEvent> event;
  std::vector<std::uint8_t> item;
  {
    std::lock_guard lock(mutex_);
    if (removed_.exchange(true)) {
      return;
    }
    event = removalEvent_;
    item.assign(deviceId_.begin(), deviceId_.end());
    item.push_back(0);
  }
  if (event != nullptr) {
    event->Push(std::move(item));
  }
  wakeWaiters();
}

void CameraLink::reconnect() {
  std::lock_guard lock(mutex_);
  claimed_ = 0;
  removed_ = false;
}

}  // namespace lumo::mockTL
