#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>

#include "support/StreamSession.h"

// Tables of refused export calls, one row per (export, bad argument, code, message), run against a
// producer loaded as a consumer loads it. The test itself is in gentl/ExportChecksTest.cpp; each
// folder instantiates the tables of its own exports.
namespace testing_support::export_checks {

// An address that no producer object ever lives at, and the codes the tables name most often.
inline int neverRegistered;
inline void* const kUnknown = &neverRegistered;
inline constexpr GC_ERROR kHandle = GC_ERR_INVALID_HANDLE;
inline constexpr GC_ERROR kParameter = GC_ERR_INVALID_PARAMETER;
inline constexpr GC_ERROR kId = GC_ERR_INVALID_ID;

// The open tree the calls run against: MyInterface0, MyDevice0, its MyStream0 with three allocated
// buffers and MyStream1 with one of its own; the system's error event registered, and the
// interface's registered and unregistered again.
struct Handles {
  TL_HANDLE system;
  IF_HANDLE iface;
  DEV_HANDLE device;
  DS_HANDLE stream;
  BUFFER_HANDLE buffer;
  DS_HANDLE other;
  BUFFER_HANDLE foreign;
  EVENT_HANDLE registered;
  EVENT_HANDLE unregistered;
};

// Output places for the calls.
struct Scratch {
  INFO_DATATYPE type = 0;
  char text[64] = {};
  size_t size = sizeof(text);
  size_t zero = 0;
  uint64_t value = 0;
  uint32_t count = 0;
  bool8_t changed = 0;
  TL_HANDLE system = nullptr;
  IF_HANDLE iface = nullptr;
  DEV_HANDLE device = nullptr;
  DS_HANDLE stream = nullptr;
  PORT_HANDLE port = nullptr;
  BUFFER_HANDLE buffer = nullptr;
  EVENT_HANDLE event = nullptr;
  char memory[16] = {};
  void* segments[2] = {memory, nullptr};
  size_t sizes[2] = {sizeof(memory), sizeof(memory)};
  DS_BUFFER_INFO_STACKED stacked{BUFFER_INFO_WIDTH, 0, &value, sizeof(value), 0};
  PORT_REGISTER_STACK_ENTRY entries[1] = {{0, text, 4}};
};

// One refused call: the code and the start of the last error's text it leaves.
struct CheckCase {
  const char* name;
  std::function<GC_ERROR(GenTLExports&, const Handles&, Scratch&)> call;
  GC_ERROR code;
  const char* message;
};

inline void PrintTo(const CheckCase& check, std::ostream* out) { *out << check.name; }

// One row: the expression sees the exports as `gentl`, the handles as `h`, the scratch as `s`.
#define CHECK_CASE(name, code, message, expression)                                 \
  CheckCase {                                                                       \
    name,                                                                           \
        []([[maybe_unused]] GenTLExports& gentl, [[maybe_unused]] const Handles& h, \
           [[maybe_unused]] Scratch& s) -> GC_ERROR { return expression; },         \
        code, message                                                               \
  }

// A row whose message is followed by the export as its origin: `function` called with `arguments`.
#define ROW(function, suffix, code, message, arguments) \
  CHECK_CASE(#function #suffix, code, message ":GenTL::" #function ":", gentl.function arguments)

class ExportChecks : public testing_support::StreamSession, public ::testing::WithParamInterface<CheckCase> {
 protected:
  void SetUp() override {
    // Before GCInitLib every export refuses as not initialised, except TLClose and TLGetInfo,
    // which look at their handle first. The text is unreadable then: GCGetLastError refuses too.
    if (::testing::UnitTest::GetInstance()->current_test_info()->value_param() != nullptr) {
      const std::string name = GetParam().name;
      const bool handleFirst = name.starts_with("TLClose") || name.starts_with("TLGetInfo");
      Scratch scratch;
      EXPECT_EQ(GetParam().call(gentl, Handles{}, scratch), handleFirst ? kHandle : GC_ERR_NOT_INITIALIZED);
    }
    StreamSession::SetUp();
    handles.stream = openDeviceStream();
    handles.system = system;
    handles.iface = iface;
    handles.device = device;
    handles.buffer = allocateBuffers(handles.stream, 3)[0];
    handles.other = openStream(device, "MyStream1");
    handles.foreign = allocateBuffers(handles.other, 1)[0];
    ASSERT_EQ(gentl.GCRegisterEvent(system, EVENT_ERROR, &handles.registered), GC_ERR_SUCCESS);
    ASSERT_EQ(gentl.GCRegisterEvent(iface, EVENT_ERROR, &handles.unregistered), GC_ERR_SUCCESS);
    ASSERT_EQ(gentl.GCUnregisterEvent(iface, EVENT_ERROR), GC_ERR_SUCCESS);
  }

  Handles handles{};
};

inline constexpr auto kName = [](const auto& info) { return std::string(info.param.name); };
}  // namespace testing_support::export_checks
