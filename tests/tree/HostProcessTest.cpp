// What a host program sees, each scenario in a fresh process (the producer keeps its unique id for
// a process's life): the host probe exports the hooks a consumer program can configure LmMockTL
// with, loads the built LmMockTL.cti and prints the tree it finds. The order in which the other
// places are searched is covered by the loader's own tests.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "support/ScopedEnvironment.h"

namespace {

using testing_support::TemporaryDirectory;

std::string quoted(const std::string& text) { return "'" + text + "'"; }

// Runs the probe in `directory` with only the given configuration variables set; returns what it
// printed (standard output and error).
std::string runProbe(const std::filesystem::path& directory, const std::map<std::string, std::string>& variables) {
  std::string command = "cd " + quoted(directory.string()) + " && env -u LMMOCKTL_CONFIG -u LUMODATA";
  for (const auto& [name, value] : variables) {
    command += " " + name + "=" + quoted(value);
  }
  command += " " + quoted(LMMOCKTL_HOST_PROBE_PATH) + " " + quoted(LMMOCKTL_CTI_PATH) + " 2>&1";
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) {
    ADD_FAILURE() << "cannot run " << command;
    return {};
  }
  std::string output;
  char chunk[256];
  while (std::fgets(chunk, sizeof(chunk), pipe) != nullptr) output += chunk;
  EXPECT_EQ(::pclose(pipe), 0) << output;
  return output;
}

std::string treeFile(const std::string& interfaceId) { return R"({"Interfaces": [{"ID": ")" + interfaceId + R"("}]})"; }

class HostProcess : public ::testing::Test {
 protected:
  TemporaryDirectory work;
};

TEST_F(HostProcess, HostExportBeatsTheEnvironmentVariable) {
  const auto host = work.write("host.json", treeFile("FromHost"));
  const auto variable = work.write("variable.json", treeFile("FromVariable"));
  const std::string output =
      runProbe(work.path(), {{"PROBE_CONFIG_PATH", host.string()}, {"LMMOCKTL_CONFIG", variable.string()}});
  EXPECT_NE(output.find("interface=FromHost\n"), std::string::npos) << output;
}

TEST_F(HostProcess, BrokenFilePrintsTheParserMessageAndKeepsTheBuiltInTree) {
  const auto broken = work.write("broken.json", R"({"Interfaces": [ {"ID": "Half" )");
  const std::string output = runProbe(work.path(), {{"LMMOCKTL_CONFIG", broken.string()}});
  EXPECT_EQ(output.find("[json.exception.parse_error.101] parse error"), 0u) << output;
  EXPECT_NE(output.find("interface=MyInterface0\n"), std::string::npos) << output;
}

TEST_F(HostProcess, HostUniqueIdExportNamesTheSystem) {
  EXPECT_EQ(runProbe(work.path(), {{"PROBE_UNIQUE_ID", "BenchSystem"}}).find("id=BenchSystem\n"), 0u);
}

TEST_F(HostProcess, ConfiguredSystemIdIsTheUniqueId) {
  const auto file = work.write("named.json", R"({"ID": "Bench", "Interfaces": []})");
  EXPECT_EQ(runProbe(work.path(), {{"LMMOCKTL_CONFIG", file.string()}}), "id=Bench\n");
}

TEST_F(HostProcess, EmptySystemIdMakesTheIdAnswerTheVendor) {
  const auto file = work.write("unnamed.json", R"({"ID": ""})");
  EXPECT_EQ(runProbe(work.path(), {{"LMMOCKTL_CONFIG", file.string()}}), "id=KORVANE IMAGING\n");
}

}  // namespace
