// The event export bodies against test modules, for what a consumer cannot bring about: error
// items pushed at will, and modules destroyed while their events are in use.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <memory>
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

using EventExports = testing_support::InitialisedLibrary;

TEST_F(EventExports, ARegisteredErrorEventDeliversThroughTheExports) {
  const auto module = Module::published(std::make_shared<DescribedModule>(DescriptionKind::System));
  EVENT_HANDLE event = nullptr;
  ASSERT_EQ(GCRegisterEvent(module->handle(), EVENT_ERROR, &event), GC_ERR_SUCCESS);
  EXPECT_EQ(event, module->errorEvent()->handle());

  module->errorEvent()->Push({GC_ERR_INVALID_ADDRESS, "bad address"});
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

  module->errorEvent()->Push({GC_ERR_ERROR, "flushed"});
  ASSERT_EQ(EventFlush(event), GC_ERR_SUCCESS);
  EXPECT_EQ(module->errorEvent()->numInQueue(), 0u);

  ASSERT_EQ(GCUnregisterEvent(module->handle(), EVENT_ERROR), GC_ERR_SUCCESS);
  EXPECT_TRUE(
      exportFailed(EventKill(event), GC_ERR_INVALID_PARAMETER, "event was never registered", exportBody("EventKill")));
}

TEST_F(EventExports, RegistrationWithoutAHandleOutputStillRegisters) {
  const auto module = Module::published(std::make_shared<DescribedModule>(DescriptionKind::Buffer));
  ASSERT_EQ(GCRegisterEvent(module->handle(), EVENT_ERROR, nullptr), GC_ERR_SUCCESS);
  EXPECT_TRUE(module->errorEvent()->isRegistered());
}

TEST_F(EventExports, AStaleEventHandleIsKnownButNeverRegistered) {
  EVENT_HANDLE stale = nullptr;
  {
    const auto module = Module::published(std::make_shared<DescribedModule>(DescriptionKind::Device));
    ASSERT_EQ(GCRegisterEvent(module->handle(), EVENT_ERROR, &stale), GC_ERR_SUCCESS);
  }
  EXPECT_TRUE(exportFailed(EventFlush(stale), GC_ERR_INVALID_PARAMETER, "event was never registered",
                           exportBody("EventFlush")));
}

TEST_F(EventExports, AWaitInTheExportOutlivesTheModuleThatOwnedTheEvent) {
  auto module = Module::published(std::make_shared<DescribedModule>(DescriptionKind::Device));
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
