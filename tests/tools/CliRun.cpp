#include "CliRun.h"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace cli_testing {

namespace {

std::string quoted(const std::string& word) {
  std::string text = "'";
  for (char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return text + "'";
}

std::string slurp(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

}  // namespace

CliRun CliRun::run(const std::vector<std::string>& arguments, const std::filesystem::path& folder,
                   const std::filesystem::path& configuration) {
  std::string command = "cd " + quoted(folder.string()) + " && ";
  command += configuration.empty() ? "env -u LMMOCKTL_CONFIG " : "LMMOCKTL_CONFIG=" + quoted(configuration) + " ";
  command += quoted(LMMOCKTL_CLI_PATH);
  for (const std::string& argument : arguments) command += " " + quoted(argument);
  const std::filesystem::path out = folder / "cli.out";
  const std::filesystem::path err = folder / "cli.err";
  command += " >" + quoted(out.string()) + " 2>" + quoted(err.string()) + " </dev/null";
  const int status = std::system(command.c_str());
  CliRun result;
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.out = slurp(out);
  result.err = slurp(err);
  return result;
}

}  // namespace cli_testing
