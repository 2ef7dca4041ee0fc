#pragma once

#include <stdexcept>
#include <string>

namespace lmmocktl {

// A failure the command reports as its one line on standard error, with the exit code it ends
// with: 2 for a command line that cannot be understood, 1 for everything that goes wrong later.
class ToolError : public std::runtime_error {
 public:
  enum : int { kFailure = 1, kUsage = 2 };

  explicit ToolError(const std::string& message, int exitCode = kFailure)
      : std::runtime_error(message), exitCode_(exitCode) {}

  int exitCode() const { return exitCode_; }

 private:
  int exitCode_;
};

}  // namespace lmmocktl
