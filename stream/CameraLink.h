#pragma once

#include <atomic>
#include <cstdint>

namespace lumo::mockTL {

// What the simulated camera tells the data streams of its device: one object per device, shared by
// the remote device, which sets it through the camera's features, and the device's streams, which
// read it when they start. Any thread; every member is an atomic.
class CameraLink {
 public:
  static constexpr std::uint64_t kDefaultFramePeriod = 40000000;

  // The pause between two frames of a paced acquisition, in nanoseconds.
  std::uint64_t framePeriod() const { return framePeriod_; }
  void setFramePeriod(std::uint64_t nanoseconds) { framePeriod_ = nanoseconds; }

 private:
  std::atomic<std::uint64_t> framePeriod_{kDefaultFramePeriod};
};

}  // namespace lumo::mockTL
