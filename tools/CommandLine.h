#pragma once

#include <optional>
#include <string>
#include <vector>

namespace lmmocktl {

// The words of one command after the command name, taken apart in the order a command asks for
// them: options first (anywhere among the words), then the positional words left over. Anything
// malformed is a ToolError with the usage exit code.
class CommandLine {
 public:
  explicit CommandLine(std::vector<std::string> words) : words_(std::move(words)) {}

  // True when "--help" or "-h" is among the words.
  bool wantsHelp() const;
  // Takes "--name" and returns whether it was there.
  bool flag(const std::string& name);
  // Takes "--name VALUE" or "--name=VALUE"; the last one wins.
  std::optional<std::string> option(const std::string& name);
  // Takes "--name N" as a positive number within [minimum, maximum].
  std::optional<unsigned long long> number(const std::string& name, unsigned long long minimum,
                                           unsigned long long maximum);
  // The words no option took. Throws ToolError for a word that still starts with "--".
  std::vector<std::string> positionals() const;

 private:
  std::vector<std::string> words_;
};

}  // namespace lmmocktl
