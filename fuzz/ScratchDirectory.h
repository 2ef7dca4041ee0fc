#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>

namespace lumo::mockTL::fuzz {

// A private directory under the temporary directory for the files a harness hands to the code
// under test, removed with the object. One per process: harnesses rewrite the same names for
// every input rather than creating new ones.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "lmmocktl-fuzz-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("cannot create a scratch directory");
    }
    path_ = pattern;
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }

  std::filesystem::path write(const std::string& name, std::span<const std::uint8_t> bytes) const {
    const auto file = path_ / name;
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
      throw std::runtime_error("cannot write " + file.string());
    }
    return file;
  }

  void remove(const std::string& name) const {
    std::error_code ignored;
    std::filesystem::remove(path_ / name, ignored);
  }

 private:
  std::filesystem::path path_;
};

}  // namespace lumo::mockTL::fuzz
