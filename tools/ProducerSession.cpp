#include "tools/ProducerSession.h"

#include "tools/InfoQuery.h"
#include "tools/ToolError.h"

namespace lmmocktl {

namespace {

// Whether `name` names the device: by its id alone or as "interface/device".
bool names(const std::string& name, const ProducerSession::DeviceEntry& entry) {
  return name == entry.deviceId || name == entry.interfaceId + "/" + entry.deviceId;
}

}  // namespace

ProducerSession::ProducerSession(const GenTLLibrary& gentl) : gentl_(gentl) {
  gentl_.check(gentl_.TLOpen(&system_), "TLOpen");
  try {
    gentl_.check(gentl_.TLUpdateInterfaceList(system_, nullptr, 0), "TLUpdateInterfaceList");
  } catch (...) {
    gentl_.TLClose(system_);
    throw;
  }
}

ProducerSession::~ProducerSession() {
  for (DEV_HANDLE device : devices_) gentl_.DevClose(device);
  for (const auto& [id, iface] : interfaces_) gentl_.IFClose(iface);
  gentl_.TLClose(system_);
}

std::vector<std::string> ProducerSession::interfaceIds() const {
  uint32_t count = 0;
  gentl_.check(gentl_.TLGetNumInterfaces(system_, &count), "TLGetNumInterfaces");
  std::vector<std::string> ids;
  for (uint32_t index = 0; index < count; ++index) {
    ids.push_back(listedId(
        gentl_, [&](char* text, size_t* size) { return gentl_.TLGetInterfaceID(system_, index, text, size); },
        "TLGetInterfaceID"));
  }
  return ids;
}

IF_HANDLE ProducerSession::openInterface(const std::string& id) {
  if (auto found = interfaces_.find(id); found != interfaces_.end()) return found->second;
  IF_HANDLE iface = nullptr;
  gentl_.check(gentl_.TLOpenInterface(system_, id.c_str(), &iface), "TLOpenInterface(" + id + ")");
  interfaces_.emplace(id, iface);
  gentl_.check(gentl_.IFUpdateDeviceList(iface, nullptr, 0), "IFUpdateDeviceList");
  return iface;
}

std::vector<std::string> ProducerSession::deviceIds(IF_HANDLE iface) const {
  uint32_t count = 0;
  gentl_.check(gentl_.IFGetNumDevices(iface, &count), "IFGetNumDevices");
  std::vector<std::string> ids;
  for (uint32_t index = 0; index < count; ++index) {
    ids.push_back(listedId(
        gentl_, [&](char* text, size_t* size) { return gentl_.IFGetDeviceID(iface, index, text, size); },
        "IFGetDeviceID"));
  }
  return ids;
}

std::vector<ProducerSession::DeviceEntry> ProducerSession::devices() {
  std::vector<DeviceEntry> entries;
  for (const std::string& interfaceId : interfaceIds()) {
    for (const std::string& deviceId : deviceIds(openInterface(interfaceId))) {
      entries.push_back({interfaceId, deviceId});
    }
  }
  return entries;
}

bool ProducerSession::hasDevice(const std::string& name) {
  for (const DeviceEntry& entry : devices()) {
    if (names(name, entry)) return true;
  }
  return false;
}

ProducerSession::DeviceEntry ProducerSession::findDevice(const std::string& name) {
  const std::vector<DeviceEntry> entries = devices();
  std::string known;
  for (const DeviceEntry& entry : entries) {
    if (name.empty() || names(name, entry)) return entry;
    known += (known.empty() ? "" : ", ") + entry.interfaceId + "/" + entry.deviceId;
  }
  if (name.empty()) throw ToolError("the producer has no device");
  throw ToolError("unknown device " + name + " (devices: " + (known.empty() ? "none" : known) + ")");
}

DEV_HANDLE ProducerSession::openDevice(const DeviceEntry& entry) {
  DEV_HANDLE device = nullptr;
  gentl_.check(
      gentl_.IFOpenDevice(openInterface(entry.interfaceId), entry.deviceId.c_str(), DEVICE_ACCESS_EXCLUSIVE, &device),
      "IFOpenDevice(" + entry.deviceId + ")");
  devices_.push_back(device);
  return device;
}

std::vector<std::string> ProducerSession::streamIds(DEV_HANDLE device) const {
  uint32_t count = 0;
  gentl_.check(gentl_.DevGetNumDataStreams(device, &count), "DevGetNumDataStreams");
  std::vector<std::string> ids;
  for (uint32_t index = 0; index < count; ++index) {
    ids.push_back(listedId(
        gentl_, [&](char* text, size_t* size) { return gentl_.DevGetDataStreamID(device, index, text, size); },
        "DevGetDataStreamID"));
  }
  return ids;
}

}  // namespace lmmocktl
