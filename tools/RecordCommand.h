#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/GenTLLibrary.h"

namespace lmmocktl {

// `lmmocktl record`: records the GenDC containers of a stream, flow by flow, into stream files (an
// InfoFile and numbered data files) that a stream configured with StreamFilePath replays.
class RecordCommand {
 public:
  struct Options {
    std::optional<std::string> out;  // the InfoFile
    std::optional<unsigned long long> count;
    std::optional<std::string> stream;
    unsigned buffers = 4;
    std::uint64_t framesPerFile = 100;
    std::uint64_t timeoutMs = 5000;
    std::vector<std::string> words;  // [DEVICE] [NAME=VALUE ...]
  };

  static const char* help();
  static int run(const GenTLLibrary& gentl, const Options& options);
};

}  // namespace lmmocktl
