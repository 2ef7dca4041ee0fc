// A module's event kinds and the lifetime of event handles.
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "event/EventSource.h"
#include "event/NewBufferEvent.h"
#include "gentl/HandleRegistry.h"
#include "support/DescribedModule.h"

namespace lumo::mockTL {
namespace {

using testing_support::DescribedModule;

TEST(ModuleEvents, EveryModuleOffersItsErrorEventAndNothingElse) {
  DescribedModule module(DescriptionKind::Device);
  EXPECT_EQ(module.eventSource()->find(EVENT_ERROR), module.errorEvent());
  EXPECT_EQ(module.eventSource()->find(EVENT_NEW_BUFFER), nullptr);
  EXPECT_EQ(module.eventSource()->find(EVENT_REMOTE_DEVICE), nullptr);
  EXPECT_FALSE(module.errorEvent()->isRegistered());
}

TEST(ModuleEvents, InitEventsMarksTheSourceSetUpAfterFurtherKindsAreAdded) {
  class StreamLike : public DescribedModule {
   public:
    StreamLike() : DescribedModule(DescriptionKind::DataStream) {}
    void initEvents() override {
      eventSource()->add(Event::create<NewBufferEvent>());
      DescribedModule::initEvents();
    }
  } module;
  EXPECT_FALSE(module.eventsInitialised());
  module.initEvents();
  EXPECT_TRUE(module.eventsInitialised());
  EXPECT_EQ(module.eventSource()->find(EVENT_NEW_BUFFER)->eventType(), EVENT_NEW_BUFFER);
}

TEST(EventHandles, AnErrorEventsHandleIsAnEventAndOutlivesItsModuleWithoutReachingIt) {
  void* handle = nullptr;
  {
    DescribedModule module(DescriptionKind::Interface);
    handle = module.errorEvent()->handle();
    EXPECT_EQ(HandleRegistry::KindOf(handle), HandleKind::Event);
    EXPECT_EQ(HandleRegistry::EventAt(handle), module.errorEvent());
    EXPECT_EQ(HandleRegistry::EventAt(module.handle()), nullptr) << "a module handle is no event";
  }
  EXPECT_TRUE(HandleRegistry::IsKnown(handle)) << "event handles stay known";
  EXPECT_EQ(HandleRegistry::EventAt(handle), nullptr) << "but the dead event is out of reach";
}

// A module whose own constructor fails after the base was built.
class FailingModule : public DescribedModule {
 public:
  explicit FailingModule(std::weak_ptr<ErrorEvent>& errorEventSeen) : DescribedModule(DescriptionKind::Buffer) {
    errorEventSeen = errorEvent();
    throw std::runtime_error("construction failed");
  }
};

TEST(ModuleConstruction, AFailureUnwindsTheHandleAndTheEvents) {
  alignas(FailingModule) unsigned char storage[sizeof(FailingModule)];
  std::weak_ptr<ErrorEvent> errorEvent;
  EXPECT_THROW(new (storage) FailingModule(errorEvent), std::runtime_error);
  EXPECT_FALSE(HandleRegistry::IsKnown(storage)) << "the port's live-handle entry must go";
  EXPECT_TRUE(errorEvent.expired()) << "the error event must be destroyed";
}

}  // namespace
}  // namespace lumo::mockTL
