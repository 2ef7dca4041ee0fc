#include "tools/GrabCommand.h"

namespace lmmocktl {
const char* GrabCommand::help() { return ""; }
int GrabCommand::run(const GenTLLibrary&, CommandLine&) { return 1; }
}  // namespace lmmocktl
