// The argument checks of the port and event exports, through the built LmMockTL.cti.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "support/Producer.h"

namespace {

using testing_support::Producer;

struct Call {
  const char* name;
  const char* exportName;
  std::function<GC_ERROR(const Producer&)> call;
  GC_ERROR code;
  const char* message;
};

void PrintTo(const Call& call, std::ostream* out) { *out << call.name; }

std::string caseName(const ::testing::TestParamInfo<Call>& info) { return info.param.name; }

// A non-zero value that no producer object lives at.
void* const kUnknown = reinterpret_cast<void*>(0x10);
char buffer[64];
size_t size = sizeof(buffer);
size_t zero = 0;
INFO_DATATYPE type;
uint32_t count;
EVENT_HANDLE event;
PORT_REGISTER_STACK_ENTRY entries[1] = {{0, buffer, 4}};

template <class Function>
Function* fn(const Producer& producer, const char* name) {
  return producer.get<Function>(name);
}
#define EXPORT(p, name) fn<decltype(name)>(p, #name)

void expectFailure(const Producer& producer, const Call& call) {
  EXPECT_EQ(call.call(producer), call.code);
  const auto [code, text] = producer.lastError();
  EXPECT_EQ(code, call.code);
  EXPECT_EQ(text.rfind(std::string(call.message) + ":GenTL::" + call.exportName + "::", 0), 0u) << text;
}

class BeforeInit : public ::testing::TestWithParam<Call> {
 protected:
  Producer producer;
};

// Before GCInitLib there is no last error to read: only the code comes back.
TEST_P(BeforeInit, EveryPortAndEventExportIsNotInitialized) {
  EXPECT_EQ(GetParam().call(producer), GC_ERR_NOT_INITIALIZED);
}

constexpr const char* kNotInit = "TL was not initialized";

INSTANTIATE_TEST_SUITE_P(
    Exports, BeforeInit,
    ::testing::Values(
        Call{"GCReadPort", "GCReadPort", [](auto& p) { return EXPORT(p, GCReadPort)(nullptr, 0, buffer, nullptr); },
             GC_ERR_NOT_INITIALIZED, kNotInit},
        Call{"GCWritePort", "GCWritePort", [](auto& p) { return EXPORT(p, GCWritePort)(nullptr, 0, buffer, nullptr); },
             GC_ERR_NOT_INITIALIZED, kNotInit},
        Call{"GCGetPortURL", "GCGetPortURL", [](auto& p) { return EXPORT(p, GCGetPortURL)(nullptr, buffer, nullptr); },
             GC_ERR_NOT_INITIALIZED, kNotInit},
        Call{"GCGetPortInfo", "GCGetPortInfo",
             [](auto& p) { return EXPORT(p, GCGetPortInfo)(nullptr, PORT_INFO_ID, nullptr, buffer, nullptr); },
             GC_ERR_NOT_INITIALIZED, kNotInit},
        Call{"GCGetNumPortURLs", "GCGetNumPortURLs",
             [](auto& p) { return EXPORT(p, GCGetNumPortURLs)(nullptr, nullptr); }, GC_ERR_NOT_INITIALIZED, kNotInit},
        Call{"GCGetPortURLInfo", "GCGetPortURLInfo",
             [](auto& p) { return EXPORT(p, GCGetPortURLInfo)(nullptr, 0, URL_INFO_URL, nullptr, buffer, nullptr); },
             GC_ERR_NOT_INITIALIZED, kNotInit},
        Call{"GCReadPortStacked", "GCReadPortStacked",
             [](auto& p) { return EXPORT(p, GCReadPortStacked)(nullptr, nullptr, nullptr); }, GC_ERR_NOT_INITIALIZED,
             kNotInit},
        Call{"GCWritePortStacked", "GCWritePortStacked",
             [](auto& p) { return EXPORT(p, GCWritePortStacked)(nullptr, nullptr, nullptr); }, GC_ERR_NOT_INITIALIZED,
             kNotInit},
        Call{"GCRegisterEvent", "GCRegisterEvent",
             [](auto& p) { return EXPORT(p, GCRegisterEvent)(nullptr, EVENT_ERROR, nullptr); }, GC_ERR_NOT_INITIALIZED,
             kNotInit},
        Call{"GCUnregisterEvent", "GCUnregisterEvent",
             [](auto& p) { return EXPORT(p, GCUnregisterEvent)(nullptr, EVENT_ERROR); }, GC_ERR_NOT_INITIALIZED,
             kNotInit},
        Call{"EventGetData", "EventGetData",
             [](auto& p) { return EXPORT(p, EventGetData)(nullptr, buffer, nullptr, 0); }, GC_ERR_NOT_INITIALIZED,
             kNotInit},
        Call{"EventGetDataInfo", "EventGetDataInfo",
             [](auto& p) {
               return EXPORT(p, EventGetDataInfo)(nullptr, nullptr, 0, EVENT_DATA_ID, nullptr, buffer, nullptr);
             },
             GC_ERR_NOT_INITIALIZED, kNotInit},
        Call{"EventGetInfo", "EventGetInfo",
             [](auto& p) { return EXPORT(p, EventGetInfo)(nullptr, EVENT_NUM_FIRED, nullptr, buffer, nullptr); },
             GC_ERR_NOT_INITIALIZED, kNotInit},
        Call{"EventFlush", "EventFlush", [](auto& p) { return EXPORT(p, EventFlush)(nullptr); }, GC_ERR_NOT_INITIALIZED,
             kNotInit},
        Call{"EventKill", "EventKill", [](auto& p) { return EXPORT(p, EventKill)(nullptr); }, GC_ERR_NOT_INITIALIZED,
             kNotInit}),
    caseName);

class AfterInit : public ::testing::TestWithParam<Call> {
 protected:
  void SetUp() override { ASSERT_EQ(EXPORT(producer, GCInitLib)(), GC_ERR_SUCCESS); }
  void TearDown() override { EXPORT(producer, GCCloseLib)(); }
  Producer producer;
};

TEST_P(AfterInit, BadArgumentsFailInTheExportsOrder) { expectFailure(producer, GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    Exports, AfterInit,
    ::testing::Values(
        Call{"ReadPortNull", "GCReadPort", [](auto& p) { return EXPORT(p, GCReadPort)(nullptr, 0, buffer, nullptr); },
             GC_ERR_INVALID_HANDLE, "hPort invalid"},
        Call{"ReadPortUnknown", "GCReadPort",
             [](auto& p) { return EXPORT(p, GCReadPort)(kUnknown, 0, buffer, nullptr); }, GC_ERR_INVALID_HANDLE,
             "hPort is unknown"},
        Call{"WritePortNull", "GCWritePort",
             [](auto& p) { return EXPORT(p, GCWritePort)(nullptr, 0, buffer, nullptr); }, GC_ERR_INVALID_HANDLE,
             "hPort invalid"},
        Call{"WritePortUnknown", "GCWritePort",
             [](auto& p) { return EXPORT(p, GCWritePort)(kUnknown, 0, buffer, &size); }, GC_ERR_INVALID_HANDLE,
             "hPort is unknown"},
        Call{"PortUrlNull", "GCGetPortURL", [](auto& p) { return EXPORT(p, GCGetPortURL)(nullptr, buffer, &size); },
             GC_ERR_INVALID_HANDLE, "hPort invalid handle"},
        Call{"PortUrlUnknown", "GCGetPortURL", [](auto& p) { return EXPORT(p, GCGetPortURL)(kUnknown, buffer, &size); },
             GC_ERR_INVALID_HANDLE, "hPort is unknown"},
        Call{"PortInfoNull", "GCGetPortInfo",
             [](auto& p) { return EXPORT(p, GCGetPortInfo)(nullptr, PORT_INFO_ID, &type, buffer, &size); },
             GC_ERR_INVALID_HANDLE, "GCGetPortInfo hPort invalid handle"},
        Call{"PortInfoUnknown", "GCGetPortInfo",
             [](auto& p) { return EXPORT(p, GCGetPortInfo)(kUnknown, PORT_INFO_ID, nullptr, buffer, nullptr); },
             GC_ERR_INVALID_HANDLE, "hPort is unknown"},
        Call{"NumPortUrlsNull", "GCGetNumPortURLs",
             [](auto& p) { return EXPORT(p, GCGetNumPortURLs)(nullptr, &count); }, GC_ERR_INVALID_HANDLE,
             "hPort invalid handle"},
        Call{"NumPortUrlsUnknown", "GCGetNumPortURLs",
             [](auto& p) { return EXPORT(p, GCGetNumPortURLs)(kUnknown, nullptr); }, GC_ERR_INVALID_HANDLE,
             "handle is unknown"},
        Call{"PortUrlInfoNull", "GCGetPortURLInfo",
             [](auto& p) { return EXPORT(p, GCGetPortURLInfo)(nullptr, 0, URL_INFO_URL, &type, buffer, &size); },
             GC_ERR_INVALID_HANDLE, "hPort invalid handle"},
        Call{"PortUrlInfoUnknown", "GCGetPortURLInfo",
             [](auto& p) { return EXPORT(p, GCGetPortURLInfo)(kUnknown, 0, URL_INFO_URL, &type, buffer, &size); },
             GC_ERR_INVALID_HANDLE, "hPort is unknown"},
        Call{"ReadStackedNull", "GCReadPortStacked",
             [](auto& p) { return EXPORT(p, GCReadPortStacked)(nullptr, entries, &zero); }, GC_ERR_INVALID_HANDLE,
             " hPort invalid handle"},
        Call{"ReadStackedUnknown", "GCReadPortStacked",
             [](auto& p) { return EXPORT(p, GCReadPortStacked)(kUnknown, nullptr, &zero); }, GC_ERR_INVALID_HANDLE,
             "handle is unknown"},
        Call{"WriteStackedNull", "GCWritePortStacked",
             [](auto& p) { return EXPORT(p, GCWritePortStacked)(nullptr, entries, &zero); }, GC_ERR_INVALID_HANDLE,
             " hPort invalid handle"},
        Call{"WriteStackedUnknown", "GCWritePortStacked",
             [](auto& p) { return EXPORT(p, GCWritePortStacked)(kUnknown, nullptr, nullptr); }, GC_ERR_INVALID_HANDLE,
             "hPort is unknown"},
        Call{"RegisterNull", "GCRegisterEvent",
             [](auto& p) { return EXPORT(p, GCRegisterEvent)(nullptr, EVENT_ERROR, &event); }, GC_ERR_INVALID_HANDLE,
             "event source <= 0"},
        Call{"RegisterUnknown", "GCRegisterEvent",
             [](auto& p) { return EXPORT(p, GCRegisterEvent)(kUnknown, EVENT_ERROR, &event); }, GC_ERR_INVALID_HANDLE,
             "handle is unknown"},
        Call{"UnregisterNull", "GCUnregisterEvent",
             [](auto& p) { return EXPORT(p, GCUnregisterEvent)(nullptr, EVENT_ERROR); }, GC_ERR_INVALID_HANDLE,
             "event source <= 0"},
        Call{"UnregisterUnknown", "GCUnregisterEvent",
             [](auto& p) { return EXPORT(p, GCUnregisterEvent)(kUnknown, EVENT_ERROR); }, GC_ERR_INVALID_HANDLE,
             "handle is unknown"},
        Call{"GetDataNullSizeFirst", "EventGetData",
             [](auto& p) { return EXPORT(p, EventGetData)(nullptr, buffer, nullptr, 0); }, GC_ERR_INVALID_PARAMETER,
             "piSize<=0"},
        Call{"GetDataNull", "EventGetData", [](auto& p) { return EXPORT(p, EventGetData)(nullptr, buffer, &size, 0); },
             GC_ERR_INVALID_HANDLE, "invalid handle"},
        Call{"GetDataUnknown", "EventGetData",
             [](auto& p) { return EXPORT(p, EventGetData)(kUnknown, buffer, &size, 0); }, GC_ERR_INVALID_HANDLE,
             "invalid handle"},
        Call{"DataInfoNullOutSizeFirst", "EventGetDataInfo",
             [](auto& p) {
               return EXPORT(p, EventGetDataInfo)(nullptr, nullptr, 0, EVENT_DATA_ID, nullptr, buffer, nullptr);
             },
             GC_ERR_INVALID_PARAMETER, "invalid parameter piOutSize <= 0"},
        Call{"DataInfoNullTypeFirst", "EventGetDataInfo",
             [](auto& p) {
               return EXPORT(p, EventGetDataInfo)(nullptr, nullptr, 0, EVENT_DATA_ID, nullptr, buffer, &size);
             },
             GC_ERR_INVALID_PARAMETER, "invalid parameter piType <= 0"},
        Call{
            "DataInfoNull", "EventGetDataInfo",
            [](auto&
                   p) { return EXPORT(p, EventGetDataInfo)(nullptr, nullptr, 0, EVENT_DATA_ID, &type, buffer, &size); },
            GC_ERR_INVALID_HANDLE, "invalid handle event"},
        Call{
            "DataInfoNullInput", "EventGetDataInfo",
            [](auto&
                   p) { return EXPORT(p, EventGetDataInfo)(kUnknown, nullptr, 0, EVENT_DATA_ID, &type, buffer, &size); },
            GC_ERR_INVALID_HANDLE, "invalid handle buffer"},
        Call{
            "DataInfoUnknown", "EventGetDataInfo",
            [](auto&
                   p) { return EXPORT(p, EventGetDataInfo)(kUnknown, buffer, 8, EVENT_DATA_ID, &type, buffer, &size); },
            GC_ERR_INVALID_HANDLE, "invalid handle event (pool)"},
        Call{"InfoNullSizeFirst", "EventGetInfo",
             [](auto& p) { return EXPORT(p, EventGetInfo)(nullptr, EVENT_NUM_FIRED, nullptr, buffer, nullptr); },
             GC_ERR_INVALID_PARAMETER, "invalid parameter piSize <= 0"},
        Call{"InfoNullTypeFirst", "EventGetInfo",
             [](auto& p) { return EXPORT(p, EventGetInfo)(nullptr, EVENT_NUM_FIRED, nullptr, buffer, &size); },
             GC_ERR_INVALID_PARAMETER, "invalid parameter piType <= 0"},
        Call{"InfoNull", "EventGetInfo",
             [](auto& p) { return EXPORT(p, EventGetInfo)(nullptr, EVENT_NUM_FIRED, &type, buffer, &size); },
             GC_ERR_INVALID_HANDLE, "invalid handle event"},
        Call{"InfoUnknown", "EventGetInfo",
             [](auto& p) { return EXPORT(p, EventGetInfo)(kUnknown, EVENT_NUM_FIRED, &type, buffer, &size); },
             GC_ERR_INVALID_HANDLE, "handle is unknown"},
        Call{"FlushNull", "EventFlush", [](auto& p) { return EXPORT(p, EventFlush)(nullptr); }, GC_ERR_INVALID_HANDLE,
             "invalid handle event"},
        Call{"FlushUnknown", "EventFlush", [](auto& p) { return EXPORT(p, EventFlush)(kUnknown); },
             GC_ERR_INVALID_HANDLE, "handle is unknown"},
        Call{"KillNull", "EventKill", [](auto& p) { return EXPORT(p, EventKill)(nullptr); }, GC_ERR_INVALID_HANDLE,
             "invalid handle event"},
        Call{"KillUnknown", "EventKill", [](auto& p) { return EXPORT(p, EventKill)(kUnknown); }, GC_ERR_INVALID_HANDLE,
             "handle is unknown"}),
    caseName);

}  // namespace
