// Handle lifetimes: a module's handle reaches it only between its publication and the start of its
// destruction, an address belongs to what lives there now, and a module that fails to build leaves
// no handle behind.
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <stdexcept>

#include "base/HandleRegistry.h"
#include "support/DescribedModule.h"

namespace lumo::mockTL {
namespace {

using testing_support::DescribedModule;

// Notes, while it is being destroyed, whether its handle still reaches it.
class WatchedModule : public DescribedModule {
 public:
  explicit WatchedModule(bool& reachableWhileDying)
      : DescribedModule(DescriptionKind::Buffer), seen_(reachableWhileDying) {}
  ~WatchedModule() override { seen_ = HandleRegistry::ModuleAt(handle()) != nullptr; }

 private:
  bool& seen_;
};

TEST(HandleRegistry, AModuleIsReachableOnlyFromItsPublicationToTheStartOfItsDestruction) {
  bool reachableWhileDying = true;
  auto module = std::make_shared<WatchedModule>(reachableWhileDying);
  void* handle = module->handle();
  EXPECT_FALSE(HandleRegistry::IsKnown(handle)) << "a module is unknown until it is published";

  Module::published(module);
  EXPECT_EQ(HandleRegistry::ModuleAt(handle).get(), static_cast<Port*>(module.get()));
  EXPECT_EQ(HandleRegistry::EventAt(handle), nullptr);

  module.reset();
  EXPECT_FALSE(reachableWhileDying);
  EXPECT_FALSE(HandleRegistry::IsKnown(handle));
}

TEST(HandleRegistry, AModulePublishedAtAnEventsOldAddressTakesTheEntryOver) {
  std::weak_ptr<ErrorEvent> gone;
  void* address = nullptr;
  {
    auto event = Event::create<ErrorEvent>();
    gone = event;
    address = event->handle();
  }
  ASSERT_EQ(HandleRegistry::KindOf(address), HandleKind::Event) << "an event's address stays known";

  // A module built where the event was (placement keeps the address).
  alignas(DescribedModule) unsigned char storage[sizeof(DescribedModule)];
  auto* placed = new (storage) DescribedModule(DescriptionKind::Buffer);
  std::shared_ptr<Port> module(static_cast<Port*>(placed), [](Port* port) { port->~Port(); });
  HandleRegistry::RegisterModule(module);
  EXPECT_EQ(HandleRegistry::KindOf(placed->handle()), HandleKind::Module);
  module.reset();
  EXPECT_FALSE(HandleRegistry::IsKnown(storage));
  EXPECT_TRUE(gone.expired());
}

// A module whose own constructor fails after the base was built.
class FailingModule : public DescribedModule {
 public:
  explicit FailingModule(std::weak_ptr<ErrorEvent>& errorEventSeen) : DescribedModule(DescriptionKind::Buffer) {
    errorEventSeen = errorEvent();
    throw std::runtime_error("construction failed");
  }
};

TEST(HandleRegistry, AFailedModuleConstructionLeavesNoHandleAndNoEvents) {
  std::weak_ptr<ErrorEvent> errorEvent;
  EXPECT_THROW(std::make_shared<FailingModule>(errorEvent), std::runtime_error);
  EXPECT_TRUE(errorEvent.expired()) << "the error event must be destroyed";
}

}  // namespace
}  // namespace lumo::mockTL
