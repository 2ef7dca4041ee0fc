#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/GenTLLibrary.h"

namespace lmmocktl {

// `lmmocktl grab`: sets features, grabs frames from one stream or all of a device's streams and
// writes them as PNG files.
class GrabCommand {
 public:
  struct Options {
    std::string stream;  // empty: the first stream; "all": every stream, one after the other
    std::uint64_t count = 10;
    unsigned buffers = 4;
    std::uint64_t timeoutMs = 5000;
    std::optional<std::filesystem::path> out;
    bool raw = false;
    // Software triggers to execute per stream (0: the camera runs free); the frames that arrive
    // for them are saved.
    std::uint64_t triggers = 0;
    std::vector<std::string> words;  // [DEVICE] [NAME=VALUE ...]
  };

  static const char* help();
  static int run(const GenTLLibrary& gentl, const Options& options);
};

}  // namespace lmmocktl
