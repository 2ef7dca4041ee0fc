#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/GenTLArvDevice.h"
#include "tools/GenTLLibrary.h"
#include "tools/ProducerSession.h"

namespace lmmocktl {

// `lmmocktl features`: lists, reads, writes and executes the features of one module's port
// through Aravis' node map.
class FeaturesCommand {
 public:
  struct Options {
    std::string module = "remote";
    std::optional<std::string> stream;
    std::vector<std::string> words;  // [DEVICE] [NAME[=VALUE] ...]
  };

  static const char* help();
  static int run(const GenTLLibrary& gentl, const Options& options);

  // The port functions of a loaded producer, for GenTLArvDevice.
  static GenTLPortFunctions portFunctions(const GenTLLibrary& gentl);
  // Applies "NAME=VALUE" (write; a command executes) or "NAME" (read, printed as "NAME = VALUE"
  // unless `quiet`) in order. Throws ToolError with the first failure.
  static void apply(const GenTLArvDevice& features, const std::string& assignment, bool quiet);
};

}  // namespace lmmocktl
