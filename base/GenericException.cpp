#include "base/GenericException.h"

#include "platform/Platform.h"

namespace lumo::mockTL::error {

GenericException::GenericException(std::int32_t code, const std::string& where, const std::string& message)
    : code_(code), text_(message + ":" + where + ":" + std::to_string(platform::currentThreadId())) {}

}  // namespace lumo::mockTL::error
