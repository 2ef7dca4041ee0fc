#include "tools/RecordCommand.h"

namespace lmmocktl {
const char* RecordCommand::help() { return ""; }
int RecordCommand::run(const GenTLLibrary&, CommandLine&) { return 1; }
}  // namespace lmmocktl
