// Every register node of a module's GenApi description lies at an address the module declares,
// with the node's length and access: a consumer's node map reads exactly what the module serves.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <regex>
#include <string>

#include "module/Description.h"
#include "tree/ConfigurationLoader.h"
#include "tree/Device.h"
#include "tree/Interface.h"
#include "tree/RemoteDevice.h"
#include "tree/TransportLayer.h"

namespace lumo::mockTL {
namespace {

struct ModuleCase {
  const char* name;
  DescriptionKind kind;
  std::function<std::shared_ptr<Module>()> build;
  // Registers whose declared access deliberately differs from the node's.
  std::map<std::string, RegisterAccess> declaredAccess = {};
};

void PrintTo(const ModuleCase& c, std::ostream* out) { *out << c.name; }

RegisterAccess accessNamed(const std::string& mode) {
  if (mode == "RO") return RegisterAccess::ReadOnly;
  if (mode == "WO") return RegisterAccess::WriteOnly;
  if (mode == "RW") return RegisterAccess::ReadWrite;
  return RegisterAccess::NotAvailable;
}

std::string child(const std::string& node, const char* element) {
  std::smatch match;
  const std::regex pattern(std::string("<") + element + ">([^<]*)</" + element + ">");
  return std::regex_search(node, match, pattern) ? match[1].str() : std::string();
}

class DeclaredRegisters : public ::testing::TestWithParam<ModuleCase> {};

TEST_P(DeclaredRegisters, MatchEveryRegisterNodeOfTheDescription) {
  const auto module = GetParam().build();
  const std::string text(description(GetParam().kind).text);
  const std::regex node(R"re(<(IntReg|StringReg|MaskedIntReg|Register) Name="([^"]+)"[^>]*>([\s\S]*?)</\1>)re");
  int nodes = 0;
  for (auto it = std::sregex_iterator(text.begin(), text.end(), node); it != std::sregex_iterator(); ++it, ++nodes) {
    const std::string name = (*it)[2];
    const std::string body = (*it)[3];
    const std::uint64_t address = std::stoull(child(body, "Address"), nullptr, 0);
    // A register whose length another node gives is checked for its address alone.
    const std::string lengthText = child(body, "Length");
    const auto& declared = module->registers();
    const auto found = std::find_if(declared.begin(), declared.end(),
                                    [&](const RegisterRecord& r) { return r.address == address && r.id != 0; });
    ASSERT_NE(found, declared.end()) << name << " at " << address;
    const std::uint64_t length = lengthText.empty() ? found->length : std::stoull(lengthText, nullptr, 0);
    EXPECT_EQ(found->length, length) << name;
    const auto exception = GetParam().declaredAccess.find(name);
    EXPECT_EQ(found->access,
              exception != GetParam().declaredAccess.end() ? exception->second : accessNamed(child(body, "AccessMode")))
        << name;
    const std::string kind = (*it)[1];
    EXPECT_EQ(found->type, kind == "Register" ? RegisterType::Raw
                           : body.find("<Sign>") != std::string::npos
                               ? (length == 8 ? RegisterType::Uint64 : RegisterType::Uint32)
                               : RegisterType::String)
        << name;
  }
  EXPECT_GT(nodes, 0);
}

INSTANTIATE_TEST_SUITE_P(
    TreeModules, DeclaredRegisters,
    ::testing::Values(
        ModuleCase{"System", DescriptionKind::System,
                   [] { return std::make_shared<TransportLayer>(ConfigurationLoader::builtIn()); }},
        ModuleCase{"Interface", DescriptionKind::Interface,
                   [] { return std::make_shared<Interface>(nullptr, ConfigurationLoader::builtInInterface()); }},
        ModuleCase{"Device", DescriptionKind::Device,
                   [] { return Device::create(nullptr, ConfigurationLoader::builtInDevice()); }},
        ModuleCase{"RemoteDevice",
                   DescriptionKind::Remote,
                   [] { return std::make_shared<RemoteDevice>(nullptr); },
                   {{"TriggerCount", RegisterAccess::ReadOnly}, {"FileAccessBuffer", RegisterAccess::ReadWrite}}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(RemoteDeviceRegisters, DeclareTheUndescribedRegisterAtItsAddress) {
  const auto remote = std::make_shared<RemoteDevice>(nullptr);
  const auto& declared = remote->registers();
  const auto found = std::find_if(declared.begin(), declared.end(),
                                  [](const RegisterRecord& r) { return r.address == 0x11500 && r.id != 0; });
  ASSERT_NE(found, declared.end());
  EXPECT_EQ(found->id, 10023u);
  EXPECT_EQ(found->length, 4u);
  EXPECT_EQ(found->type, RegisterType::Uint32);
  EXPECT_EQ(found->access, RegisterAccess::ReadOnly);
}

}  // namespace
}  // namespace lumo::mockTL
