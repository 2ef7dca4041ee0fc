#include "tools/CommandLine.h"

#include <algorithm>

#include "tools/ToolError.h"

namespace lmmocktl {

bool CommandLine::wantsHelp() const {
  return std::any_of(words_.begin(), words_.end(),
                     [](const std::string& word) { return word == "--help" || word == "-h"; });
}

bool CommandLine::flag(const std::string& name) {
  const auto found = std::find(words_.begin(), words_.end(), "--" + name);
  if (found == words_.end()) return false;
  words_.erase(found);
  return true;
}

std::optional<std::string> CommandLine::option(const std::string& name) {
  std::optional<std::string> value;
  const std::string spelled = "--" + name;
  for (auto word = words_.begin(); word != words_.end();) {
    if (*word == spelled) {
      if (word + 1 == words_.end()) throw ToolError("option " + spelled + " needs a value", ToolError::kUsage);
      value = *(word + 1);
      word = words_.erase(word, word + 2);
    } else if (word->starts_with(spelled + "=")) {
      value = word->substr(spelled.size() + 1);
      word = words_.erase(word);
    } else {
      ++word;
    }
  }
  return value;
}

std::optional<unsigned long long> CommandLine::number(const std::string& name, unsigned long long minimum,
                                                      unsigned long long maximum) {
  const std::optional<std::string> text = option(name);
  if (!text) return std::nullopt;
  std::size_t used = 0;
  unsigned long long value = 0;
  try {
    value = std::stoull(*text, &used);
  } catch (const std::exception&) {
    used = 0;
  }
  if (used == 0 || used != text->size() || text->front() == '-' || value < minimum || value > maximum) {
    throw ToolError("--" + name + " takes a number from " + std::to_string(minimum) + " to " + std::to_string(maximum) +
                        ", not " + *text,
                    ToolError::kUsage);
  }
  return value;
}

std::vector<std::string> CommandLine::positionals() const {
  for (const std::string& word : words_) {
    if (word.starts_with("--")) throw ToolError("unknown option " + word, ToolError::kUsage);
  }
  return words_;
}

}  // namespace lmmocktl
