// The event export bodies, called directly against test modules and their error events.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include "gentl/GenTL.h"
#include "support/DescribedModule.h"
#include "support/ExportBodies.h"

namespace lumo::mockTL {
namespace {

using testing_support::DescribedModule;
using testing_support::exportBody;
using testing_support::exportFailed;

// Two modules: the first's error event is registered, the second's is not.
struct EventWorld {
  DescribedModule listened{DescriptionKind::Device};
  DescribedModule ignored{DescriptionKind::Interface};
  EVENT_HANDLE registered = listened.errorEvent()->handle();
  EVENT_HANDLE unregistered = ignored.errorEvent()->handle();

  EventWorld() { listened.errorEvent()->Register(); }
};

using EventExports = testing_support::InitialisedLibrary;
using Refusal = testing_support::Refusal<EventWorld>;
using EventExportRefusal = testing_support::ExportRefusal<EventWorld>;

TEST_P(EventExportRefusal, FailsWithItsCodeAndText) { expectRefused(); }

// Valid arguments for the cases that fail on another one.
char in[64];
char out[64];
size_t size = 64;
INFO_DATATYPE type;
EVENT_HANDLE received;

// The checks that need a real module or event; null and unknown handles, and the pointer checks
// in front of them, are driven through the built library (PortAndEventExportsTest).
INSTANTIATE_TEST_SUITE_P(
    Checks, EventExportRefusal,
    ::testing::Values(
        Refusal{"RegisterEventAsSource", "GCRegisterEvent",
                [](EventWorld& w) { return GCRegisterEvent(w.registered, EVENT_ERROR, &received); },
                GC_ERR_INVALID_HANDLE, "Conversion to module failed"},
        Refusal{"RegisterUnsupportedKind", "GCRegisterEvent",
                [](EventWorld& w) { return GCRegisterEvent(w.listened.handle(), EVENT_NEW_BUFFER, &received); },
                GC_ERR_NOT_IMPLEMENTED, "event not supported"},
        Refusal{"RegisterTwice", "GCRegisterEvent",
                [](EventWorld& w) { return GCRegisterEvent(w.listened.handle(), EVENT_ERROR, &received); },
                GC_ERR_RESOURCE_IN_USE, "already registered"},
        Refusal{"UnregisterEventAsSource", "GCUnregisterEvent",
                [](EventWorld& w) { return GCUnregisterEvent(w.unregistered, EVENT_ERROR); }, GC_ERR_INVALID_HANDLE,
                "Conversion to module failed"},
        Refusal{"UnregisterUnsupportedKind", "GCUnregisterEvent",
                [](EventWorld& w) { return GCUnregisterEvent(w.listened.handle(), EVENT_REMOTE_DEVICE); },
                GC_ERR_NOT_IMPLEMENTED, "event not supported"},
        Refusal{"UnregisterUnregistered", "GCUnregisterEvent",
                [](EventWorld& w) { return GCUnregisterEvent(w.ignored.handle(), EVENT_ERROR); },
                GC_ERR_NOT_INITIALIZED, "event not registered"},
        Refusal{"GetDataUnregistered", "EventGetData",
                [](EventWorld& w) { return EventGetData(w.unregistered, out, &size, 0); }, GC_ERR_INVALID_PARAMETER,
                "event was never registered"},
        Refusal{"GetDataModuleHandle", "EventGetData",
                [](EventWorld& w) { return EventGetData(w.listened.handle(), out, &size, 0); },
                GC_ERR_INVALID_PARAMETER, "event was never registered"},
        Refusal{"DataInfoUnregistered", "EventGetDataInfo",
                [](EventWorld& w) { return EventGetDataInfo(w.unregistered, in, 8, EVENT_DATA_ID, &type, out, &size); },
                GC_ERR_INVALID_HANDLE, "invalid handle event"},
        Refusal{"InfoUnregistered", "EventGetInfo",
                [](EventWorld& w) { return EventGetInfo(w.unregistered, EVENT_NUM_FIRED, &type, out, &size); },
                GC_ERR_INVALID_PARAMETER, "event was never registered"},
        Refusal{"FlushUnregistered", "EventFlush", [](EventWorld& w) { return EventFlush(w.unregistered); },
                GC_ERR_INVALID_PARAMETER, "event was never registered"},
        Refusal{"KillUnregistered", "EventKill", [](EventWorld& w) { return EventKill(w.unregistered); },
                GC_ERR_INVALID_PARAMETER, "event was never registered"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(EventExports, ARegisteredErrorEventDeliversThroughTheExports) {
  DescribedModule module(DescriptionKind::System);
  EVENT_HANDLE event = nullptr;
  ASSERT_EQ(GCRegisterEvent(module.handle(), EVENT_ERROR, &event), GC_ERR_SUCCESS);
  EXPECT_EQ(event, module.errorEvent()->handle());

  module.errorEvent()->Push({GC_ERR_INVALID_ADDRESS, "bad address"});
  char data[64];
  size_t dataSize = sizeof(data);
  ASSERT_EQ(EventGetData(event, data, &dataSize, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(dataSize, 4u + 12u);
  EXPECT_STREQ(data + 4, "bad address");

  INFO_DATATYPE infoType = 0;
  char text[64];
  size_t textSize = sizeof(text);
  ASSERT_EQ(EventGetDataInfo(event, data, dataSize, EVENT_DATA_VALUE, &infoType, text, &textSize), GC_ERR_SUCCESS);
  EXPECT_STREQ(text, "bad address");

  std::uint64_t fired = 0;
  size_t firedSize = sizeof(fired);
  ASSERT_EQ(EventGetInfo(event, EVENT_NUM_FIRED, &infoType, &fired, &firedSize), GC_ERR_SUCCESS);
  EXPECT_EQ(fired, 1u);

  ASSERT_EQ(EventKill(event), GC_ERR_SUCCESS);
  EXPECT_TRUE(exportFailed(EventGetData(event, data, &dataSize, GENTL_INFINITE), GC_ERR_ABORT,
                           "Waiting for event data aborted",
                           "lumo::mockTL::EventWorker<lumo::mockTL::ErrorEventData>::GetData:"));
  EXPECT_TRUE(exportFailed(EventGetData(event, data, &dataSize, 0), GC_ERR_TIMEOUT,
                           "Timeout occured when waiting for event data", "lumo::mockTL::EventWorker"));
  EXPECT_TRUE(exportFailed(EventGetDataInfo(event, data, 4, EVENT_DATA_ID, &infoType, text, &textSize),
                           GC_ERR_INVALID_PARAMETER, "Invalid input buffer passed when querying event data info",
                           "lumo::mockTL::EventWorker"));

  module.errorEvent()->Push({GC_ERR_ERROR, "flushed"});
  ASSERT_EQ(EventFlush(event), GC_ERR_SUCCESS);
  EXPECT_EQ(module.errorEvent()->numInQueue(), 0u);

  ASSERT_EQ(GCUnregisterEvent(module.handle(), EVENT_ERROR), GC_ERR_SUCCESS);
  EXPECT_TRUE(
      exportFailed(EventKill(event), GC_ERR_INVALID_PARAMETER, "event was never registered", exportBody("EventKill")));
}

TEST_F(EventExports, RegistrationWithoutAHandleOutputStillRegisters) {
  DescribedModule module(DescriptionKind::Buffer);
  ASSERT_EQ(GCRegisterEvent(module.handle(), EVENT_ERROR, nullptr), GC_ERR_SUCCESS);
  EXPECT_TRUE(module.errorEvent()->isRegistered());
}

TEST_F(EventExports, AStaleEventHandleIsKnownButNeverRegistered) {
  EVENT_HANDLE stale = nullptr;
  {
    DescribedModule module(DescriptionKind::Device);
    ASSERT_EQ(GCRegisterEvent(module.handle(), EVENT_ERROR, &stale), GC_ERR_SUCCESS);
  }
  char data[16];
  size_t dataSize = sizeof(data);
  EXPECT_TRUE(exportFailed(EventGetData(stale, data, &dataSize, 0), GC_ERR_INVALID_PARAMETER,
                           "event was never registered", exportBody("EventGetData")));
  EXPECT_TRUE(exportFailed(EventFlush(stale), GC_ERR_INVALID_PARAMETER, "event was never registered",
                           exportBody("EventFlush")));
}

TEST_F(EventExports, AWaitInTheExportOutlivesTheModuleThatOwnedTheEvent) {
  auto module = std::make_shared<DescribedModule>(DescriptionKind::Device);
  EVENT_HANDLE event = nullptr;
  ASSERT_EQ(GCRegisterEvent(module->handle(), EVENT_ERROR, &event), GC_ERR_SUCCESS);
  std::weak_ptr<ErrorEvent> errorEvent = module->errorEvent();
  GC_ERROR waited = GC_ERR_SUCCESS;
  std::thread waiter([&] {
    char data[16];
    size_t dataSize = sizeof(data);
    waited = EventGetData(event, data, &dataSize, 200);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  module.reset();
  waiter.join();
  // A waiter that had not started yet finds the event gone; one that had started keeps it alive
  // and times out. The sanitizers watch for the third outcome.
  EXPECT_TRUE(waited == GC_ERR_TIMEOUT || waited == GC_ERR_INVALID_PARAMETER) << waited;
  EXPECT_TRUE(errorEvent.expired());
}

}  // namespace
}  // namespace lumo::mockTL
