// The port and event exports through the built LmMockTL.cti: each refused argument with its code,
// message and origin, and what the system module's port and error event answer.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>

#include "support/ConsumerSession.h"
#include "support/ExportCheckTable.h"

namespace {

using testing_support::ConsumerSession;
using testing_support::GenTLExports;
using testing_support::kHandle;
using testing_support::kParameter;
using testing_support::kUnknown;

// The open system (whose port the calls use) with its error event registered, and the open
// interface, whose error event was registered and unregistered again.
struct Handles {
  TL_HANDLE system = nullptr;
  IF_HANDLE iface = nullptr;
  EVENT_HANDLE registered = nullptr;
  EVENT_HANDLE unregistered = nullptr;
};

struct Scratch {
  char bytes[64] = {};
  size_t size = sizeof(bytes);
  size_t zero = 0;
  INFO_DATATYPE type = 0;
  uint32_t count = 0;
  EVENT_HANDLE event = nullptr;
  PORT_REGISTER_STACK_ENTRY entries[1] = {{0, bytes, 4}};
};

struct Check {
  const char* name;
  const char* exportName;
  std::function<GC_ERROR(GenTLExports&, const Handles&, Scratch&)> call;
  GC_ERROR code;
  const char* message;
};

// One row: `function` called with `arguments`, which see the handles as `h` and the scratch as `s`.
// clang-format off
#define ROW(function, suffix, code, message, arguments)                                                       \
  Check{#function #suffix, #function,                                                                         \
        [](GenTLExports& gentl, [[maybe_unused]] const Handles& h, [[maybe_unused]] Scratch& s) -> GC_ERROR { \
          return gentl.function arguments;                                                                    \
        },                                                                                                    \
        code, message}
// clang-format on

class PortAndEventExports : public ConsumerSession {
 protected:
  void SetUp() override {
    ConsumerSession::SetUp();
    handles.system = openSystem();
    handles.iface = openInterface(handles.system);
    ASSERT_EQ(gentl.GCRegisterEvent(handles.system, EVENT_ERROR, &handles.registered), GC_ERR_SUCCESS);
    ASSERT_EQ(gentl.GCRegisterEvent(handles.iface, EVENT_ERROR, &handles.unregistered), GC_ERR_SUCCESS);
    ASSERT_EQ(gentl.GCUnregisterEvent(handles.iface, EVENT_ERROR), GC_ERR_SUCCESS);
  }

  Handles handles;
};

class PortAndEventChecks : public PortAndEventExports, public ::testing::WithParamInterface<Check> {
 protected:
  // Before GCInitLib every port and event export refuses first of all.
  void SetUp() override {
    Scratch scratch;
    EXPECT_EQ(GetParam().call(gentl, Handles{}, scratch), GC_ERR_NOT_INITIALIZED);
    PortAndEventExports::SetUp();
  }
};

TEST_P(PortAndEventChecks, RefuseWithTheirCodeMessageAndOrigin) {
  Scratch scratch;
  EXPECT_EQ(GetParam().call(gentl, handles, scratch), GetParam().code);
  const auto [code, text] = producer.lastError();
  EXPECT_EQ(code, GetParam().code);
  EXPECT_EQ(text.rfind(std::string(GetParam().message) + ":GenTL::" + GetParam().exportName + "::", 0), 0u) << text;
}

INSTANTIATE_TEST_SUITE_P(
    Port, PortAndEventChecks,
    ::testing::Values(
        ROW(GCReadPort, Null, kHandle, "hPort invalid", (nullptr, 0, s.bytes, nullptr)),
        ROW(GCReadPort, Unknown, kHandle, "hPort is unknown", (kUnknown, 0, s.bytes, nullptr)),
        ROW(GCReadPort, EventHandle, kHandle, "hPort is unknown", (h.registered, 0, s.bytes, &s.size)),
        ROW(GCReadPort, NullSize, kParameter, "piSize invalid", (h.system, 0, s.bytes, nullptr)),
        ROW(GCWritePort, Null, kHandle, "hPort invalid", (nullptr, 0, s.bytes, nullptr)),
        ROW(GCWritePort, Unknown, kHandle, "hPort is unknown", (kUnknown, 0, s.bytes, &s.size)),
        ROW(GCWritePort, NullSize, kParameter, "piSize is invalid pointer", (h.system, 0, s.bytes, nullptr)),
        ROW(GCGetPortURL, Null, kHandle, "hPort invalid handle", (nullptr, s.bytes, &s.size)),
        ROW(GCGetPortURL, Unknown, kHandle, "hPort is unknown", (kUnknown, s.bytes, &s.size)),
        ROW(GCGetPortURL, NullSize, kParameter, "piSize<=0", (h.system, s.bytes, nullptr)),
        ROW(GCGetPortInfo, Null, kHandle, "GCGetPortInfo hPort invalid handle",
            (nullptr, PORT_INFO_ID, &s.type, s.bytes, &s.size)),
        ROW(GCGetPortInfo, Unknown, kHandle, "hPort is unknown", (kUnknown, PORT_INFO_ID, nullptr, s.bytes, nullptr)),
        ROW(GCGetPortInfo, NullType, kParameter, "piType<=0", (h.system, PORT_INFO_ID, nullptr, s.bytes, nullptr)),
        ROW(GCGetPortInfo, NullSize, kParameter, "piSize<=0", (h.system, PORT_INFO_ID, &s.type, s.bytes, nullptr)),
        ROW(GCGetNumPortURLs, Null, kHandle, "hPort invalid handle", (nullptr, &s.count)),
        ROW(GCGetNumPortURLs, Unknown, kHandle, "handle is unknown", (kUnknown, nullptr)),
        ROW(GCGetNumPortURLs, NullCount, kParameter, "piNumURLs<=0", (h.system, nullptr)),
        ROW(GCGetPortURLInfo, Null, kHandle, "hPort invalid handle",
            (nullptr, 0, URL_INFO_URL, &s.type, s.bytes, &s.size)),
        ROW(GCGetPortURLInfo, Unknown, kHandle, "hPort is unknown",
            (kUnknown, 0, URL_INFO_URL, &s.type, s.bytes, &s.size)),
        ROW(GCGetPortURLInfo, NullType, kParameter, "piType<=0",
            (h.system, 0, URL_INFO_URL, nullptr, s.bytes, nullptr)),
        ROW(GCGetPortURLInfo, NullSize, kParameter, "piSize<=0",
            (h.system, 0, URL_INFO_URL, &s.type, s.bytes, nullptr)),
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
    testing_support::checkName);

INSTANTIATE_TEST_SUITE_P(
    Event, PortAndEventChecks,
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
        ROW(EventGetData, NullSizeFirst, kParameter, "piSize<=0", (nullptr, s.bytes, nullptr, 0)),
        ROW(EventGetData, Null, kHandle, "invalid handle", (nullptr, s.bytes, &s.size, 0)),
        ROW(EventGetData, Unknown, kHandle, "invalid handle", (kUnknown, s.bytes, &s.size, 0)),
        ROW(EventGetData, Unregistered, kParameter, "event was never registered",
            (h.unregistered, s.bytes, &s.size, 0)),
        ROW(EventGetData, ModuleHandle, kParameter, "event was never registered", (h.system, s.bytes, &s.size, 0)),
        ROW(EventGetDataInfo, NullOutSizeFirst, kParameter, "invalid parameter piOutSize <= 0",
            (nullptr, nullptr, 0, EVENT_DATA_ID, nullptr, s.bytes, nullptr)),
        ROW(EventGetDataInfo, NullTypeFirst, kParameter, "invalid parameter piType <= 0",
            (nullptr, nullptr, 0, EVENT_DATA_ID, nullptr, s.bytes, &s.size)),
        ROW(EventGetDataInfo, Null, kHandle, "invalid handle event",
            (nullptr, nullptr, 0, EVENT_DATA_ID, &s.type, s.bytes, &s.size)),
        ROW(EventGetDataInfo, NullInput, kHandle, "invalid handle buffer",
            (kUnknown, nullptr, 0, EVENT_DATA_ID, &s.type, s.bytes, &s.size)),
        ROW(EventGetDataInfo, Unknown, kHandle, "invalid handle event (pool)",
            (kUnknown, s.bytes, 8, EVENT_DATA_ID, &s.type, s.bytes, &s.size)),
        ROW(EventGetDataInfo, Unregistered, kHandle, "invalid handle event",
            (h.unregistered, s.bytes, 8, EVENT_DATA_ID, &s.type, s.bytes, &s.size)),
        ROW(EventGetInfo, NullSizeFirst, kParameter, "invalid parameter piSize <= 0",
            (nullptr, EVENT_NUM_FIRED, nullptr, s.bytes, nullptr)),
        ROW(EventGetInfo, NullTypeFirst, kParameter, "invalid parameter piType <= 0",
            (nullptr, EVENT_NUM_FIRED, nullptr, s.bytes, &s.size)),
        ROW(EventGetInfo, Null, kHandle, "invalid handle event", (nullptr, EVENT_NUM_FIRED, &s.type, s.bytes, &s.size)),
        ROW(EventGetInfo, Unknown, kHandle, "handle is unknown",
            (kUnknown, EVENT_NUM_FIRED, &s.type, s.bytes, &s.size)),
        ROW(EventGetInfo, Unregistered, kParameter, "event was never registered",
            (h.unregistered, EVENT_NUM_FIRED, &s.type, s.bytes, &s.size)),
        ROW(EventFlush, Null, kHandle, "invalid handle event", (nullptr)),
        ROW(EventFlush, Unknown, kHandle, "handle is unknown", (kUnknown)),
        ROW(EventFlush, Unregistered, kParameter, "event was never registered", (h.unregistered)),
        ROW(EventKill, Null, kHandle, "invalid handle event", (nullptr)),
        ROW(EventKill, Unknown, kHandle, "handle is unknown", (kUnknown)),
        ROW(EventKill, Unregistered, kParameter, "event was never registered", (h.unregistered))),
    testing_support::checkName);

TEST_F(PortAndEventExports, UrlQueriesReachTheSystemDescription) {
  uint32_t urls = 0;
  ASSERT_EQ(gentl.GCGetNumPortURLs(handles.system, &urls), GC_ERR_SUCCESS);
  EXPECT_EQ(urls, 1u);
  const std::string url = testing_support::askText(
      [&](char* text, size_t* size) { return gentl.GCGetPortURL(handles.system, text, size); });
  EXPECT_EQ(url.rfind("local:tl_system_1_3_22.xml;f0000000;", 0), 0u) << url;

  INFO_DATATYPE type = 0;
  char name[64];
  size_t size = sizeof(name);
  ASSERT_EQ(gentl.GCGetPortURLInfo(handles.system, 0, URL_INFO_FILENAME, &type, name, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(name, "tl_system_1_3_22.xml");
  size = sizeof(name);
  ASSERT_EQ(gentl.GCGetPortInfo(handles.system, PORT_INFO_PORTNAME, &type, name, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(name, "TLPort");
}

TEST_F(PortAndEventExports, StackedReadReportsTheEntriesCompleted) {
  uint32_t major = 0, minor = 0, updateList = 0;
  PORT_REGISTER_STACK_ENTRY stack[] = {{0x40, &major, 4}, {0x30, &minor, 4}, {0x20, &updateList, 4}};
  size_t entries = 3;
  EXPECT_EQ(gentl.GCReadPortStacked(handles.system, stack, &entries), GC_ERR_ACCESS_DENIED);
  EXPECT_EQ(entries, 2u);
  EXPECT_EQ(major, 1u);
  EXPECT_EQ(minor, 6u);
}

TEST_F(PortAndEventExports, AFailureOfThePortCarriesThePortsOrigin) {
  char byte = 0;
  size_t empty = 0;
  EXPECT_EQ(gentl.GCReadPort(handles.system, 0, &byte, &empty), GC_ERR_INVALID_PARAMETER);
  EXPECT_NE(producer.lastError().second.find(":lumo::mockTL::Port::Read:"), std::string::npos);
}

}  // namespace
