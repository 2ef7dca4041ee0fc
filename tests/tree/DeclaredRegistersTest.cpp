// Every register node of a module's GenApi description lies at an address the module declares,
// with the node's length and access, and no two nodes overlap: a consumer's node map reads exactly
// what the module serves, and no two features alias.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "module/Description.h"
#include "stream/Buffer.h"
#include "stream/DataStream.h"
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
  // Registers deliberately declared wider than their node: a consumer reads their low bytes.
  std::set<std::string> declaredWider = {};
};

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
  // Name, address and length of each node, for the overlap check.
  std::vector<std::tuple<std::uint64_t, std::uint64_t, std::string>> spans;
  for (auto it = std::sregex_iterator(text.begin(), text.end(), node); it != std::sregex_iterator(); ++it) {
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
    spans.emplace_back(address, lengthText.empty() ? 1 : length, name);
    const auto exception = GetParam().declaredAccess.find(name);
    EXPECT_EQ(found->access,
              exception != GetParam().declaredAccess.end() ? exception->second : accessNamed(child(body, "AccessMode")))
        << name;
    if (GetParam().declaredWider.contains(name)) {
      EXPECT_GT(found->length, length) << name;
      continue;
    }
    EXPECT_EQ(found->length, length) << name;
    const std::string kind = (*it)[1];
    EXPECT_EQ(found->type, kind == "Register" ? RegisterType::Raw
                           : body.find("<Sign>") != std::string::npos
                               ? (length == 8 ? RegisterType::Uint64 : RegisterType::Uint32)
                               : RegisterType::String)
        << name;
  }
  ASSERT_GT(spans.size(), 4u);
  std::sort(spans.begin(), spans.end());
  for (std::size_t i = 1; i < spans.size(); ++i) {
    const auto& [address, length, name] = spans[i - 1];
    EXPECT_LE(address + length, std::get<0>(spans[i])) << name << " overlaps " << std::get<2>(spans[i]);
  }
}

INSTANTIATE_TEST_SUITE_P(
    EveryModule, DeclaredRegisters,
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
                   {{"TriggerCount", RegisterAccess::ReadOnly}, {"FileAccessBuffer", RegisterAccess::ReadWrite}}},
        ModuleCase{"DataStream", DescriptionKind::DataStream,
                   [] { return std::make_shared<DataStream>(nullptr, StreamConfiguration{}); }},
        ModuleCase{
            "Buffer",
            DescriptionKind::Buffer,
            [] { return std::make_shared<Buffer>(std::make_shared<DataStream>(nullptr, StreamConfiguration{}), 16); },
            {},
            {"BufferSize"}}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace lumo::mockTL
