#pragma once

#include <map>
#include <string>
#include <vector>

#include "base/GenTL.h"
#include "tools/GenTLLibrary.h"

namespace lmmocktl {

// The system module of a loaded producer with the interfaces and devices a command opens. Closes
// what it opened, devices first, when destroyed. The handles it returns stay its own. One thread
// uses it.
class ProducerSession {
 public:
  struct DeviceEntry {
    std::string interfaceId;
    std::string deviceId;
  };

  // Opens the system module and updates its interface list. Throws ToolError.
  explicit ProducerSession(const GenTLLibrary& gentl);
  ~ProducerSession();
  ProducerSession(const ProducerSession&) = delete;
  ProducerSession& operator=(const ProducerSession&) = delete;

  const GenTLLibrary& gentl() const { return gentl_; }
  TL_HANDLE system() const { return system_; }

  std::vector<std::string> interfaceIds() const;
  // Opens the interface once and updates its device list.
  IF_HANDLE openInterface(const std::string& id);
  std::vector<std::string> deviceIds(IF_HANDLE iface) const;
  // Every device of every interface.
  std::vector<DeviceEntry> devices();

  // The device named `name` ("DEVICE" or "INTERFACE/DEVICE"); the first device when `name` is
  // empty. Throws ToolError "unknown device ..." listing what exists.
  DeviceEntry findDevice(const std::string& name);
  bool hasDevice(const std::string& name);
  // Opens the device for exclusive use. Throws ToolError.
  DEV_HANDLE openDevice(const DeviceEntry& entry);

  std::vector<std::string> streamIds(DEV_HANDLE device) const;

 private:
  const GenTLLibrary& gentl_;
  TL_HANDLE system_ = nullptr;
  std::map<std::string, IF_HANDLE> interfaces_;
  std::vector<DEV_HANDLE> devices_;
};

}  // namespace lmmocktl
