#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "base/GenTL.h"
#include "module/Module.h"
#include "tree/Configuration.h"

namespace lumo::mockTL {

class Device;

// One simulated interface of the system, built from one interface record. It builds its devices
// from the record on the first device-list update and keeps them, closed or open, for its whole
// life. Any thread may call any operation.
//
// Locks: the update mutex (one device-list update at a time) is taken before the module mutex,
// which guards the open flag, the selector and the device list. The module mutex is never held
// while a device is built or while a device's own state is read, except by close, which closes
// the devices under it.
class Interface final : public SpecificModule<void*>, public std::enable_shared_from_this<Interface> {
 public:
  Interface(const std::shared_ptr<Module>& system, InterfaceConfiguration configuration);

  const std::string& id() const { return configuration_.id; }
  void getInfo(INTERFACE_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) const;

  // Builds the device list from the record the first time; every later update changes nothing.
  void updateDeviceList();
  std::uint32_t deviceCount();
  std::shared_ptr<Device> getDevice(std::uint32_t index);
  // The first device whose id is exactly `id`, or empty.
  std::shared_ptr<Device> findDevice(std::string_view id);
  // Opens the device for exclusive access, the only mode there is. An unknown id gets one
  // device-list update before it is refused.
  std::shared_ptr<Device> openDevice(std::string_view id, DEVICE_ACCESS_FLAGS flags);
  void setSelectorIndex(std::uint32_t value);

  // Marks the interface open; false when it already was.
  bool open();
  bool isOpen();
  // Closes every device of the list and marks the interface closed.
  void close();

  void initRegisterMap() override;
  std::string ReadStringRegImpl(std::uint32_t id) override;
  std::uint32_t ReadUint32RegImpl(std::uint32_t id) override;
  void WriteUint32RegImpl(std::uint32_t id, std::uint32_t value) override;

 private:
  std::vector<std::shared_ptr<Device>> devices();
  std::shared_ptr<Device> selectedDevice();

  const InterfaceConfiguration configuration_;
  std::mutex updateMutex_;
  bool open_ = false;
  std::uint32_t selectedDevice_ = 0;
  std::vector<std::shared_ptr<Device>> devices_;
};

}  // namespace lumo::mockTL
