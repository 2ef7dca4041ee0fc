// lmmocktl: a command-line GenTL consumer. Loads a producer (LmMockTL.cti beside the program unless
// --cti names another), lists its tree, reads and writes features through Aravis' GenApi engine,
// grabs frames into PNG files and records GenDC streams into stream files.
#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

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

// Our help texts in place of the ones CLI11 would generate. --help is answered as soon as it is
// read, so that it wins over any mistake elsewhere on the line.
void setHelp(CLI::App* command, const char* text) {
  command->formatter_fn([text](const CLI::App*, const std::string&, CLI::AppFormatMode) { return std::string(text); });
  command->get_help_ptr()->trigger_on_parse()->each([](const std::string&) { throw CLI::CallForHelp(); });
}

// Declares "--name N", a whole number within [minimum, maximum]. A number out of range is refused
// here, in our words: a message handed back to CLI11 would come with the option's name in front.
template <class Number>
void addNumber(CLI::App* command, const std::string& name, Number& value, unsigned long long minimum,
               unsigned long long maximum) {
  command->add_option(name, value)->each([=](const std::string& text) {
    unsigned long long number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc() || end != text.data() + text.size() || number < minimum || number > maximum) {
      throw ToolError(
          name + " takes a number from " + std::to_string(minimum) + " to " + std::to_string(maximum) + ", not " + text,
          ToolError::kUsage);
    }
  });
}

// Parses the command line. Returns the exit code when it is answered without running a command
// (help, usage); throws ToolError, in our words, for a line that cannot be understood.
std::optional<int> parse(CLI::App& app, int argc, char** argv) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::fputs(app.help().c_str(), stdout);  // the chosen command's help
    return 0;
  } catch (const CLI::ArgumentMismatch& error) {
    const std::string message = error.what();  // "--count: 1 required UINT missing"
    throw ToolError("option " + message.substr(0, message.find(':')) + " needs a value", ToolError::kUsage);
  } catch (const CLI::ParseError& error) {
    throw ToolError(error.what(), ToolError::kUsage);
  }
  const std::vector<std::string> extras = app.remaining();
  const CLI::App* command = app.get_subcommands().empty() ? nullptr : app.get_subcommands().front();
  if (command == nullptr && (extras.empty() || extras.front() == "help")) {
    std::fputs(kUsage, extras.empty() ? stderr : stdout);
    return extras.empty() ? ToolError::kUsage : 0;
  }
  for (const std::string& word : extras) {
    if (word.starts_with("-")) throw ToolError("unknown option " + word, ToolError::kUsage);
    if (command != nullptr) throw ToolError(command->get_name() + " takes no arguments", ToolError::kUsage);
    throw ToolError("unknown command " + word + " (list, features, grab, record; see lmmocktl --help)",
                    ToolError::kUsage);
  }
  return std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app;
  setHelp(&app, kUsage);
  // Options may stand anywhere after their command, --cti anywhere at all (a command's unknown
  // options fall through to the program); the last of a repeated option wins. Words CLI11 cannot
  // place are left over for us to refuse.
  app.fallthrough();
  app.allow_extras();
  app.require_subcommand(0, 1);
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  std::string producer;
  app.add_option("--cti", producer);

  CLI::App* listCommand = app.add_subcommand("list");
  setHelp(listCommand, ListCommand::help());

  FeaturesCommand::Options features;
  CLI::App* featuresCommand = app.add_subcommand("features");
  setHelp(featuresCommand, FeaturesCommand::help());
  featuresCommand->add_option("--module", features.module);
  featuresCommand->add_option("--stream", features.stream);
  featuresCommand->add_option("words", features.words);

  GrabCommand::Options grab;
  CLI::App* grabCommand = app.add_subcommand("grab");
  setHelp(grabCommand, GrabCommand::help());
  grabCommand->add_option("--stream", grab.stream);
  addNumber(grabCommand, "--count", grab.count, 1, 1000000);
  addNumber(grabCommand, "--buffers", grab.buffers, 1, 1000);
  addNumber(grabCommand, "--timeout", grab.timeoutMs, 1, 3600000);
  addNumber(grabCommand, "--trigger", grab.triggers, 1, 1000000);
  grabCommand->add_option("--out", grab.out);
  grabCommand->add_flag("--raw", grab.raw);
  grabCommand->add_option("words", grab.words);

  RecordCommand::Options record;
  CLI::App* recordCommand = app.add_subcommand("record");
  setHelp(recordCommand, RecordCommand::help());
  recordCommand->add_option("--out", record.out);
  addNumber(recordCommand, "--count", record.count, 1, 100000000);
  recordCommand->add_option("--stream", record.stream);
  addNumber(recordCommand, "--buffers", record.buffers, 1, 1000);
  addNumber(recordCommand, "--frames-per-file", record.framesPerFile, 1, 1000000);
  addNumber(recordCommand, "--timeout", record.timeoutMs, 1, 3600000);
  recordCommand->add_option("words", record.words);

  try {
    if (const std::optional<int> answered = parse(app, argc, argv)) return *answered;
    const CLI::App* command = app.get_subcommands().front();
    const GenTLLibrary gentl(producer.empty() ? defaultProducer() : producer);
    if (command == listCommand) return ListCommand::run(gentl);
    if (command == featuresCommand) return FeaturesCommand::run(gentl, features);
    if (command == grabCommand) return GrabCommand::run(gentl, grab);
    return RecordCommand::run(gentl, record);
  } catch (const ToolError& error) {
    std::fprintf(stderr, "lmmocktl: %s\n", error.what());
    return error.exitCode();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "lmmocktl: %s\n", error.what());
    return ToolError::kFailure;
  }
}
