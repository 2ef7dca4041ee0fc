#pragma once

#include "source/LmRApi.h"

namespace lumo::mockTL::LmR {

// The container-reader library's own failure: a status and one of the library's fixed texts.
// Deliberately not derived from std::exception, so that the function frame can tell it from the
// standard failures it reports as "unknown exception". Holding a static text keeps it free of
// allocation: throwing and recording it cannot fail.
class Error {
 public:
  Error(LmRStatus status, const char* message) noexcept : status_(status), message_(message) {}

  LmRStatus status() const noexcept { return status_; }
  const char* message() const noexcept { return message_; }

 private:
  LmRStatus status_;
  const char* message_;
};

}  // namespace lumo::mockTL::LmR
