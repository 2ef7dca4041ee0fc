// The registers of the system, interface and device modules, read and written through their ports
// as GCReadPort and GCWritePort do, on modules built directly from records.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "module/Port.h"
#include "support/ExpectGenTLError.h"
#include "support/ScopedEnvironment.h"
#include "tree/ConfigurationLoader.h"
#include "tree/Device.h"
#include "tree/Interface.h"
#include "tree/TransportLayer.h"

namespace lumo::mockTL {
namespace {

// Register access through a module's port, as GCReadPort and GCWritePort perform it.
std::uint32_t readUint32(Port& port, std::uint64_t address) {
  std::uint8_t bytes[4] = {};
  std::size_t size = sizeof(bytes);
  port.Read(address, bytes, size);
  return bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (std::uint32_t{bytes[3]} << 24);
}

void writeUint32(Port& port, std::uint64_t address, std::uint32_t value) {
  const std::uint8_t bytes[4] = {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                                 static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
  std::size_t size = sizeof(bytes);
  port.Write(address, bytes, size);
}

// A string register read whole; the text ends at the first zero byte.
std::string readText(Port& port, std::uint64_t address, std::size_t length) {
  std::string bytes(length, '\x7f');
  port.Read(address, bytes.data(), length);
  return bytes.substr(0, bytes.find('\0'));
}

constexpr const char* kNoSuchDevice = "index exceeds device list size. Or no devices in list";

SystemConfiguration twoInterfaces() {
  SystemConfiguration system = ConfigurationLoader::builtIn();
  system.interfaces.push_back(ConfigurationLoader::builtInInterface());
  system.interfaces.back().id = "Second";
  return system;
}

InterfaceConfiguration twoDevices() {
  InterfaceConfiguration record = ConfigurationLoader::builtInInterface();
  record.devices.push_back({"Second", "SN2", "User2", "Display2", "Model2", "Vendor2", "2.0", {}});
  return record;
}

class SystemRegisters : public ::testing::Test {
 protected:
  testing_support::NoConfigurationFile noFile;
  std::shared_ptr<TransportLayer> system = std::make_shared<TransportLayer>(twoInterfaces());
};

TEST_F(SystemRegisters, InterfaceSelectorIsCheckedOnlyWhenTheSelectionIsRead) {
  EXPECT_EQ(readText(*system, 0x3000, 64), "MyInterface0");
  writeUint32(*system, 0x10, 1);
  EXPECT_EQ(readText(*system, 0x3000, 64), "Second");
  EXPECT_EQ(readText(*system, 0x4000, 256), "Second");

  writeUint32(*system, 0x10, 5);
  EXPECT_EQ(readUint32(*system, 0x10), 5u);
  EXPECT_GENTL_ERROR(readText(*system, 0x3000, 64), GC_ERR_INVALID_INDEX, "wrong interface index");
}

TEST_F(SystemRegisters, InterfaceUpdateListIsAcceptedAndChangesNothing) {
  const auto first = system->InterfaceByIndex(0);
  writeUint32(*system, 0x20, 1);
  EXPECT_EQ(system->InterfaceByIndex(0), first);
  EXPECT_EQ(readUint32(*system, 0x0), 2u);
  EXPECT_GENTL_ERROR(readUint32(*system, 0x20), GC_ERR_ACCESS_DENIED,
                     "One or more registers in the requested read range are not readable");
}

constexpr std::uint64_t kDevicesOpen = 0x1500;
constexpr std::uint64_t kDeviceId = 0x2000;
constexpr std::uint64_t kDeviceCount = 0x5500;
constexpr std::uint64_t kDeviceSelector = 0x6000;
constexpr std::uint64_t kDeviceAccessMode = 0x6500;

class InterfaceRegisters : public ::testing::Test {
 protected:
  std::shared_ptr<Interface> iface = std::make_shared<Interface>(nullptr, twoDevices());
};

TEST_F(InterfaceRegisters, UpdateDeviceListBuildsTheListAndAnEmptyOneHasNoSelection) {
  writeUint32(*iface, 0x0, 1);
  EXPECT_EQ(readUint32(*iface, kDeviceCount), 2u);

  const auto empty = std::make_shared<Interface>(nullptr, InterfaceConfiguration{"Empty", {}});
  writeUint32(*empty, 0x0, 1);
  EXPECT_EQ(readUint32(*empty, kDeviceCount), 0u);
  EXPECT_GENTL_ERROR(readText(*empty, kDeviceId, 256), GC_ERR_INVALID_INDEX, kNoSuchDevice);
}

TEST_F(InterfaceRegisters, DeviceSelectorAcceptsTheCountButNotMore) {
  iface->updateDeviceList();
  writeUint32(*iface, kDeviceSelector, 2);
  EXPECT_EQ(readUint32(*iface, kDeviceSelector), 2u);
  EXPECT_GENTL_ERROR(readText(*iface, kDeviceId, 256), GC_ERR_INVALID_INDEX, kNoSuchDevice);
  EXPECT_GENTL_ERROR(writeUint32(*iface, kDeviceSelector, 3), GC_ERR_INVALID_ID, "index is unknown");
  EXPECT_EQ(readUint32(*iface, kDeviceSelector), 2u);
}

TEST_F(InterfaceRegisters, SelectedDeviceRegistersReadItsRecord) {
  iface->updateDeviceList();
  writeUint32(*iface, kDeviceSelector, 1);
  EXPECT_EQ(readText(*iface, kDeviceId, 256), "Second");
  EXPECT_EQ(readText(*iface, 0x3500, 32), "SN2");
  EXPECT_EQ(readText(*iface, 0x4000, 32), "Model2") << "DeviceType repeats the model";
  EXPECT_EQ(readText(*iface, 0x1000, 256), "MyInterface0") << "the display name is the id";
}

TEST_F(InterfaceRegisters, AccessModeAndOpenCountFollowTheDevices) {
  iface->updateDeviceList();
  writeUint32(*iface, kDeviceSelector, 1);
  EXPECT_EQ(readUint32(*iface, kDeviceAccessMode), std::uint32_t{DEVICE_ACCESS_STATUS_READWRITE});
  EXPECT_EQ(readUint32(*iface, kDevicesOpen), 0u);
  iface->openDevice("Second", DEVICE_ACCESS_EXCLUSIVE);
  EXPECT_EQ(readUint32(*iface, kDeviceAccessMode), std::uint32_t{DEVICE_ACCESS_STATUS_OPEN_READWRITE});
  EXPECT_EQ(readUint32(*iface, kDevicesOpen), 1u);
  iface->close();
  EXPECT_EQ(readUint32(*iface, kDevicesOpen), 0u) << "closing the interface closes its devices";
}

constexpr std::uint64_t kStreamSelector = 0x0;
constexpr std::uint64_t kRdmaCapable = 0x508;
constexpr std::uint64_t kStreamId = 0x4500;

class DeviceRegisters : public ::testing::Test {
 protected:
  std::shared_ptr<Device> device = Device::create(nullptr, ConfigurationLoader::builtInDevice());
};

TEST_F(DeviceRegisters, StreamSelectorAcceptsTheCountButNotMore) {
  EXPECT_EQ(readUint32(*device, 0x500), 4u);
  writeUint32(*device, kStreamSelector, 3);
  EXPECT_EQ(readText(*device, kStreamId, 64), "MyStream3");
  EXPECT_EQ(readText(*device, 0x5000, 256), "MyStream3") << "the display name repeats the id";

  writeUint32(*device, kStreamSelector, 4);
  EXPECT_GENTL_ERROR(readText(*device, kStreamId, 64), GC_ERR_INVALID_INDEX, "index exceeds datastream map");
  EXPECT_GENTL_ERROR(writeUint32(*device, kStreamSelector, 5), GC_ERR_INVALID_INDEX,
                     "index for selector too large or below 0");
  EXPECT_EQ(readUint32(*device, kStreamSelector), 4u);
}

TEST_F(DeviceRegisters, RdmaCapableReadsBackAsZeroOrOne) {
  EXPECT_EQ(readUint32(*device, kRdmaCapable), 1u);
  writeUint32(*device, kRdmaCapable, 0);
  EXPECT_EQ(readUint32(*device, kRdmaCapable), 0u);
  writeUint32(*device, kRdmaCapable, 5);
  EXPECT_EQ(readUint32(*device, kRdmaCapable), 1u);
  EXPECT_TRUE(device->rdmaCapable());
}

TEST_F(DeviceRegisters, RecordTextsAreServedEachFromItsOwnField) {
  DeviceConfiguration record{"Id", "Serial", "User", "Display", "Model", "Vendor", "Version", {}};
  const auto named = Device::create(nullptr, record);
  EXPECT_EQ(readText(*named, 0x1000, 64), "Id");
  EXPECT_EQ(readText(*named, 0x1500, 64), "Vendor");
  EXPECT_EQ(readText(*named, 0x2000, 64), "Model");
  EXPECT_EQ(readText(*named, 0x2500, 64), "Serial");
  EXPECT_EQ(readText(*named, 0x3000, 64), "Version");
  EXPECT_EQ(readText(*named, 0x3500, 64), "User");
  EXPECT_EQ(readText(*named, 0x4000, 256), "Display");
  INFO_DATATYPE type = 0;
  char text[16] = {};
  std::size_t size = sizeof(text);
  named->getInfo(DEVICE_INFO_USER_DEFINED_NAME, type, text, size);
  EXPECT_STREQ(text, "User");
}

}  // namespace
}  // namespace lumo::mockTL
