#pragma once

#include "tools/CommandLine.h"
#include "tools/GenTLLibrary.h"

namespace lmmocktl {

// `lmmocktl grab`: sets features, grabs frames from one stream or all of a device's streams and
// writes them as PNG files.
class GrabCommand {
 public:
  static const char* help();
  static int run(const GenTLLibrary& gentl, CommandLine& line);
};

}  // namespace lmmocktl
