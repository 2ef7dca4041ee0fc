// Drives the system, interface and device exports of the built LmMockTL.cti through whole consumer
// sessions.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/ConsumerSession.h"

namespace {

using testing_support::askInfo;
using testing_support::askText;
using testing_support::bytesOf;
using testing_support::ConsumerSession;
using testing_support::ScopedVariable;
using testing_support::TemporaryDirectory;

class ModuleTree : public ConsumerSession {
 protected:
  // What a consumer enumerates: the count, then every id by index.
  template <class Count, class Id>
  std::vector<std::string> enumerate(Count count, Id id) {
    uint32_t total = 0;
    EXPECT_EQ(count(&total), GC_ERR_SUCCESS);
    std::vector<std::string> ids;
    for (uint32_t i = 0; i < total; ++i) {
      ids.push_back(askText([&](char* text, size_t* size) { return id(i, text, size); }));
    }
    return ids;
  }
  std::vector<std::string> interfaceIds(TL_HANDLE system) {
    return enumerate(
        [&](uint32_t* total) { return gentl.TLGetNumInterfaces(system, total); },
        [&](uint32_t i, char* text, size_t* size) { return gentl.TLGetInterfaceID(system, i, text, size); });
  }
  std::vector<std::string> deviceIds(IF_HANDLE iface) {
    return enumerate([&](uint32_t* total) { return gentl.IFGetNumDevices(iface, total); },
                     [&](uint32_t i, char* text, size_t* size) { return gentl.IFGetDeviceID(iface, i, text, size); });
  }
  std::vector<std::string> streamIds(DEV_HANDLE device) {
    return enumerate(
        [&](uint32_t* total) { return gentl.DevGetNumDataStreams(device, total); },
        [&](uint32_t i, char* text, size_t* size) { return gentl.DevGetDataStreamID(device, i, text, size); });
  }
  int32_t accessStatus(DEV_HANDLE device) {
    int32_t status = -1;
    INFO_DATATYPE type = 0;
    size_t size = sizeof(status);
    EXPECT_EQ(gentl.DevGetInfo(device, DEVICE_INFO_ACCESS_STATUS, &type, &status, &size), GC_ERR_SUCCESS);
    return status;
  }
};

TEST_F(ModuleTree, ConsumerEnumeratesOpensAndClosesTheBuiltInTree) {
  const TL_HANDLE system = openSystem();
  bool8_t changed = 1;
  EXPECT_EQ(gentl.TLUpdateInterfaceList(system, &changed, 1000), GC_ERR_SUCCESS);
  EXPECT_EQ(changed, 0);
  ASSERT_EQ(interfaceIds(system), std::vector<std::string>{"MyInterface0"});

  const IF_HANDLE iface = openInterface(system);
  EXPECT_EQ(gentl.IFUpdateDeviceList(iface, &changed, 1000), GC_ERR_SUCCESS);
  EXPECT_EQ(changed, 1);
  ASSERT_EQ(deviceIds(iface), std::vector<std::string>{"MyDevice0"});

  const DEV_HANDLE device = openDevice(iface);
  EXPECT_EQ(accessStatus(device), DEVICE_ACCESS_STATUS_OPEN_READWRITE);
  EXPECT_EQ(streamIds(device), (std::vector<std::string>{"MyStream0", "MyStream1", "MyStream2", "MyStream3"}));
  const DS_HANDLE stream = openStream(device, "MyStream2");
  EXPECT_NE(stream, nullptr);

  IF_HANDLE parentInterface = nullptr;
  EXPECT_EQ(gentl.DevGetParentIF(device, &parentInterface), GC_ERR_SUCCESS);
  EXPECT_EQ(parentInterface, iface);
  TL_HANDLE parentSystem = nullptr;
  EXPECT_EQ(gentl.IFGetParentTL(iface, &parentSystem), GC_ERR_SUCCESS);
  EXPECT_EQ(parentSystem, system);

  EXPECT_EQ(gentl.DevClose(device), GC_ERR_SUCCESS);
  EXPECT_EQ(accessStatus(device), DEVICE_ACCESS_STATUS_READWRITE);
  EXPECT_EQ(gentl.IFClose(iface), GC_ERR_SUCCESS);
  EXPECT_EQ(gentl.TLClose(system), GC_ERR_SUCCESS);
}

TEST_F(ModuleTree, ReopeningTheSystemOrAnInterfaceKeepsTheSameObjects) {
  const TL_HANDLE system = openSystem();
  TL_HANDLE again = nullptr;
  EXPECT_EQ(gentl.TLOpen(&again), GC_ERR_RESOURCE_IN_USE);
  const IF_HANDLE iface = openInterface(system);
  IF_HANDLE ifaceAgain = nullptr;
  EXPECT_EQ(gentl.TLOpenInterface(system, "MyInterface0", &ifaceAgain), GC_ERR_RESOURCE_IN_USE);
  EXPECT_EQ(ifaceAgain, iface) << "an open interface is still handed out";
  ASSERT_EQ(gentl.TLClose(system), GC_ERR_SUCCESS);

  uint32_t count = 0;
  EXPECT_EQ(gentl.TLGetNumInterfaces(system, &count), GC_ERR_SUCCESS) << "the closed system still counts";
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(openSystem(), system);
  EXPECT_EQ(openInterface(system), iface) << "TLClose closed the interface, so it opens again";
}

TEST_F(ModuleTree, ClosingTheSystemClosesItsInterfacesAndTheirDevices) {
  const TL_HANDLE system = openSystem();
  const IF_HANDLE iface = openInterface(system);
  const DEV_HANDLE device = openDevice(iface);
  ASSERT_EQ(gentl.TLClose(system), GC_ERR_SUCCESS);

  EXPECT_EQ(accessStatus(device), DEVICE_ACCESS_STATUS_READWRITE);
  DS_HANDLE stream = nullptr;
  EXPECT_EQ(gentl.DevOpenDataStream(device, "MyStream0", &stream), GC_ERR_INVALID_HANDLE);
  IF_HANDLE parent = nullptr;
  EXPECT_EQ(gentl.DevGetParentIF(device, &parent), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(openDevice(iface), device) << "a closed device opens again";
}

TEST_F(ModuleTree, CloseLibWithOpenModulesLeavesTheirHandlesUnknown) {
  const TL_HANDLE system = openSystem();
  const IF_HANDLE iface = openInterface(system);
  const DEV_HANDLE device = openDevice(iface);
  openStream(device);
  ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
  ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);

  // Nothing is built between the close and these calls, so no new module can sit at an old address.
  EXPECT_EQ(gentl.TLClose(system), GC_ERR_INVALID_HANDLE);
  INFO_DATATYPE type = 0;
  size_t size = 0;
  EXPECT_EQ(gentl.IFGetInfo(iface, INTERFACE_INFO_ID, &type, nullptr, &size), GC_ERR_INVALID_HANDLE);
  expectLastError(GC_ERR_INVALID_HANDLE, "invalid handle (pool)");
  EXPECT_EQ(gentl.DevGetInfo(device, DEVICE_INFO_ID, &type, nullptr, &size), GC_ERR_INVALID_HANDLE);
  expectLastError(GC_ERR_INVALID_HANDLE, "unknown handle. devgetinfo.");
  uint32_t count = 0;
  EXPECT_EQ(gentl.TLGetNumInterfaces(system, &count), GC_ERR_NOT_INITIALIZED);
  expectLastError(GC_ERR_NOT_INITIALIZED, "tl not yet opened");
}

TEST_F(ModuleTree, DeviceListIsBuiltOnceAndKeepsItsHandles) {
  const IF_HANDLE iface = openInterface(openSystem());
  uint32_t count = 7;
  EXPECT_EQ(gentl.IFGetNumDevices(iface, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 0u) << "devices appear with the first update";

  bool8_t changed = 0;
  ASSERT_EQ(gentl.IFUpdateDeviceList(iface, &changed, 0), GC_ERR_SUCCESS);
  const DEV_HANDLE device = openDevice(iface);
  ASSERT_EQ(gentl.DevClose(device), GC_ERR_SUCCESS);
  ASSERT_EQ(gentl.IFUpdateDeviceList(iface, &changed, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(changed, 0);
  EXPECT_EQ(openDevice(iface), device);
}

TEST_F(ModuleTree, OpeningAnUnlistedDeviceRunsTheUpdateItself) {
  const IF_HANDLE iface = openInterface(openSystem());
  EXPECT_NE(openDevice(iface), nullptr);
  EXPECT_EQ(deviceIds(iface), std::vector<std::string>{"MyDevice0"});
}

TEST_F(ModuleTree, StringAnswersNeedRoomForTheirTerminatingZero) {
  const TL_HANDLE system = openSystem();
  const DEV_HANDLE device = openDevice(openInterface(system));

  char text[16] = {};
  size_t size = std::strlen("MyInterface0");
  EXPECT_EQ(gentl.TLGetInterfaceID(system, 0, text, &size), GC_ERR_BUFFER_TOO_SMALL);
  size = std::strlen("MyStream0");
  EXPECT_EQ(gentl.DevGetDataStreamID(device, 0, text, &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(producer.lastError().second.find("buffer too small:lumo::mockTL::DataStream::getInfo:"), 0u);
  size = std::strlen("MyStream0") + 1;
  EXPECT_EQ(gentl.DevGetDataStreamID(device, 0, text, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(text, "MyStream0");

  INFO_DATATYPE type = 0;
  size = 3;
  EXPECT_EQ(gentl.GCGetInfo(TL_INFO_VERSION, &type, text, &size), GC_ERR_BUFFER_TOO_SMALL);
  expectLastError(GC_ERR_BUFFER_TOO_SMALL, "buffer smaller than needed size and pBuffer not zero");
}

TEST_F(ModuleTree, ConfigurationFileShapesTheTree) {
  TemporaryDirectory directory;
  const auto file = directory.write("tree.json", R"({
    "Interfaces": [
      {"ID": "Left", "Devices": [
        {"ID": "Cam", "Model": "Bench Camera", "Streams": [
          {"ID": "S1"}, {"ID": "S2"}, {"ID": "S3"}, {"ID": "S4"}, {"ID": "S5"}, {"ID": "S6"}]},
        {"ID": "Blind"}]},
      {"ID": "Right"}]})");
  ScopedVariable config("LMMOCKTL_CONFIG", file.string());

  const TL_HANDLE system = openSystem();
  EXPECT_EQ(interfaceIds(system), (std::vector<std::string>{"Left", "Right"}));
  const IF_HANDLE left = openInterface(system, "Left");
  ASSERT_EQ(gentl.IFUpdateDeviceList(left, nullptr, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(deviceIds(left), (std::vector<std::string>{"Cam", "Blind"}));
  EXPECT_EQ(streamIds(openDevice(left, "Cam")), (std::vector<std::string>{"S1", "S2", "S3", "S4"}));
  EXPECT_TRUE(streamIds(openDevice(left, "Blind")).empty());

  const auto model = askInfo([&](INFO_DATATYPE* type, void* buffer, size_t* size) {
    return gentl.IFGetDeviceInfo(left, "Cam", DEVICE_INFO_MODEL, type, buffer, size);
  });
  EXPECT_EQ(model.bytes, std::string("Bench Camera") + '\0');
  const IF_HANDLE right = openInterface(system, "Right");
  ASSERT_EQ(gentl.IFUpdateDeviceList(right, nullptr, 0), GC_ERR_SUCCESS);
  EXPECT_TRUE(deviceIds(right).empty());
}

TEST_F(ModuleTree, ConcurrentConsumersShareOneTree) {
  const TL_HANDLE system = openSystem();
  const IF_HANDLE iface = openInterface(system);
  std::atomic<int> opened{0};
  std::vector<std::thread> consumers;
  for (int t = 0; t < 4; ++t) {
    consumers.emplace_back([&] {
      // All threads race for the first update; exactly one list may come of it.
      EXPECT_EQ(gentl.IFUpdateDeviceList(iface, nullptr, 0), GC_ERR_SUCCESS);
      for (int i = 0; i < 50; ++i) {
        DEV_HANDLE device = nullptr;
        if (gentl.IFOpenDevice(iface, "MyDevice0", DEVICE_ACCESS_EXCLUSIVE, &device) == GC_ERR_SUCCESS) {
          ++opened;
          uint32_t streams = 0;
          EXPECT_EQ(gentl.DevGetNumDataStreams(device, &streams), GC_ERR_SUCCESS);
          EXPECT_EQ(gentl.DevClose(device), GC_ERR_SUCCESS);
        }
        uint32_t count = 0;
        EXPECT_EQ(gentl.IFGetNumDevices(iface, &count), GC_ERR_SUCCESS);
        EXPECT_EQ(count, 1u);
        INFO_DATATYPE type = 0;
        size_t size = 0;
        EXPECT_EQ(gentl.IFGetDeviceInfo(iface, "MyDevice0", DEVICE_INFO_ACCESS_STATUS, &type, nullptr, &size),
                  GC_ERR_SUCCESS);
      }
    });
  }
  for (auto& consumer : consumers) consumer.join();
  EXPECT_GT(opened.load(), 0);
  EXPECT_EQ(deviceIds(iface), std::vector<std::string>{"MyDevice0"});
}

// --- Info queries: every command, as a consumer reads them (size, then value), asked of the parent
// (the library for the system) and of the open module itself. ---

enum class Level { System, Interface, Device };

struct TreeInfo {
  const char* name;
  Level level;
  int32_t command;
  INFO_DATATYPE type;
  std::string bytes;  // empty for the producer's own path, known only at run time
};

std::string text(const char* value) { return std::string(value) + '\0'; }
std::string producerPath() { return std::filesystem::canonical(LMMOCKTL_CTI_PATH).string(); }

class TreeInfoTest : public ModuleTree, public ::testing::WithParamInterface<TreeInfo> {};

TEST_P(TreeInfoTest, ParentAndModuleAnswerAlike) {
  const TreeInfo& c = GetParam();
  const int32_t command = c.command;
  testing_support::InfoAnswer byParent, byModule;
  if (c.level == Level::System) {
    byParent = askInfo(
        [&](INFO_DATATYPE* type, void* buffer, size_t* size) { return gentl.GCGetInfo(command, type, buffer, size); });
    const TL_HANDLE system = openSystem();
    byModule = askInfo([&](INFO_DATATYPE* type, void* buffer, size_t* size) {
      return gentl.TLGetInfo(system, command, type, buffer, size);
    });
  } else if (c.level == Level::Interface) {
    const TL_HANDLE system = openSystem();
    byParent = askInfo([&](INFO_DATATYPE* type, void* buffer, size_t* size) {
      return gentl.TLGetInterfaceInfo(system, "MyInterface0", command, type, buffer, size);
    });
    const IF_HANDLE iface = openInterface(system);
    byModule = askInfo([&](INFO_DATATYPE* type, void* buffer, size_t* size) {
      return gentl.IFGetInfo(iface, command, type, buffer, size);
    });
  } else {
    const IF_HANDLE iface = openInterface(openSystem());
    ASSERT_EQ(gentl.IFUpdateDeviceList(iface, nullptr, 0), GC_ERR_SUCCESS);
    byParent = askInfo([&](INFO_DATATYPE* type, void* buffer, size_t* size) {
      return gentl.IFGetDeviceInfo(iface, "MyDevice0", command, type, buffer, size);
    });
    const DEV_HANDLE device = openDevice(iface);
    byModule = askInfo([&](INFO_DATATYPE* type, void* buffer, size_t* size) {
      return gentl.DevGetInfo(device, command, type, buffer, size);
    });
  }
  const std::string bytes = c.bytes.empty() ? text(producerPath().c_str()) : c.bytes;
  for (const auto& answer : {byParent, byModule}) {
    EXPECT_EQ(answer.code, GC_ERR_SUCCESS);
    EXPECT_EQ(answer.type, c.type);
  }
  // The interface asks before the device is open, so it reads the access status before the open.
  const bool accessStatus = c.level == Level::Device && command == DEVICE_INFO_ACCESS_STATUS;
  EXPECT_EQ(byParent.bytes, accessStatus ? bytesOf(int32_t{DEVICE_ACCESS_STATUS_READWRITE}) : bytes);
  EXPECT_EQ(byModule.bytes, bytes);
}

constexpr INFO_DATATYPE kString = INFO_DATATYPE_STRING;

INSTANTIATE_TEST_SUITE_P(
    EveryCommand, TreeInfoTest,
    ::testing::Values(
        TreeInfo{"SystemId", Level::System, TL_INFO_ID, kString, text("LmMockTL.cti")},
        TreeInfo{"SystemVendor", Level::System, TL_INFO_VENDOR, kString, text("KORVANE IMAGING")},
        TreeInfo{"SystemModel", Level::System, TL_INFO_MODEL, kString, text("LmMockTL.cti")},
        TreeInfo{"SystemVersion", Level::System, TL_INFO_VERSION, kString, text("1.1")},
        TreeInfo{"SystemTLType", Level::System, TL_INFO_TLTYPE, kString, text("Custom")},
        TreeInfo{"SystemName", Level::System, TL_INFO_NAME, kString, text("LmMockTL.cti")},
        TreeInfo{"SystemPathName", Level::System, TL_INFO_PATHNAME, kString, ""},
        TreeInfo{"SystemDisplayName", Level::System, TL_INFO_DISPLAYNAME, kString, text("LmMockTL.cti")},
        TreeInfo{"SystemCharEncoding", Level::System, TL_INFO_CHAR_ENCODING, INFO_DATATYPE_INT32, bytesOf(int32_t{1})},
        TreeInfo{"SystemGenTLMajor", Level::System, TL_INFO_GENTL_VER_MAJOR, INFO_DATATYPE_UINT32,
                 bytesOf(uint32_t{1})},
        TreeInfo{"SystemGenTLMinor", Level::System, TL_INFO_GENTL_VER_MINOR, INFO_DATATYPE_UINT32,
                 bytesOf(uint32_t{6})},
        TreeInfo{"InterfaceId", Level::Interface, INTERFACE_INFO_ID, kString, text("MyInterface0")},
        TreeInfo{"InterfaceDisplayName", Level::Interface, INTERFACE_INFO_DISPLAYNAME, kString, text("MyInterface0")},
        TreeInfo{"InterfaceTLType", Level::Interface, INTERFACE_INFO_TLTYPE, kString, text("Custom")},
        TreeInfo{"DeviceId", Level::Device, DEVICE_INFO_ID, kString, text("MyDevice0")},
        TreeInfo{"DeviceVendor", Level::Device, DEVICE_INFO_VENDOR, kString, text("KORVANE IMAGING")},
        TreeInfo{"DeviceModel", Level::Device, DEVICE_INFO_MODEL, kString, text("Mock Camera (Default)")},
        TreeInfo{"DeviceTLType", Level::Device, DEVICE_INFO_TLTYPE, kString, text("Custom")},
        TreeInfo{"DeviceDisplayName", Level::Device, DEVICE_INFO_DISPLAYNAME, kString, text("MyDevice0")},
        TreeInfo{"DeviceAccessStatus", Level::Device, DEVICE_INFO_ACCESS_STATUS, INFO_DATATYPE_INT32,
                 bytesOf(int32_t{DEVICE_ACCESS_STATUS_OPEN_READWRITE})},
        TreeInfo{"DeviceUserDefinedName", Level::Device, DEVICE_INFO_USER_DEFINED_NAME, kString, text("MyDevice0")},
        TreeInfo{"DeviceSerialNumber", Level::Device, DEVICE_INFO_SERIAL_NUMBER, kString, text("MyDevice0")},
        TreeInfo{"DeviceVersion", Level::Device, DEVICE_INFO_VERSION, kString, text("1.0")},
        TreeInfo{"DeviceTimestampFrequency", Level::Device, DEVICE_INFO_TIMESTAMP_FREQUENCY, INFO_DATATYPE_UINT64,
                 bytesOf(uint64_t{1000000})}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(ModuleTree, SystemInfoRefusesCustomAndUnknownCommands) {
  INFO_DATATYPE type = 0;
  size_t size = 0;
  EXPECT_EQ(gentl.GCGetInfo(TL_INFO_CUSTOM_ID, &type, nullptr, &size), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(type, INFO_DATATYPE_CUSTOM_ID);
  expectLastError(GC_ERR_NOT_IMPLEMENTED, "Custom ids are not implemented");
  EXPECT_EQ(gentl.GCGetInfo(11, &type, nullptr, &size), GC_ERR_NOT_AVAILABLE);
  expectLastError(GC_ERR_NOT_AVAILABLE, "info not available");
}

}  // namespace
