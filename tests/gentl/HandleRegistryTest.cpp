// Handle lifetimes: an address belongs to what lives there now, and a module that fails to build
// leaves no handle behind.
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "gentl/HandleRegistry.h"
#include "support/DescribedModule.h"

namespace lumo::mockTL {
namespace {

using testing_support::DescribedModule;

TEST(HandleRegistry, AnObjectBuiltAtAnEventsOldAddressTakesTheEntryOver) {
  alignas(DescribedModule) unsigned char storage[sizeof(DescribedModule)] = {};
  HandleRegistry::Register(storage, HandleKind::Event);
  auto* module = new (storage) DescribedModule(DescriptionKind::Buffer);
  EXPECT_EQ(HandleRegistry::KindOf(storage), HandleKind::Module);
  module->~DescribedModule();
  EXPECT_FALSE(HandleRegistry::IsKnown(storage));
}

// A module whose own constructor fails after the base was built.
class FailingModule : public DescribedModule {
 public:
  explicit FailingModule(std::weak_ptr<ErrorEvent>& errorEventSeen) : DescribedModule(DescriptionKind::Buffer) {
    errorEventSeen = errorEvent();
    throw std::runtime_error("construction failed");
  }
};

TEST(HandleRegistry, AFailedModuleConstructionUnwindsTheHandleAndTheEvents) {
  alignas(FailingModule) unsigned char storage[sizeof(FailingModule)];
  std::weak_ptr<ErrorEvent> errorEvent;
  EXPECT_THROW(new (storage) FailingModule(errorEvent), std::runtime_error);
  EXPECT_FALSE(HandleRegistry::IsKnown(storage)) << "the port's live-handle entry must go";
  EXPECT_TRUE(errorEvent.expired()) << "the error event must be destroyed";
}

}  // namespace
}  // namespace lumo::mockTL
