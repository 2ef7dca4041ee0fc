#include <gtest/gtest.h>

#include "gentl/HandleChecks.h"
#include "gentl/HandleRegistry.h"
#include "support/DescribedModule.h"
#include "support/ExpectGenTLError.h"

namespace lumo::mockTL {
namespace {

using testing_support::DescribedModule;

constexpr checks::HandleMessages kMessages{"handle is invalid", "handle is unknown", "handle is invalid after cast"};

// Stands for any module class other than the one under test.
class OtherModule : public DescribedModule {
 public:
  OtherModule() : DescribedModule(DescriptionKind::Interface) {}
};

TEST(HandleChecks, RunNullThenRegistryThenCast) {
  DescribedModule module(DescriptionKind::System);
  EXPECT_GENTL_ERROR(checks::requireModule<DescribedModule>(nullptr, "body", kMessages), GC_ERR_INVALID_HANDLE,
                     "handle is invalid");
  int unrelated = 0;
  EXPECT_GENTL_ERROR(checks::requireModule<DescribedModule>(&unrelated, "body", kMessages), GC_ERR_INVALID_HANDLE,
                     "handle is unknown");
  EXPECT_EQ(&checks::requireModule<DescribedModule>(module.handle(), "body", kMessages), &module);
  // The port handle of a module is its module handle.
  EXPECT_EQ(&checks::requireModule<Port>(module.handle(), "body", kMessages), &module.self());
}

TEST(HandleChecks, AHandleOfAnotherClassIsNeverUsedAsThatClass) {
  DescribedModule module(DescriptionKind::Device);
  EXPECT_GENTL_ERROR(checks::requireModule<OtherModule>(module.handle(), "body", kMessages), GC_ERR_INVALID_HANDLE,
                     "handle is invalid after cast");
  int eventStandIn = 0;
  HandleRegistry::Register(&eventStandIn, HandleKind::Event);
  EXPECT_GENTL_ERROR(checks::requireModule<Port>(&eventStandIn, "body", kMessages), GC_ERR_INVALID_HANDLE,
                     "handle is invalid after cast");
  HandleRegistry::Unregister(&eventStandIn);
}

TEST(HandleRegistry, AnObjectBuiltAtAnEventsOldAddressTakesTheEntryOver) {
  alignas(DescribedModule) unsigned char storage[sizeof(DescribedModule)] = {};
  HandleRegistry::Register(storage, HandleKind::Event);
  auto* module = new (storage) DescribedModule(DescriptionKind::Buffer);
  EXPECT_EQ(HandleRegistry::KindOf(storage), HandleKind::Module);
  module->~DescribedModule();
  EXPECT_FALSE(HandleRegistry::IsKnown(storage));
}

}  // namespace
}  // namespace lumo::mockTL
