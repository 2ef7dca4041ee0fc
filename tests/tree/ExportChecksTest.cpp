// The argument checks of the system, interface and device exports: each refused argument with its
// code and message, as a consumer meets them through the built LmMockTL.cti.
#include <gtest/gtest.h>

#include <string>

#include "support/ConsumerSession.h"
#include "support/ExportCheckTable.h"

namespace {

using testing_support::ConsumerSession;
using testing_support::GenTLExports;
using testing_support::kHandle;
using testing_support::kParameter;
using testing_support::kUnknown;

// The open tree the calls run against: MyInterface0, MyDevice0 and its MyStream0, all open.
struct Handles {
  TL_HANDLE system;
  IF_HANDLE iface;
  DEV_HANDLE device;
  DS_HANDLE stream;
};

// Output places for the calls.
struct Scratch {
  INFO_DATATYPE type = 0;
  size_t size = 64;
  char text[64] = {};
  uint32_t count = 0;
  bool8_t changed = 0;
  TL_HANDLE system = nullptr;
  IF_HANDLE iface = nullptr;
  DEV_HANDLE device = nullptr;
  DS_HANDLE stream = nullptr;
  PORT_HANDLE port = nullptr;
};

using CheckCase = testing_support::ExportCheck<Handles, Scratch>;

constexpr GC_ERROR kId = GC_ERR_INVALID_ID;

class ExportChecks : public ConsumerSession, public ::testing::WithParamInterface<CheckCase> {
 protected:
  void SetUp() override {
    // Before GCInitLib every export refuses as not initialised, except TLClose and TLGetInfo,
    // which look at their handle first. The text is unreadable then: GCGetLastError refuses too.
    const std::string name = GetParam().name;
    const bool handleFirst = name.starts_with("TLClose") || name.starts_with("TLGetInfo");
    Scratch scratch;
    EXPECT_EQ(GetParam().call(gentl, Handles{}, scratch), handleFirst ? kHandle : GC_ERR_NOT_INITIALIZED);
    ConsumerSession::SetUp();
    handles.system = openSystem();
    handles.iface = openInterface(handles.system);
    handles.device = openDevice(handles.iface);
    handles.stream = openStream(handles.device);
  }

  Handles handles{};
};

TEST_P(ExportChecks, RefuseWithTheirCodeAndMessage) {
  Scratch scratch;
  EXPECT_EQ(GetParam().call(gentl, handles, scratch), GetParam().code);
  expectLastError(GetParam().code, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    System, ExportChecks,
    ::testing::Values(
        CHECK_CASE("TLOpenNullOutput", kParameter, "phTL is <= 0", gentl.TLOpen(nullptr)),
        CHECK_CASE("TLOpenTwice", GC_ERR_RESOURCE_IN_USE, "tl already opened", gentl.TLOpen(&s.system)),
        CHECK_CASE("TLCloseNull", kHandle, "invalid handle", gentl.TLClose(nullptr)),
        CHECK_CASE("TLCloseUnknown", kHandle, "unknown handle. tlclose.", gentl.TLClose(kUnknown)),
        CHECK_CASE("TLCloseInterfaceHandle", kHandle, "given handle is not a tl/system handle", gentl.TLClose(h.iface)),
        CHECK_CASE("TLGetInfoNull", kHandle, "TLGetInfo invalid tl handle",
                   gentl.TLGetInfo(nullptr, TL_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("TLGetInfoNotTheSystem", kHandle, "TLGetInfo invalid tl handle. unequal to singleton",
                   gentl.TLGetInfo(h.iface, TL_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("TLGetInfoNullSize", kParameter, "piSize<=0",
                   gentl.TLGetInfo(h.system, TL_INFO_ID, &s.type, nullptr, nullptr)),
        CHECK_CASE("TLGetInfoNullType", kParameter, "piType<=0",
                   gentl.TLGetInfo(h.system, TL_INFO_ID, nullptr, nullptr, &s.size)),
        CHECK_CASE("TLGetNumInterfacesNull", kHandle, "invalid tl handle", gentl.TLGetNumInterfaces(nullptr, &s.count)),
        CHECK_CASE("TLGetNumInterfacesNotTheSystem", kHandle, "invalid tl handle (unequal)",
                   gentl.TLGetNumInterfaces(h.device, &s.count)),
        CHECK_CASE("TLGetNumInterfacesNullOutput", kParameter, "piNumIfaces<=0",
                   gentl.TLGetNumInterfaces(h.system, nullptr)),
        CHECK_CASE("TLGetInterfaceIDNull", kHandle, "invalid tl handle",
                   gentl.TLGetInterfaceID(nullptr, 0, s.text, &s.size)),
        CHECK_CASE("TLGetInterfaceIDUnknown", kHandle, "invalid tl handle 2.",
                   gentl.TLGetInterfaceID(kUnknown, 0, s.text, &s.size)),
        CHECK_CASE("TLGetInterfaceIDDeviceHandle", kHandle, "invalid tl handle 2.",
                   gentl.TLGetInterfaceID(h.device, 0, s.text, &s.size)),
        CHECK_CASE("TLGetInterfaceIDNullSize", kParameter, "piSize <= 0",
                   gentl.TLGetInterfaceID(h.system, 0, s.text, nullptr)),
        CHECK_CASE("TLGetInterfaceIDIndexAtCount", GC_ERR_INVALID_INDEX, "wrong interface index",
                   gentl.TLGetInterfaceID(h.system, 1, s.text, &s.size)),
        CHECK_CASE("TLGetInterfaceInfoNull", kHandle, "invalid tl handle",
                   gentl.TLGetInterfaceInfo(nullptr, "MyInterface0", INTERFACE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("TLGetInterfaceInfoNullId", kId, "sifaceid <= 0",
                   gentl.TLGetInterfaceInfo(h.system, nullptr, INTERFACE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("TLGetInterfaceInfoEmptyId", kId, "sifaceid is empty string",
                   gentl.TLGetInterfaceInfo(h.system, "", INTERFACE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("TLGetInterfaceInfoUnknown", kHandle, "invalid handle (pool)",
                   gentl.TLGetInterfaceInfo(kUnknown, "MyInterface0", INTERFACE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("TLGetInterfaceInfoInterfaceHandle", kHandle, "invalid tl handle after cast",
                   gentl.TLGetInterfaceInfo(h.iface, "MyInterface0", INTERFACE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("TLGetInterfaceInfoUnknownId", kId, "unknown iface id",
                   gentl.TLGetInterfaceInfo(h.system, "Nope", INTERFACE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("TLGetInterfaceInfoNullType", kParameter, "piType <= 0",
                   gentl.TLGetInterfaceInfo(h.system, "MyInterface0", INTERFACE_INFO_ID, nullptr, nullptr, &s.size)),
        CHECK_CASE("TLGetInterfaceInfoNullSize", kParameter, "piSize <= 0",
                   gentl.TLGetInterfaceInfo(h.system, "MyInterface0", INTERFACE_INFO_ID, &s.type, nullptr, nullptr)),
        CHECK_CASE("TLOpenInterfaceNull", kHandle, "hTL is zero or invalid",
                   gentl.TLOpenInterface(nullptr, "MyInterface0", &s.iface)),
        CHECK_CASE("TLOpenInterfaceUnknown", kHandle, "invalid handle (pool)",
                   gentl.TLOpenInterface(kUnknown, "MyInterface0", &s.iface)),
        CHECK_CASE("TLOpenInterfaceDeviceHandle", kHandle, "invalid tl handle after cast",
                   gentl.TLOpenInterface(h.device, "MyInterface0", &s.iface)),
        CHECK_CASE("TLOpenInterfaceNullId", kParameter, "invalid sIfaceID pointer",
                   gentl.TLOpenInterface(h.system, nullptr, &s.iface)),
        CHECK_CASE("TLOpenInterfaceEmptyId", kId, "sIfaceID is empty string",
                   gentl.TLOpenInterface(h.system, "", &s.iface)),
        CHECK_CASE("TLOpenInterfaceUnknownId", kId, "sIfaceID is invalid",
                   gentl.TLOpenInterface(h.system, "Nope", &s.iface)),
        CHECK_CASE("TLOpenInterfaceNullOutput", kHandle, "invalid phIface pointer",
                   gentl.TLOpenInterface(h.system, "MyInterface0", nullptr)),
        CHECK_CASE("TLOpenInterfaceTwice", GC_ERR_RESOURCE_IN_USE, "iface already open",
                   gentl.TLOpenInterface(h.system, "MyInterface0", &s.iface)),
        CHECK_CASE("TLUpdateInterfaceListNull", kHandle, "tlupdateinterfacelist null value handle",
                   gentl.TLUpdateInterfaceList(nullptr, &s.changed, 0)),
        CHECK_CASE("TLUpdateInterfaceListUnknown", kHandle, "invalid handle (pool)",
                   gentl.TLUpdateInterfaceList(kUnknown, &s.changed, 0)),
        CHECK_CASE("TLUpdateInterfaceListNotTheSystem", kHandle, "unknown tl handle",
                   gentl.TLUpdateInterfaceList(h.iface, &s.changed, 0)),
        CHECK_CASE("GCGetInfoNullType", kParameter, "piType <= 0",
                   gentl.GCGetInfo(TL_INFO_ID, nullptr, nullptr, &s.size)),
        CHECK_CASE("GCGetInfoNullSize", kParameter, "piSize < = 0",
                   gentl.GCGetInfo(TL_INFO_ID, &s.type, nullptr, nullptr))),
    testing_support::checkName);

INSTANTIATE_TEST_SUITE_P(
    Interface, ExportChecks,
    ::testing::Values(
        CHECK_CASE("IFCloseNull", kHandle, "invalid handle", gentl.IFClose(nullptr)),
        CHECK_CASE("IFCloseUnknown", kHandle, "invalid handle (pool)", gentl.IFClose(kUnknown)),
        CHECK_CASE("IFCloseSystemHandle", kHandle, "unknown tl handle", gentl.IFClose(h.system)),
        CHECK_CASE("IFGetInfoDeviceHandle", kHandle, "unknown tl handle",
                   gentl.IFGetInfo(h.device, INTERFACE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("IFGetInfoNullType", kParameter, "piType <= 0",
                   gentl.IFGetInfo(h.iface, INTERFACE_INFO_ID, nullptr, nullptr, &s.size)),
        CHECK_CASE("IFGetInfoNullSize", kParameter, "piSize <= 0",
                   gentl.IFGetInfo(h.iface, INTERFACE_INFO_ID, &s.type, nullptr, nullptr)),
        CHECK_CASE("IFGetInfoCustomCommand", GC_ERR_NOT_IMPLEMENTED, "Requested info not implemented",
                   gentl.IFGetInfo(h.iface, INTERFACE_INFO_CUSTOM_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("IFGetInfoTooSmall", GC_ERR_BUFFER_TOO_SMALL, "buffer too small",
                   (s.size = 6, gentl.IFGetInfo(h.iface, INTERFACE_INFO_TLTYPE, &s.type, s.text, &s.size))),
        CHECK_CASE("IFGetNumDevicesNull", kHandle, "ifgetnuminterfaces invalid handle",
                   gentl.IFGetNumDevices(nullptr, &s.count)),
        CHECK_CASE("IFGetNumDevicesNullOutput", kParameter, "igetnuminterfaces !pinumdevices",
                   gentl.IFGetNumDevices(h.iface, nullptr)),
        CHECK_CASE("IFGetDeviceIDNullSize", kParameter, "IFGetDeviceID piSize is invalid",
                   gentl.IFGetDeviceID(h.iface, 0, s.text, nullptr)),
        CHECK_CASE("IFGetDeviceIDIndexAtCount", GC_ERR_INVALID_INDEX, "IFGetDeviceID invalid index",
                   gentl.IFGetDeviceID(h.iface, 1, s.text, &s.size)),
        CHECK_CASE("IFUpdateDeviceListNull", kHandle, "handle is invalid",
                   gentl.IFUpdateDeviceList(nullptr, nullptr, 0)),
        CHECK_CASE("IFUpdateDeviceListStreamHandle", kHandle, "unknown tl handle",
                   gentl.IFUpdateDeviceList(h.stream, nullptr, 0)),
        CHECK_CASE("IFGetDeviceInfoSystemHandle", kHandle, "invalid handle (handle lookup)",
                   gentl.IFGetDeviceInfo(h.system, "MyDevice0", DEVICE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("IFGetDeviceInfoNullType", kParameter, "invalid parameter piType",
                   gentl.IFGetDeviceInfo(h.iface, "MyDevice0", DEVICE_INFO_ID, nullptr, nullptr, &s.size)),
        CHECK_CASE("IFGetDeviceInfoNullId", kParameter, "invalid parameter sDeviceID",
                   gentl.IFGetDeviceInfo(h.iface, nullptr, DEVICE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("IFGetDeviceInfoNullSize", kParameter, "invalid parameter piSize",
                   gentl.IFGetDeviceInfo(h.iface, "MyDevice0", DEVICE_INFO_ID, &s.type, nullptr, nullptr)),
        CHECK_CASE("IFGetDeviceInfoUnknownId", kId, "IFGetDeviceInfo invalid index",
                   gentl.IFGetDeviceInfo(h.iface, "Nope", DEVICE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("IFOpenDeviceNull", kHandle, "invalid tl handle",
                   gentl.IFOpenDevice(nullptr, "MyDevice0", DEVICE_ACCESS_EXCLUSIVE, &s.device)),
        CHECK_CASE("IFOpenDeviceUnknown", kHandle, "invalid handle (pool)",
                   gentl.IFOpenDevice(kUnknown, "MyDevice0", DEVICE_ACCESS_EXCLUSIVE, &s.device)),
        CHECK_CASE("IFOpenDeviceNullOutputBeforeCast", kParameter, "phDevice<=0",
                   gentl.IFOpenDevice(h.system, "MyDevice0", DEVICE_ACCESS_EXCLUSIVE, nullptr)),
        CHECK_CASE("IFOpenDeviceSystemHandle", kHandle, "invalid handle after cast",
                   gentl.IFOpenDevice(h.system, "MyDevice0", DEVICE_ACCESS_EXCLUSIVE, &s.device)),
        CHECK_CASE("IFOpenDeviceNullId", kParameter, "invalid sdeviceid",
                   gentl.IFOpenDevice(h.iface, nullptr, DEVICE_ACCESS_EXCLUSIVE, &s.device)),
        CHECK_CASE("IFOpenDeviceUnknownId", kId, "device unknown",
                   gentl.IFOpenDevice(h.iface, "Nope", DEVICE_ACCESS_EXCLUSIVE, &s.device)),
        CHECK_CASE("IFOpenDeviceIdPrefix", kId, "device unknown",
                   gentl.IFOpenDevice(h.iface, "MyDevice", DEVICE_ACCESS_EXCLUSIVE, &s.device)),
        CHECK_CASE("IFOpenDeviceUnknownAccess", kParameter, "unknown device access is not possible",
                   gentl.IFOpenDevice(h.iface, "MyDevice0", DEVICE_ACCESS_UNKNOWN, &s.device)),
        CHECK_CASE("IFOpenDeviceReadOnly", GC_ERR_NOT_IMPLEMENTED, "access mode != exclusive not implemented",
                   gentl.IFOpenDevice(h.iface, "MyDevice0", DEVICE_ACCESS_READONLY, &s.device)),
        CHECK_CASE("IFOpenDeviceCustomAccess", GC_ERR_NOT_IMPLEMENTED, "access mode != exclusive not implemented",
                   gentl.IFOpenDevice(h.iface, "MyDevice0", DEVICE_ACCESS_CUSTOM_ID, &s.device)),
        CHECK_CASE("IFOpenDeviceUndefinedAccess", kParameter, "invalid iOpenflags",
                   gentl.IFOpenDevice(h.iface, "MyDevice0", 7, &s.device)),
        CHECK_CASE("IFOpenDeviceNegativeAccess", kParameter, "invalid iOpenflags",
                   gentl.IFOpenDevice(h.iface, "MyDevice0", -1, &s.device)),
        CHECK_CASE("IFOpenDeviceTwice", GC_ERR_RESOURCE_IN_USE, "opening device failed",
                   gentl.IFOpenDevice(h.iface, "MyDevice0", DEVICE_ACCESS_EXCLUSIVE, &s.device)),
        CHECK_CASE("IFGetParentTLNullOutputFirst", kParameter, "invalid pointer to parent",
                   gentl.IFGetParentTL(nullptr, nullptr)),
        CHECK_CASE("IFGetParentTLNull", kHandle, "invalid handle", gentl.IFGetParentTL(nullptr, &s.system)),
        CHECK_CASE("IFGetParentTLDeviceHandle", kHandle, "unknown handle. ifgetparenttl",
                   gentl.IFGetParentTL(h.device, &s.system)),
        CHECK_CASE("IFGetParentTLClosedInterface", kHandle, "iface not open",
                   (gentl.IFClose(h.iface), gentl.IFGetParentTL(h.iface, &s.system)))),
    testing_support::checkName);

INSTANTIATE_TEST_SUITE_P(
    Device, ExportChecks,
    ::testing::Values(
        CHECK_CASE("DevGetPortNull", kHandle, "DevGetPort invalid dev handle", gentl.DevGetPort(nullptr, &s.port)),
        CHECK_CASE("DevGetPortUnknown", kHandle, "invalid handle (pool)", gentl.DevGetPort(kUnknown, &s.port)),
        CHECK_CASE("DevGetPortNullOutput", kParameter, "phRemoteDevice<=0", gentl.DevGetPort(h.device, nullptr)),
        CHECK_CASE("DevGetPortInterfaceHandle", kHandle, "unknown device", gentl.DevGetPort(h.iface, &s.port)),
        CHECK_CASE("DevGetNumDataStreamsNull", kHandle, "invalid dev handle",
                   gentl.DevGetNumDataStreams(nullptr, &s.count)),
        CHECK_CASE("DevGetNumDataStreamsUnknown", kHandle, "invalid handle (pool)",
                   gentl.DevGetNumDataStreams(kUnknown, &s.count)),
        CHECK_CASE("DevGetNumDataStreamsInterfaceHandle", kHandle, "invalid handle after cast",
                   gentl.DevGetNumDataStreams(h.iface, &s.count)),
        CHECK_CASE("DevGetNumDataStreamsNullOutput", kParameter, "piNumDataStreams is invalid",
                   gentl.DevGetNumDataStreams(h.device, nullptr)),
        CHECK_CASE("DevGetDataStreamIDNull", kHandle, "DevGetDataStreamID invalid dev handle",
                   gentl.DevGetDataStreamID(nullptr, 0, s.text, &s.size)),
        CHECK_CASE("DevGetDataStreamIDNullSize", kParameter, "piSize is invalid",
                   gentl.DevGetDataStreamID(h.device, 0, s.text, nullptr)),
        CHECK_CASE("DevGetDataStreamIDIndexAtCount", GC_ERR_INVALID_INDEX, "datastream at this index is unknown",
                   gentl.DevGetDataStreamID(h.device, 4, s.text, &s.size)),
        CHECK_CASE("DevOpenDataStreamNull", kHandle, "invalid dev handle",
                   gentl.DevOpenDataStream(nullptr, "MyStream1", &s.stream)),
        CHECK_CASE("DevOpenDataStreamUnknown", kHandle, "unknown handle. devopendatastream.",
                   gentl.DevOpenDataStream(kUnknown, "MyStream1", &s.stream)),
        CHECK_CASE("DevOpenDataStreamNullOutputBeforeCast", kParameter, "phDatastream<=0",
                   gentl.DevOpenDataStream(h.iface, "MyStream1", nullptr)),
        CHECK_CASE("DevOpenDataStreamInterfaceHandle", kHandle, "invalid handle after cast",
                   gentl.DevOpenDataStream(h.iface, "MyStream1", &s.stream)),
        CHECK_CASE("DevOpenDataStreamNullId", kParameter, "stream id is invalid",
                   gentl.DevOpenDataStream(h.device, nullptr, &s.stream)),
        CHECK_CASE("DevOpenDataStreamEmptyId", kParameter, "stream id is empty string",
                   gentl.DevOpenDataStream(h.device, "", &s.stream)),
        CHECK_CASE("DevOpenDataStreamUnknownId", kParameter, "unknown datastream",
                   gentl.DevOpenDataStream(h.device, "Nope", &s.stream)),
        CHECK_CASE("DevOpenDataStreamIdPrefix", kParameter, "unknown datastream",
                   gentl.DevOpenDataStream(h.device, "MyStream", &s.stream)),
        CHECK_CASE("DevOpenDataStreamTwice", GC_ERR_RESOURCE_IN_USE, "failed to open ds",
                   gentl.DevOpenDataStream(h.device, "MyStream0", &s.stream)),
        CHECK_CASE("DevOpenDataStreamClosedDevice", kHandle, "device is not open",
                   (gentl.DevClose(h.device), gentl.DevOpenDataStream(h.device, "MyStream1", &s.stream))),
        CHECK_CASE("DevGetInfoNull", kHandle, "handle is invalid",
                   gentl.DevGetInfo(nullptr, DEVICE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("DevGetInfoUnknown", kHandle, "unknown handle. devgetinfo.",
                   gentl.DevGetInfo(kUnknown, DEVICE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("DevGetInfoStreamHandle", kHandle, "unknown handle. devgetinfo.",
                   gentl.DevGetInfo(h.stream, DEVICE_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("DevGetInfoNullSize", kParameter, "piSize <= 0",
                   gentl.DevGetInfo(h.device, DEVICE_INFO_ID, &s.type, nullptr, nullptr)),
        CHECK_CASE("DevGetInfoNullType", kParameter, "piType <= 0",
                   gentl.DevGetInfo(h.device, DEVICE_INFO_ID, nullptr, nullptr, &s.size)),
        CHECK_CASE("DevGetInfoCustomCommand", GC_ERR_NOT_IMPLEMENTED, "requested info not implemented",
                   gentl.DevGetInfo(h.device, DEVICE_INFO_CUSTOM_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("DevGetInfoTooSmall", GC_ERR_BUFFER_TOO_SMALL, "buffer too small",
                   (s.size = 9, gentl.DevGetInfo(h.device, DEVICE_INFO_ID, &s.type, s.text, &s.size))),
        CHECK_CASE("DevCloseNull", kHandle, "DevClose invalid dev handle", gentl.DevClose(nullptr)),
        CHECK_CASE("DevCloseUnknown", kHandle, "unknown handle. devclose.", gentl.DevClose(kUnknown)),
        CHECK_CASE("DevCloseStreamHandle", kHandle, "invalid handle after cast", gentl.DevClose(h.stream)),
        CHECK_CASE("DevCloseTwice", kHandle, "device is not open.",
                   (gentl.DevClose(h.device), gentl.DevClose(h.device))),
        CHECK_CASE("DevGetParentIFNullOutputFirst", kParameter, "invalid pointer to parent",
                   gentl.DevGetParentIF(nullptr, nullptr)),
        CHECK_CASE("DevGetParentIFNull", kHandle, "invalid handle", gentl.DevGetParentIF(nullptr, &s.iface)),
        CHECK_CASE("DevGetParentIFUnknown", kHandle, "unknown device", gentl.DevGetParentIF(kUnknown, &s.iface)),
        CHECK_CASE("DevGetParentIFSystemHandle", kHandle, "unknown device", gentl.DevGetParentIF(h.system, &s.iface)),
        CHECK_CASE("DevGetParentIFClosedInterface", kHandle, "iface is not open/created",
                   (gentl.IFClose(h.iface), gentl.DevGetParentIF(h.device, &s.iface)))),
    testing_support::checkName);

}  // namespace
