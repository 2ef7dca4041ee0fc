// The interface module on its own: its one-shot device list, the device selector and the
// registers that read the selected device.
#include <gtest/gtest.h>

#include "support/ExpectGenTLError.h"
#include "support/PortAccess.h"
#include "tree/ConfigurationLoader.h"
#include "tree/Device.h"
#include "tree/Interface.h"

namespace lumo::mockTL {
namespace {

using testing_support::readText;
using testing_support::readUint32;
using testing_support::writeUint32;

InterfaceConfiguration twoDevices() {
  InterfaceConfiguration record = ConfigurationLoader::builtInInterface();
  DeviceConfiguration second = ConfigurationLoader::builtInDevice();
  second.id = "Second";
  second.vendor = "Vendor2";
  second.model = "Model2";
  second.serialNumber = "SN2";
  second.userName = "User2";
  second.displayName = "Display2";
  record.devices.push_back(second);
  return record;
}

constexpr std::uint64_t kUpdateDeviceList = 0x0;
constexpr std::uint64_t kDevicesOpen = 0x1500;
constexpr std::uint64_t kDeviceId = 0x2000;
constexpr std::uint64_t kDeviceCount = 0x5500;
constexpr std::uint64_t kDeviceSelector = 0x6000;
constexpr std::uint64_t kDeviceAccessMode = 0x6500;

class InterfaceTest : public ::testing::Test {
 protected:
  std::shared_ptr<Interface> iface = std::make_shared<Interface>(nullptr, twoDevices());
};

TEST_F(InterfaceTest, DeviceListIsBuiltOnceAndNeverRebuilt) {
  EXPECT_EQ(iface->deviceCount(), 0u);
  iface->updateDeviceList();
  ASSERT_EQ(iface->deviceCount(), 2u);
  const auto first = iface->getDevice(0);
  iface->updateDeviceList();
  EXPECT_EQ(iface->deviceCount(), 2u);
  EXPECT_EQ(iface->getDevice(0), first);
  EXPECT_EQ(iface->findDevice("Second"), iface->getDevice(1));
  EXPECT_EQ(iface->findDevice("Secon"), nullptr);
}

TEST_F(InterfaceTest, UpdateDeviceListRegisterBuildsTheList) {
  writeUint32(*iface, kUpdateDeviceList, 1);
  EXPECT_EQ(readUint32(*iface, kDeviceCount), 2u);
}

TEST_F(InterfaceTest, InterfaceWithoutDeviceRecordsStaysEmpty) {
  const auto empty = std::make_shared<Interface>(nullptr, InterfaceConfiguration{"Empty", {}});
  empty->updateDeviceList();
  empty->updateDeviceList();
  EXPECT_EQ(empty->deviceCount(), 0u);
  EXPECT_GENTL_ERROR(empty->getDevice(0), GC_ERR_INVALID_INDEX,
                     "index exceeds device list size. Or no devices in list");
  EXPECT_GENTL_ERROR(readText(*empty, kDeviceId, 256), GC_ERR_INVALID_INDEX,
                     "index exceeds device list size. Or no devices in list");
}

TEST_F(InterfaceTest, DeviceSelectorAcceptsTheCountButNotMore) {
  iface->updateDeviceList();
  writeUint32(*iface, kDeviceSelector, 2);
  EXPECT_EQ(readUint32(*iface, kDeviceSelector), 2u);
  EXPECT_GENTL_ERROR(readText(*iface, kDeviceId, 256), GC_ERR_INVALID_INDEX,
                     "index exceeds device list size. Or no devices in list");
  EXPECT_GENTL_ERROR(writeUint32(*iface, kDeviceSelector, 3), GC_ERR_INVALID_ID, "index is unknown");
  EXPECT_EQ(readUint32(*iface, kDeviceSelector), 2u);
}

TEST_F(InterfaceTest, SelectedDeviceRegistersReadItsRecord) {
  iface->updateDeviceList();
  writeUint32(*iface, kDeviceSelector, 1);
  EXPECT_EQ(readText(*iface, kDeviceId, 256), "Second");
  EXPECT_EQ(readText(*iface, 0x2500, 64), "Vendor2");
  EXPECT_EQ(readText(*iface, 0x3000, 64), "Model2");
  EXPECT_EQ(readText(*iface, 0x3500, 32), "SN2");
  EXPECT_EQ(readText(*iface, 0x4000, 32), "Model2") << "DeviceType repeats the model";
  EXPECT_EQ(readText(*iface, 0x4500, 32), "User2");
  EXPECT_EQ(readText(*iface, 0x5000, 256), "Display2");
  EXPECT_EQ(readText(*iface, 0x500, 256), "MyInterface0");
  EXPECT_EQ(readText(*iface, 0x1000, 256), "MyInterface0") << "the display name is the id";
}

TEST_F(InterfaceTest, AccessModeAndOpenCountFollowTheDevices) {
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

TEST_F(InterfaceTest, OpeningAnUnknownDeviceUpdatesTheListFirst) {
  EXPECT_GENTL_ERROR(iface->openDevice("Third", DEVICE_ACCESS_EXCLUSIVE), GC_ERR_INVALID_ID, "device unknown");
  EXPECT_EQ(iface->deviceCount(), 2u);
}

}  // namespace
}  // namespace lumo::mockTL
