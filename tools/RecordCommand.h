#pragma once

#include "tools/CommandLine.h"
#include "tools/GenTLLibrary.h"

namespace lmmocktl {

// `lmmocktl record`: records the GenDC containers of a stream, flow by flow, into stream files (an
// InfoFile and numbered data files) that a stream configured with StreamFilePath replays.
class RecordCommand {
 public:
  static const char* help();
  static int run(const GenTLLibrary& gentl, CommandLine& line);
};

}  // namespace lmmocktl
