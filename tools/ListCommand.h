#pragma once

#include "tools/GenTLLibrary.h"

namespace lmmocktl {

// `lmmocktl list`: the producer's info values and its tree of interfaces, devices and streams.
class ListCommand {
 public:
  static const char* help();
  static int run(const GenTLLibrary& gentl);
};

}  // namespace lmmocktl
