#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace cli_testing {

// One run of the built lmmocktl: its exit code and what it printed.
struct CliRun {
  int exitCode = -1;
  std::string out;
  std::string err;

  // Runs lmmocktl with `arguments` in `folder`, with LMMOCKTL_CONFIG naming `configuration`
  // (unset when empty).
  static CliRun run(const std::vector<std::string>& arguments, const std::filesystem::path& folder,
                    const std::filesystem::path& configuration);
};

}  // namespace cli_testing
