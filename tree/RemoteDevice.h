#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "module/Module.h"

namespace lumo::mockTL {

// The simulated camera behind a device: the module DevGetPort hands out. Built by its device on
// the device's first open and kept for the device's life, so every open sees the same camera. It
// serves the camera's GenApi description; its features come with the camera's register map.
class RemoteDevice final : public SpecificModule<void*>, public std::enable_shared_from_this<RemoteDevice> {
 public:
  static constexpr std::uint64_t kDefaultSleepBetweenFrames = 40000000;

  explicit RemoteDevice(const std::shared_ptr<Module>& device);

  // The acquisition's frame period in nanoseconds. Any thread; the acquisition thread reads it.
  std::uint64_t sleepBetweenFrames() const { return sleepBetweenFrames_; }
  void setSleepBetweenFrames(std::uint64_t nanoseconds) { sleepBetweenFrames_ = nanoseconds; }

  void initRegisterMap() override;
  std::string ReadStringRegImpl(std::uint32_t id) override;

 private:
  std::atomic<std::uint64_t> sleepBetweenFrames_{kDefaultSleepBetweenFrames};
};

}  // namespace lumo::mockTL
