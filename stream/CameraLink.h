#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "event/RemoveDeviceEvent.h"

namespace lumo::mockTL {

// What the simulated camera tells the data streams of its device, and what they tell it back: one
// object per device, shared by the remote device (which sets the frame period through the camera's
// features and fires the software trigger) and the device's streams (whose acquisition threads
// wait for triggers and count the frames that bring the camera's removal nearer).
//
// Thread safe: consumer threads write the settings and fire triggers, acquisition threads wait
// and count. The counters are atomics; the trigger wait and the removal take the link's mutex.
class CameraLink {
 public:
  static constexpr std::uint64_t kDefaultFramePeriod = 40000000;

  // The pause between two frames of a paced acquisition, in nanoseconds.
  std::uint64_t framePeriod() const { return framePeriod_; }
  void setFramePeriod(std::uint64_t nanoseconds) { framePeriod_ = nanoseconds; }

  // --- Software trigger. While it is on, an acquiring stream delivers one frame per trigger.
  void setSoftwareTrigger(bool on) { softwareTrigger_ = on; }
  bool softwareTrigger() const { return softwareTrigger_; }
  // One TriggerSoftware execution; ignored while trigger mode is off.
  void trigger();
  // Triggers fired since the camera was built; a stream takes this at its start and delivers one
  // frame for each trigger beyond it.
  std::uint64_t triggers() const { return triggers_; }
  // Waits until more than `seen` triggers have fired or `stopped()` holds. True for a trigger.
  template <class Stopped>
  bool waitForTrigger(std::uint64_t seen, Stopped stopped) {
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [&] { return triggers_ > seen || stopped(); });
    return triggers_ > seen;
  }
  // Wakes every waiting stream to look at its stop condition again; call it after setting that.
  void wakeWaiters();

  // --- Removal: the camera is unplugged once the device's streams delivered this many frames
  // together (0 never). The removal event, owned by the remote device, then receives `deviceId`.
  void setRemoveAfterFrames(std::uint64_t frames) { removeAfterFrames_ = frames; }
  void setRemovalEvent(std::shared_ptr<RemoveDeviceEvent> event, const std::string& deviceId);
  enum class Claim { Refused, Granted, Last };
  // Claims one more frame to deliver: Refused once the camera is unplugged or its last frame is
  // claimed, Last for the frame whose delivery unplugs it (then call unplug()).
  Claim claimFrame();
  // Gives a granted claim back when no frame came of it (no buffer was queued).
  void returnClaim();
  // Unplugs the camera: pushes the removal event's item. Safe to call once per removal.
  void unplug();
  bool removed() const { return removed_; }
  // Plugs the camera back in with a fresh count, for the device's close after a removal.
  void reconnect();

 private:
  std::atomic<std::uint64_t> framePeriod_{kDefaultFramePeriod};
  std::atomic<bool> softwareTrigger_{false};
  std::atomic<std::uint64_t> removeAfterFrames_{0};
  std::atomic<std::uint64_t> claimed_{0};
  std::atomic<bool> removed_{false};

  std::mutex mutex_;
  std::condition_variable wake_;
  std::atomic<std::uint64_t> triggers_{0};           // changed under the mutex, so that no waiter misses one
  std::shared_ptr<RemoveDeviceEvent> removalEvent_;  // under the mutex
  std::string deviceId_;                             // under the mutex
};

}  // namespace lumo::mockTL
