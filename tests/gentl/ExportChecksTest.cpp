// The argument checks of the port and event exports, each refused argument with its code, message
// and the export named as its origin, as a consumer meets them through the built LmMockTL.cti; and
// the test that runs every folder's table.
#include "support/ExportChecks.h"

namespace testing_support::export_checks {
namespace {

TEST_P(ExportChecks, RefuseWithTheirCodeAndMessage) {
  Scratch scratch;
  EXPECT_EQ(GetParam().call(gentl, handles, scratch), GetParam().code);
  expectLastError(GetParam().code, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Port, ExportChecks,
    ::testing::Values(
        ROW(GCReadPort, Null, kHandle, "hPort invalid", (nullptr, 0, s.text, nullptr)),
        ROW(GCReadPort, Unknown, kHandle, "hPort is unknown", (kUnknown, 0, s.text, nullptr)),
        ROW(GCReadPort, EventHandle, kHandle, "hPort is unknown", (h.registered, 0, s.text, &s.size)),
        ROW(GCReadPort, NullSize, kParameter, "piSize invalid", (h.system, 0, s.text, nullptr)),
        ROW(GCWritePort, Null, kHandle, "hPort invalid", (nullptr, 0, s.text, nullptr)),
        ROW(GCWritePort, Unknown, kHandle, "hPort is unknown", (kUnknown, 0, s.text, &s.size)),
        ROW(GCWritePort, NullSize, kParameter, "piSize is invalid pointer", (h.system, 0, s.text, nullptr)),
        ROW(GCGetPortURL, Null, kHandle, "hPort invalid handle", (nullptr, s.text, &s.size)),
        ROW(GCGetPortURL, Unknown, kHandle, "hPort is unknown", (kUnknown, s.text, &s.size)),
        ROW(GCGetPortURL, NullSize, kParameter, "piSize<=0", (h.system, s.text, nullptr)),
        ROW(GCGetPortInfo, Null, kHandle, "GCGetPortInfo hPort invalid handle",
            (nullptr, PORT_INFO_ID, &s.type, s.text, &s.size)),
        ROW(GCGetPortInfo, Unknown, kHandle, "hPort is unknown", (kUnknown, PORT_INFO_ID, nullptr, s.text, nullptr)),
        ROW(GCGetPortInfo, NullType, kParameter, "piType<=0", (h.system, PORT_INFO_ID, nullptr, s.text, nullptr)),
        ROW(GCGetPortInfo, NullSize, kParameter, "piSize<=0", (h.system, PORT_INFO_ID, &s.type, s.text, nullptr)),
        ROW(GCGetNumPortURLs, Null, kHandle, "hPort invalid handle", (nullptr, &s.count)),
        ROW(GCGetNumPortURLs, Unknown, kHandle, "handle is unknown", (kUnknown, nullptr)),
        ROW(GCGetNumPortURLs, NullCount, kParameter, "piNumURLs<=0", (h.system, nullptr)),
        ROW(GCGetPortURLInfo, Null, kHandle, "hPort invalid handle",
            (nullptr, 0, URL_INFO_URL, &s.type, s.text, &s.size)),
        ROW(GCGetPortURLInfo, Unknown, kHandle, "hPort is unknown",
            (kUnknown, 0, URL_INFO_URL, &s.type, s.text, &s.size)),
        ROW(GCGetPortURLInfo, NullType, kParameter, "piType<=0", (h.system, 0, URL_INFO_URL, nullptr, s.text, nullptr)),
        ROW(GCGetPortURLInfo, NullSize, kParameter, "piSize<=0", (h.system, 0, URL_INFO_URL, &s.type, s.text, nullptr)),
        ROW(GCReadPortStacked, Null, kHandle, " hPort invalid handle", (nullptr, s.entries, &s.zero)),
        ROW(GCReadPortStacked, Unknown, kHandle, "handle is unknown", (kUnknown, nullptr, &s.zero)),
        ROW(GCReadPortStacked, NullEntriesBeforeCount, kParameter, "pEntries<=0", (h.system, nullptr, &s.zero)),
        ROW(GCReadPortStacked, NullCount, kParameter, "piNumEntries <= 0", (h.system, s.entries, nullptr)),
        ROW(GCReadPortStacked, ZeroCount, kParameter, "*piNumEntries <= 0", (h.system, s.entries, &s.zero)),
        ROW(GCWritePortStacked, Null, kHandle, " hPort invalid handle", (nullptr, s.entries, &s.zero)),
        ROW(GCWritePortStacked, Unknown, kHandle, "hPort is unknown", (kUnknown, nullptr, nullptr)),
        ROW(GCWritePortStacked, NullCountBeforeEntries, kParameter, "piNumEntries <= 0", (h.system, nullptr, nullptr)),
        ROW(GCWritePortStacked, ZeroCountBeforeEntries, kParameter, "*piNumEntries <= 0", (h.system, nullptr, &s.zero)),
        ROW(GCWritePortStacked, NullEntries, kParameter, "pEntries <= 0", (h.system, nullptr, &s.size))),
    kName);

INSTANTIATE_TEST_SUITE_P(
    Event, ExportChecks,
    ::testing::Values(
        ROW(GCRegisterEvent, Null, kHandle, "event source <= 0", (nullptr, EVENT_ERROR, &s.event)),
        ROW(GCRegisterEvent, Unknown, kHandle, "handle is unknown", (kUnknown, EVENT_ERROR, &s.event)),
        ROW(GCRegisterEvent, EventAsSource, kHandle, "Conversion to module failed",
            (h.registered, EVENT_ERROR, &s.event)),
        ROW(GCRegisterEvent, UnsupportedKind, GC_ERR_NOT_IMPLEMENTED, "event not supported",
            (h.system, EVENT_NEW_BUFFER, &s.event)),
        ROW(GCRegisterEvent, Twice, GC_ERR_RESOURCE_IN_USE, "already registered", (h.system, EVENT_ERROR, &s.event)),
        ROW(GCUnregisterEvent, Null, kHandle, "event source <= 0", (nullptr, EVENT_ERROR)),
        ROW(GCUnregisterEvent, Unknown, kHandle, "handle is unknown", (kUnknown, EVENT_ERROR)),
        ROW(GCUnregisterEvent, EventAsSource, kHandle, "Conversion to module failed", (h.unregistered, EVENT_ERROR)),
        ROW(GCUnregisterEvent, UnsupportedKind, GC_ERR_NOT_IMPLEMENTED, "event not supported",
            (h.system, EVENT_REMOTE_DEVICE)),
        // GC_ERR_NOT_INITIALIZED rather than an invalid-parameter code, as consumers have always seen it.
        ROW(GCUnregisterEvent, Unregistered, GC_ERR_NOT_INITIALIZED, "event not registered", (h.iface, EVENT_ERROR)),
        ROW(EventGetData, NullSizeFirst, kParameter, "piSize<=0", (nullptr, s.text, nullptr, 0)),
        ROW(EventGetData, Null, kHandle, "invalid handle", (nullptr, s.text, &s.size, 0)),
        ROW(EventGetData, Unknown, kHandle, "invalid handle", (kUnknown, s.text, &s.size, 0)),
        ROW(EventGetData, Unregistered, kParameter, "event was never registered", (h.unregistered, s.text, &s.size, 0)),
        ROW(EventGetData, ModuleHandle, kParameter, "event was never registered", (h.system, s.text, &s.size, 0)),
        ROW(EventGetDataInfo, NullOutSizeFirst, kParameter, "invalid parameter piOutSize <= 0",
            (nullptr, nullptr, 0, EVENT_DATA_ID, nullptr, s.text, nullptr)),
        ROW(EventGetDataInfo, NullTypeFirst, kParameter, "invalid parameter piType <= 0",
            (nullptr, nullptr, 0, EVENT_DATA_ID, nullptr, s.text, &s.size)),
        ROW(EventGetDataInfo, Null, kHandle, "invalid handle event",
            (nullptr, nullptr, 0, EVENT_DATA_ID, &s.type, s.text, &s.size)),
        ROW(EventGetDataInfo, NullInput, kHandle, "invalid handle buffer",
            (kUnknown, nullptr, 0, EVENT_DATA_ID, &s.type, s.text, &s.size)),
        ROW(EventGetDataInfo, Unknown, kHandle, "invalid handle event (pool)",
            (kUnknown, s.text, 8, EVENT_DATA_ID, &s.type, s.text, &s.size)),
        ROW(EventGetDataInfo, Unregistered, kHandle, "invalid handle event",
            (h.unregistered, s.text, 8, EVENT_DATA_ID, &s.type, s.text, &s.size)),
        ROW(EventGetInfo, NullSizeFirst, kParameter, "invalid parameter piSize <= 0",
            (nullptr, EVENT_NUM_FIRED, nullptr, s.text, nullptr)),
        ROW(EventGetInfo, NullTypeFirst, kParameter, "invalid parameter piType <= 0",
            (nullptr, EVENT_NUM_FIRED, nullptr, s.text, &s.size)),
        ROW(EventGetInfo, Null, kHandle, "invalid handle event", (nullptr, EVENT_NUM_FIRED, &s.type, s.text, &s.size)),
        ROW(EventGetInfo, Unknown, kHandle, "handle is unknown", (kUnknown, EVENT_NUM_FIRED, &s.type, s.text, &s.size)),
        ROW(EventGetInfo, Unregistered, kParameter, "event was never registered",
            (h.unregistered, EVENT_NUM_FIRED, &s.type, s.text, &s.size)),
        ROW(EventFlush, Null, kHandle, "invalid handle event", (nullptr)),
        ROW(EventFlush, Unknown, kHandle, "handle is unknown", (kUnknown)),
        ROW(EventFlush, Unregistered, kParameter, "event was never registered", (h.unregistered)),
        ROW(EventKill, Null, kHandle, "invalid handle event", (nullptr)),
        ROW(EventKill, Unknown, kHandle, "handle is unknown", (kUnknown)),
        ROW(EventKill, Unregistered, kParameter, "event was never registered", (h.unregistered))),
    kName);

TEST_F(ExportChecks, PartInfoStackedDoesNothingAndSucceeds) {
  gentl.GCCloseLib();
  EXPECT_EQ(gentl.DSGetBufferPartInfoStacked(nullptr, nullptr, nullptr, 0), GC_ERR_NOT_INITIALIZED);
  ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
  EXPECT_EQ(gentl.DSGetBufferPartInfoStacked(nullptr, nullptr, nullptr, 0), GC_ERR_SUCCESS);
}

TEST_F(ExportChecks, ParentOfAStreamIsItsDevice) {
  DEV_HANDLE parent = nullptr;
  ASSERT_EQ(gentl.DSGetParentDev(handles.stream, &parent), GC_ERR_SUCCESS);
  EXPECT_EQ(parent, handles.device);
}

TEST_F(ExportChecks, AFailureOfThePortCarriesThePortsOrigin) {
  char byte = 0;
  size_t empty = 0;
  EXPECT_EQ(gentl.GCReadPort(handles.system, 0, &byte, &empty), GC_ERR_INVALID_PARAMETER);
  EXPECT_NE(producer.lastError().second.find(":lumo::mockTL::Port::Read:"), std::string::npos);
}

}  // namespace
}  // namespace testing_support::export_checks
