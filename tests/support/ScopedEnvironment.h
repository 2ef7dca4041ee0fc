#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

// Process state that configuration tests change and must put back: environment variables, the
// working directory and files in a private temporary directory.
namespace testing_support {

// A fresh directory under the system's temporary directory, removed with its contents.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    static std::atomic<int> counter{0};
    path_ = std::filesystem::temp_directory_path() /
            ("lmmocktl-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    std::filesystem::create_directories(path_);
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }

  // Writes `text` to `name` inside the directory and returns its full path.
  std::filesystem::path write(const std::string& name, const std::string& text) const {
    const auto file = path_ / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
    return file;
  }

 private:
  std::filesystem::path path_;
};

// Sets (or, given nullopt, removes) an environment variable and restores it afterwards.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const std::optional<std::string>& value) : name_(name) {
    if (const char* old = ::getenv(name)) previous_ = old;
    if (value) {
      ::setenv(name, value->c_str(), 1);
    } else {
      ::unsetenv(name);
    }
  }
  ~ScopedVariable() {
    if (previous_) {
      ::setenv(name_, previous_->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  const char* name_;
  std::optional<std::string> previous_;
};

// Runs the scope in another working directory.
class ScopedWorkingDirectory {
 public:
  explicit ScopedWorkingDirectory(const std::filesystem::path& directory) : previous_(std::filesystem::current_path()) {
    std::filesystem::current_path(directory);
  }
  ~ScopedWorkingDirectory() { std::filesystem::current_path(previous_); }
  ScopedWorkingDirectory(const ScopedWorkingDirectory&) = delete;
  ScopedWorkingDirectory& operator=(const ScopedWorkingDirectory&) = delete;

 private:
  std::filesystem::path previous_;
};

// No configuration file anywhere: neither variable set, and a working directory without one.
class NoConfigurationFile {
 public:
  NoConfigurationFile() = default;

 private:
  ScopedVariable config_{"LMMOCKTL_CONFIG", std::nullopt};
  ScopedVariable data_{"LUMODATA", std::nullopt};
  TemporaryDirectory empty_;
  ScopedWorkingDirectory inEmpty_{empty_.path()};
};

}  // namespace testing_support
