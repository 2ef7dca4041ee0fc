#pragma once

#include "tools/CommandLine.h"
#include "tools/GenTLLibrary.h"

namespace lmmocktl {

class RecordCommand {
 public:
  static const char* help();
  static int run(const GenTLLibrary& gentl, CommandLine& line);
};

}  // namespace lmmocktl
