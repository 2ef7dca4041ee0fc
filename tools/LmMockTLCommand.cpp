// lmmocktl: a command-line GenTL consumer. Loads a producer (LmMockTL.cti beside the program unless
// --cti names another), lists its tree, reads and writes features through Aravis' GenApi engine,
// grabs frames into PNG files and records GenDC streams into stream files.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/CommandLine.h"
#include "tools/FeaturesCommand.h"
#include "tools/GenTLLibrary.h"
#include "tools/GrabCommand.h"
#include "tools/ListCommand.h"
#include "tools/RecordCommand.h"
#include "tools/ToolError.h"

namespace {

using namespace lmmocktl;

const char* kUsage =
    "usage: lmmocktl [--cti PATH] COMMAND [ARGUMENTS]\n"
    "\n"
    "A GenTL consumer on the command line.\n"
    "\n"
    "commands:\n"
    "  list       the producer's interfaces, devices and streams\n"
    "  features   list, read, write or execute features\n"
    "  grab       grab frames and write them as PNG files\n"
    "  record     record a GenDC stream into stream files\n"
    "\n"
    "  --cti PATH  the GenTL producer to load; by default the LmMockTL.cti built or installed\n"
    "              beside this program\n"
    "\n"
    "'lmmocktl COMMAND --help' describes a command.\n";

// The producer beside the program: the build tree keeps it one folder up, an installation in
// lib/gentl.
std::string defaultProducer() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return "LmMockTL.cti";
  const std::filesystem::path folder = program.parent_path();
  for (const std::filesystem::path& candidate : {folder / "LmMockTL.cti", folder.parent_path() / "LmMockTL.cti",
                                                 folder.parent_path() / "lib" / "gentl" / "LmMockTL.cti"}) {
    if (std::filesystem::exists(candidate, error)) return candidate.string();
  }
  return (folder.parent_path() / "LmMockTL.cti").string();
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> words(argv + 1, argv + argc);
  try {
    // --cti is global: it may stand before or after the command.
    std::string producer;
    for (auto word = words.begin(); word != words.end();) {
      if (*word == "--cti") {
        if (word + 1 == words.end()) throw ToolError("option --cti needs a value", ToolError::kUsage);
        producer = *(word + 1);
        word = words.erase(word, word + 2);
      } else if (word->starts_with("--cti=")) {
        producer = word->substr(6);
        word = words.erase(word);
      } else {
        ++word;
      }
    }
    if (words.empty() || words.front() == "--help" || words.front() == "-h" || words.front() == "help") {
      std::fputs(kUsage, words.empty() ? stderr : stdout);
      return words.empty() ? ToolError::kUsage : 0;
    }
    const std::string command = words.front();
    CommandLine line(std::vector<std::string>(words.begin() + 1, words.end()));
    struct Entry {
      const char* name;
      const char* (*help)();
      int (*run)(const GenTLLibrary&, CommandLine&);
    };
    const Entry commands[] = {{"list", ListCommand::help, ListCommand::run},
                              {"features", FeaturesCommand::help, FeaturesCommand::run},
                              {"grab", GrabCommand::help, GrabCommand::run},
                              {"record", RecordCommand::help, RecordCommand::run}};
    for (const Entry& entry : commands) {
      if (command != entry.name) continue;
      if (line.wantsHelp()) {
        std::fputs(entry.help(), stdout);
        return 0;
      }
      const GenTLLibrary gentl(producer.empty() ? defaultProducer() : producer);
      return entry.run(gentl, line);
    }
    throw ToolError("unknown command " + command + " (list, features, grab, record; see lmmocktl --help)",
                    ToolError::kUsage);
  } catch (const ToolError& error) {
    std::fprintf(stderr, "lmmocktl: %s\n", error.what());
    return error.exitCode();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "lmmocktl: %s\n", error.what());
    return ToolError::kFailure;
  }
}
