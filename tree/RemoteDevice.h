#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "event/RemoveDeviceEvent.h"
#include "module/Module.h"
#include "stream/CameraLink.h"

namespace lumo::mockTL {

class DataStream;
class Device;

// The simulated camera behind a device: the module DevGetPort hands out. Built by its device on
// the device's first open and kept for the device's life, so every open sees the same camera. Its
// registers configure the device's selected data stream, control acquisition and report the
// device's information; every register operation resolves the parent device and the selected
// stream first.
class RemoteDevice final : public SpecificModule<void*>, public std::enable_shared_from_this<RemoteDevice> {
 public:
  // `camera` carries what the camera's features tell the device's streams (the frame period); a
  // link of its own when none is given.
  explicit RemoteDevice(const std::shared_ptr<Module>& device, std::shared_ptr<CameraLink> camera = nullptr);
  bool acquisitionActive() const { return acquisitionActive_; }
  std::uint32_t triggerCount() const { return triggerCount_; }

  // The data stream the stream features act on (SourceSelector).
  void setSelectedDataStream(std::uint32_t index);
  std::shared_ptr<DataStream> getSelectedDataStream();

  void initRegisterMap() override;
  // Adds the removal event (EVENT_REMOTE_DEVICE) beside the error event.
  void initEvents() override;
  const std::shared_ptr<RemoveDeviceEvent>& removalEvent() const { return removalEvent_; }
  std::string ReadStringRegImpl(std::uint32_t id) override;
  std::uint32_t ReadUint32RegImpl(std::uint32_t id) override;
  std::uint64_t ReadUint64RegImpl(std::uint32_t id) override;
  double ReadFloat64RegImpl(std::uint32_t id) override;
  void ReadRegImpl(std::uint32_t id, void* destination, std::size_t count) override;
  void WriteStringRegImpl(std::uint32_t id, const std::string& value) override;
  void WriteUint32RegImpl(std::uint32_t id, std::uint32_t value) override;
  void WriteUint64RegImpl(std::uint32_t id, std::uint64_t value) override;
  void WriteFloat64RegImpl(std::uint32_t id, double value) override;
  void WriteRegImpl(std::uint32_t id, const void* source, std::size_t count) override;

 private:
  struct Target {
    std::shared_ptr<Device> device;
    std::shared_ptr<DataStream> stream;
  };
  // The parent device and its selected stream, or the operation's failure.
  Target resolve(const char* where, const char* castMessage);
  bool tlParamsLocked();
  void writeTlParamsLocked(const Device& device, std::uint32_t value);

  std::atomic<bool> acquisitionActive_{false};
  std::atomic<std::uint32_t> selectedSource_{0};
  const std::shared_ptr<CameraLink> camera_;
  std::shared_ptr<RemoveDeviceEvent> removalEvent_;
  std::atomic<std::uint32_t> triggerCount_{0};
  std::uint8_t tlParams_ = 0;  // under the module mutex
};

}  // namespace lumo::mockTL
