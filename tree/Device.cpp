#include "tree/Device.h"

#include <mutex>

#include "base/GenericException.h"
#include "base/Info.h"
#include "module/ProducerIdentity.h"
#include "stream/DataStream.h"
#include "tree/RemoteDevice.h"

namespace lumo::mockTL {

using error::GenericException;

namespace {

// Register ids of the device description.
enum : std::uint32_t {
  kDeviceIdRegister = 3000,
  kVendorNameRegister = 3001,
  kModelNameRegister = 3002,
  kSerialNumberRegister = 3003,
  kVersionRegister = 3004,
  kUserNameRegister = 3005,
  kDisplayNameRegister = 3006,
  kStreamIdRegister = 3007,
  kStreamDisplayNameRegister = 3008,
  kStreamSelectorRegister = 3009,
  kStreamCountRegister = 3010,
  kStreamingModeRegister = 3011,
  kRdmaCapableRegister = 3012,
};

// The tick rate consumers are told for device timestamps.
constexpr std::uint64_t kTimestampFrequency = 1000000;

}  // namespace

std::shared_ptr<Device> Device::create(const std::shared_ptr<Module>& iface, DeviceConfiguration configuration) {
  auto device = std::make_shared<Device>(iface, std::move(configuration));
  for (const auto& record : device->configuration_.streams) {
    device->dataStreams_.push_back(published(std::make_shared<DataStream>(device, record, device->camera_)));
  }
  // Last, so that the device's handle never reaches it before its streams are there.
  return published(std::move(device));
}

Device::Device(const std::shared_ptr<Module>& iface, DeviceConfiguration configuration)
    : SpecificModule(iface), configuration_(std::move(configuration)) {
  camera_->setSoftwareTrigger(configuration_.softwareTrigger);
  camera_->setRemoveAfterFrames(configuration_.removeAfterFrames);
  initRegisterMap();
}

// Closed or not, no stream may outlive this with its acquisition thread running: a stream can be
// started again after the device's close, and its thread holds no reference that would keep it.
Device::~Device() {
  try {
    close();
  } catch (...) {
    // Destroyed by one of its own acquisition threads: that thread cannot join itself.
  }
}

void Device::getInfo(DEVICE_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) const {
  constexpr const char* where = "lumo::mockTL::Device::getInfo";
  const auto text = [&](std::string_view value) {
    info::ReportInfoString(type, destination, size, value, where, "buffer too small");
  };
  switch (command) {
    case DEVICE_INFO_ID: return text(configuration_.id);
    case DEVICE_INFO_VENDOR: return text(configuration_.vendor);
    case DEVICE_INFO_MODEL: return text(configuration_.model);
    case DEVICE_INFO_TLTYPE: return text(identity::kTransportLayerType);
    case DEVICE_INFO_DISPLAYNAME: return text(configuration_.displayName);
    case DEVICE_INFO_USER_DEFINED_NAME: return text(configuration_.userName);
    case DEVICE_INFO_SERIAL_NUMBER: return text(configuration_.serialNumber);
    case DEVICE_INFO_VERSION: return text(configuration_.version);
    case DEVICE_INFO_ACCESS_STATUS:
      return info::ReportInfoNumericUnchecked(type, destination, size, accessStatus(), INFO_DATATYPE_INT32);
    case DEVICE_INFO_TIMESTAMP_FREQUENCY:
      return info::ReportInfoNumericUnchecked(type, destination, size, kTimestampFrequency, INFO_DATATYPE_UINT64);
    default: throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "requested info not implemented");
  }
}

std::int32_t Device::accessStatus() const {
  return open_ ? DEVICE_ACCESS_STATUS_OPEN_READWRITE : DEVICE_ACCESS_STATUS_READWRITE;
}

std::shared_ptr<DataStream> Device::getDataStream(std::uint32_t index) const {
  if (index >= dataStreams_.size()) {
    throw GenericException(GC_ERR_INVALID_INDEX, "lumo::mockTL::Device::getDataStream", "index exceeds datastream map");
  }
  return dataStreams_[index];
}

std::shared_ptr<DataStream> Device::findDataStream(std::string_view id) const {
  for (const auto& stream : dataStreams_) {
    if (stream->id() == id) {
      return stream;
    }
  }
  return nullptr;
}

void Device::setSelectorIndex(std::uint32_t value) {
  std::lock_guard lock(moduleMutex());
  // The stream count itself is accepted; reading the selected stream then fails.
  if (value > dataStreams_.size()) {
    throw GenericException(GC_ERR_INVALID_INDEX, "lumo::mockTL::Device::setSelectorIndex",
                           "index for selector too large or below 0");
  }
  selectedStream_ = value;
}

bool Device::open() {
  remoteDevice();
  bool wasOpen = false;
  return open_.compare_exchange_strong(wasOpen, true);
}

void Device::close() {
  std::lock_guard lock(moduleMutex());
  open_ = false;
  for (const auto& stream : dataStreams_) {
    stream->haltAcquisition();
  }
  // A camera that was unplugged comes back with the next open, as a new camera would: its
  // streams may be opened again and its frames count afresh.
  if (camera_->removed()) {
    for (const auto& stream : dataStreams_) {
      stream->forgetOpen();
    }
    camera_->reconnect();
  }
}

std::shared_ptr<RemoteDevice> Device::remoteDevice() {
  std::lock_guard lock(moduleMutex());
  if (!remoteDevice_) {
    remoteDevice_ = published(std::make_shared<RemoteDevice>(shared_from_this(), camera_));
    camera_->setRemovalEvent(remoteDevice_->removalEvent(), configuration_.id);
  }
  return remoteDevice_;
}

std::uint32_t Device::streamingMode() {
  std::lock_guard lock(moduleMutex());
  return configuration_.streamingMode;
}

void Device::setStreamingMode(std::uint32_t mode) {
  std::lock_guard lock(moduleMutex());
  configuration_.streamingMode = mode;
}

bool Device::rdmaCapable() {
  std::lock_guard lock(moduleMutex());
  return configuration_.rdmaCapable;
}

void Device::setRdmaCapable(bool capable) {
  std::lock_guard lock(moduleMutex());
  configuration_.rdmaCapable = capable;
}

void Device::initRegisterMap() {
  constexpr auto u32 = RegisterType::Uint32;
  constexpr auto text = RegisterType::String;
  constexpr auto ro = RegisterAccess::ReadOnly;
  constexpr auto rw = RegisterAccess::ReadWrite;
  declareDescribedRegisters(DescriptionKind::Device, "TLDevice", "DevicePort",
                            {
                                {kStreamSelectorRegister, 0x0, 4, u32, rw},
                                {kStreamCountRegister, 0x500, 4, u32, ro},
                                {kStreamingModeRegister, 0x504, 4, u32, rw},
                                {kRdmaCapableRegister, 0x508, 4, u32, rw},
                                {kDeviceIdRegister, 0x1000, 64, text, ro},
                                {kVendorNameRegister, 0x1500, 64, text, ro},
                                {kModelNameRegister, 0x2000, 64, text, ro},
                                {kSerialNumberRegister, 0x2500, 64, text, ro},
                                {kVersionRegister, 0x3000, 64, text, ro},
                                {kUserNameRegister, 0x3500, 64, text, ro},
                                {kDisplayNameRegister, 0x4000, 256, text, ro},
                                {kStreamIdRegister, 0x4500, 64, text, ro},
                                {kStreamDisplayNameRegister, 0x5000, 256, text, ro},
                            });
}

std::string Device::ReadStringRegImpl(std::uint32_t id) {
  switch (id) {
    case kDescriptionRegisterId: return descriptionText();
    case kDeviceIdRegister: return configuration_.id;
    case kVendorNameRegister: return configuration_.vendor;
    case kModelNameRegister: return configuration_.model;
    case kSerialNumberRegister: return configuration_.serialNumber;
    case kVersionRegister: return configuration_.version;
    case kUserNameRegister: return configuration_.userName;
    case kDisplayNameRegister: return configuration_.displayName;
    // StreamDisplayName repeats the stream id.
    case kStreamIdRegister:
    case kStreamDisplayNameRegister: return getDataStream(selectedStream_)->id();
    default:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::Device::ReadStringRegImpl", "reg id unknown");
  }
}

std::uint32_t Device::ReadUint32RegImpl(std::uint32_t id) {
  switch (id) {
    case kStreamSelectorRegister: return selectedStream_;
    case kStreamCountRegister: return dataStreamCount();
    case kStreamingModeRegister: return streamingMode();
    case kRdmaCapableRegister: return rdmaCapable() ? 1 : 0;
    default:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::Device::ReadUint32RegImpl", "reg id unknown");
  }
}

void Device::WriteUint32RegImpl(std::uint32_t id, std::uint32_t value) {
  switch (id) {
    case kStreamSelectorRegister: return setSelectorIndex(value);
    case kStreamingModeRegister: return setStreamingMode(value);
    case kRdmaCapableRegister: return setRdmaCapable(value != 0);
    default:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::Device::WriteUint32RegImpl", "reg id unknown");
  }
}

}  // namespace lumo::mockTL
