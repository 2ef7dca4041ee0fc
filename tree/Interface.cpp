#include "tree/Interface.h"

#include <algorithm>
#include <utility>

#include "base/GenericException.h"
#include "base/Info.h"
#include "module/ProducerIdentity.h"
#include "tree/Device.h"

namespace lumo::mockTL {

using error::GenericException;

namespace {

// Register ids of the interface description.
enum : std::uint32_t {
  kUpdateDeviceListRegister = 2000,
  kInterfaceIdRegister = 2001,
  kInterfaceDisplayNameRegister = 2002,
  kDevicesOpenRegister = 2003,
  kDeviceIdRegister = 2004,
  kDeviceVendorNameRegister = 2005,
  kDeviceModelNameRegister = 2006,
  kDeviceSerialNumberRegister = 2007,
  kDeviceTypeRegister = 2008,
  kDeviceUserNameRegister = 2009,
  kDeviceDisplayNameRegister = 2010,
  kDeviceCountRegister = 2011,
  kDeviceSelectorRegister = 2012,
  kDeviceAccessModeRegister = 2013,
};

}  // namespace

Interface::Interface(const std::shared_ptr<Module>& system, InterfaceConfiguration configuration)
    : SpecificModule(system), configuration_(std::move(configuration)) {
  initRegisterMap();
}

void Interface::getInfo(INTERFACE_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) const {
  constexpr const char* where = "lumo::mockTL::Interface::getInfo";
  type = INFO_DATATYPE_STRING;
  std::string_view text;
  switch (command) {
    case INTERFACE_INFO_ID:
    case INTERFACE_INFO_DISPLAYNAME: text = id(); break;
    case INTERFACE_INFO_TLTYPE: text = identity::kTransportLayerType; break;
    default: throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "Requested info not implemented");
  }
  info::ReportInfoString(type, destination, size, text, where, "buffer too small");
}

void Interface::updateDeviceList() {
  std::lock_guard update(updateMutex_);
  if (deviceCount() != 0) {
    return;
  }
  // Each device joins the list as soon as it is built: a failure keeps the ones before it.
  for (const auto& record : configuration_.devices) {
    auto device = Device::create(shared_from_this(), record);
    std::lock_guard lock(moduleMutex());
    devices_.push_back(std::move(device));
  }
}

std::uint32_t Interface::deviceCount() {
  std::lock_guard lock(moduleMutex());
  return static_cast<std::uint32_t>(devices_.size());
}

std::vector<std::shared_ptr<Device>> Interface::devices() {
  std::lock_guard lock(moduleMutex());
  return devices_;
}

std::shared_ptr<Device> Interface::getDevice(std::uint32_t index) {
  std::lock_guard lock(moduleMutex());
  if (index >= devices_.size()) {
    throw GenericException(GC_ERR_INVALID_INDEX, "lumo::mockTL::Interface::getDevice",
                           "index exceeds device list size. Or no devices in list");
  }
  return devices_[index];
}

std::shared_ptr<Device> Interface::findDevice(std::string_view id) {
  for (auto& device : devices()) {
    if (device->configuration().id == id) {
      return device;
    }
  }
  return nullptr;
}

std::shared_ptr<Device> Interface::openDevice(std::string_view id, DEVICE_ACCESS_FLAGS flags) {
  constexpr const char* where = "lumo::mockTL::Interface::openDevice";
  auto device = findDevice(id);
  if (!device) {
    updateDeviceList();
    device = findDevice(id);
  }
  if (!device) {
    throw GenericException(GC_ERR_INVALID_ID, where, "device unknown");
  }
  if (flags == DEVICE_ACCESS_UNKNOWN) {
    throw GenericException(GC_ERR_INVALID_PARAMETER, where, "unknown device access is not possible");
  }
  if (flags < DEVICE_ACCESS_UNKNOWN || (flags > DEVICE_ACCESS_EXCLUSIVE && flags < DEVICE_ACCESS_CUSTOM_ID)) {
    throw GenericException(GC_ERR_INVALID_PARAMETER, where, "invalid iOpenflags");
  }
  if (flags != DEVICE_ACCESS_EXCLUSIVE) {
    throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "access mode != exclusive not implemented");
  }
  if (!device->open()) {
    throw GenericException(GC_ERR_RESOURCE_IN_USE, where, "opening device failed");
  }
  return device;
}

void Interface::setSelectorIndex(std::uint32_t value) {
  std::lock_guard lock(moduleMutex());
  // The device count itself is accepted; reading the selected device then fails.
  if (value > devices_.size()) {
    throw GenericException(GC_ERR_INVALID_ID, "lumo::mockTL::Interface::setSelectorIndex", "index is unknown");
  }
  selectedDevice_ = value;
}

std::shared_ptr<Device> Interface::selectedDevice() {
  std::uint32_t selected = 0;
  {
    std::lock_guard lock(moduleMutex());
    selected = selectedDevice_;
  }
  return getDevice(selected);
}

bool Interface::open() {
  std::lock_guard lock(moduleMutex());
  return !std::exchange(open_, true);
}

bool Interface::isOpen() {
  std::lock_guard lock(moduleMutex());
  return open_;
}

void Interface::close() {
  std::lock_guard lock(moduleMutex());
  for (const auto& device : devices_) {
    device->close();
  }
  open_ = false;
}

void Interface::initRegisterMap() {
  constexpr auto u32 = RegisterType::Uint32;
  constexpr auto text = RegisterType::String;
  constexpr auto ro = RegisterAccess::ReadOnly;
  declareDescribedRegisters(DescriptionKind::Interface, "TLInterface", "InterfacePort",
                            {
                                {kUpdateDeviceListRegister, 0x0, 4, u32, RegisterAccess::WriteOnly},
                                {kInterfaceIdRegister, 0x500, 256, text, ro},
                                {kInterfaceDisplayNameRegister, 0x1000, 256, text, ro},
                                {kDevicesOpenRegister, 0x1500, 4, u32, ro},
                                {kDeviceIdRegister, 0x2000, 256, text, ro},
                                {kDeviceVendorNameRegister, 0x2500, 64, text, ro},
                                {kDeviceModelNameRegister, 0x3000, 64, text, ro},
                                {kDeviceSerialNumberRegister, 0x3500, 32, text, ro},
                                {kDeviceTypeRegister, 0x4000, 32, text, ro},
                                {kDeviceUserNameRegister, 0x4500, 32, text, ro},
                                {kDeviceDisplayNameRegister, 0x5000, 256, text, ro},
                                {kDeviceCountRegister, 0x5500, 4, u32, ro},
                                {kDeviceSelectorRegister, 0x6000, 4, u32, RegisterAccess::ReadWrite},
                                {kDeviceAccessModeRegister, 0x6500, 4, u32, ro},
                            });
}

std::string Interface::ReadStringRegImpl(std::uint32_t id) {
  switch (id) {
    case kDescriptionRegisterId: return descriptionText();
    case kInterfaceIdRegister:
    case kInterfaceDisplayNameRegister: return this->id();
    case kDeviceIdRegister: return selectedDevice()->configuration().id;
    case kDeviceVendorNameRegister: return selectedDevice()->configuration().vendor;
    // DeviceType repeats the model name.
    case kDeviceModelNameRegister:
    case kDeviceTypeRegister: return selectedDevice()->configuration().model;
    case kDeviceSerialNumberRegister: return selectedDevice()->configuration().serialNumber;
    case kDeviceUserNameRegister: return selectedDevice()->configuration().userName;
    case kDeviceDisplayNameRegister: return selectedDevice()->configuration().displayName;
    default:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::Interface::ReadStringRegImpl",
                             "read reg_id not implemented");
  }
}

std::uint32_t Interface::ReadUint32RegImpl(std::uint32_t id) {
  switch (id) {
    case kDevicesOpenRegister: {
      const auto list = devices();
      return static_cast<std::uint32_t>(
          std::count_if(list.begin(), list.end(), [](const auto& device) { return device->isOpen(); }));
    }
    case kDeviceCountRegister: return deviceCount();
    case kDeviceSelectorRegister: {
      std::lock_guard lock(moduleMutex());
      return selectedDevice_;
    }
    case kDeviceAccessModeRegister: return static_cast<std::uint32_t>(selectedDevice()->accessStatus());
    default:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::Interface::ReadUint32RegImpl",
                             "read reg_id not implemented");
  }
}

void Interface::WriteUint32RegImpl(std::uint32_t id, std::uint32_t value) {
  switch (id) {
    case kUpdateDeviceListRegister: return updateDeviceList();
    case kDeviceSelectorRegister: return setSelectorIndex(value);
    default:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::Interface::WriteUint32RegImpl",
                             "write reg_id not implemented");
  }
}

}  // namespace lumo::mockTL
