#include "source/LmRLastError.h"

namespace lumo::mockTL::LmR {
namespace {

// Texts are static strings, so a thread's record is one pointer and recording never allocates.
thread_local const char* lastMessage = "";

}  // namespace

void LastError::set(const char* message) noexcept { lastMessage = message; }

const char* LastError::message() noexcept { return lastMessage; }

}  // namespace lumo::mockTL::LmR
