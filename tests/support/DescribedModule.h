#pragma once

#include <string>

#include "module/Module.h"

namespace testing_support {

// A module that serves one kind's description and two registers of its own, as every concrete
// module does from its initRegisterMap.
class DescribedModule : public lumo::mockTL::SpecificModule<void*> {
 public:
  explicit DescribedModule(lumo::mockTL::DescriptionKind kind) : SpecificModule(nullptr), kind_(kind) {
    initRegisterMap();
  }

  void initRegisterMap() override {
    using lumo::mockTL::RegisterAccess;
    using lumo::mockTL::RegisterType;
    declareDescribedRegisters(kind_, "TLTest", "TestPort",
                              {{100, 0x0, 4, RegisterType::Uint32, RegisterAccess::ReadWrite},
                               {101, 0x10, 8, RegisterType::Uint64, RegisterAccess::ReadOnly}});
  }

  std::string ReadStringRegImpl(std::uint32_t id) override {
    return id == kDescriptionRegisterId ? descriptionText() : SpecificModule::ReadStringRegImpl(id);
  }
  std::uint32_t ReadUint32RegImpl(std::uint32_t) override { return value; }
  void WriteUint32RegImpl(std::uint32_t, std::uint32_t written) override { value = written; }
  std::uint64_t ReadUint64RegImpl(std::uint32_t) override { return 0x1122334455667788; }

  void disablePort() { setPortImplemented(false); }

  std::uint32_t value = 0;

 private:
  lumo::mockTL::DescriptionKind kind_;
};

}  // namespace testing_support
