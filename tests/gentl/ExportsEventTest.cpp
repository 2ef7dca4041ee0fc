// The event export bodies against test modules, for what a consumer cannot bring about: error
// items pushed at will, modules destroyed while their events are in use, and a module not yet
// published.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "base/GenTL.h"
#include "gentl/LastErrorStore.h"
#include "gentl/Library.h"
#include "support/DescribedModule.h"

namespace lumo::mockTL {
namespace {

using testing_support::DescribedModule;

// The start of the origin text of an export body's own checks.
std::string exportBody(const std::string& exportName) { return "GenTL::" + exportName + "::"; }

// Whether the export returned `code` and left, as the calling thread's last error, the same code
// and a text made of `message` and an origin that starts with `origin`.
::testing::AssertionResult exportFailed(GC_ERROR result, GC_ERROR code, const std::string& message,
                                        const std::string& origin) {
  const auto record = error::LastErrorStore::instance().fetch();
  const std::string prefix = message + ":" + origin;
  if (result != code || record.code != code || record.text.rfind(prefix, 0) != 0) {
    return ::testing::AssertionFailure() << "returned " << result << ", last error " << record.code << " \""
                                         << record.text << "\"; expected " << code << " \"" << prefix << "...\"";
  }
  return ::testing::AssertionSuccess();
}

// The export bodies linked in and called directly, with the library initialised and no last
// errors, as after GCInitLib; uninitialised again after.
class EventExports : public ::testing::Test {
 protected:
  void SetUp() override {
    Library::setInitialised(true);
    error::LastErrorStore::instance().clear();
  }
  void TearDown() override { Library::setInitialised(false); }
};

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

TEST_F(EventExports, RefuseTheHandleOfAModuleStillBeingBuilt) {
  DescribedModule module(DescriptionKind::Device);
  EVENT_HANDLE event = nullptr;
  EXPECT_TRUE(exportFailed(GCRegisterEvent(module.handle(), EVENT_ERROR, &event), GC_ERR_INVALID_HANDLE,
                           "handle is unknown", exportBody("GCRegisterEvent")));
  EXPECT_FALSE(module.errorEvent()->isRegistered());
}

}  // namespace
}  // namespace lumo::mockTL
