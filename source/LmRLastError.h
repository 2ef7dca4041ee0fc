#pragma once

#include <exception>

#include "source/LmRApi.h"
#include "source/LmRError.h"

namespace lumo::mockTL::LmR {

// The calling thread's last failure text (the status is what the failing call returned), and the frame that every
// library function runs in.
class LastError {
 public:
  static void set(const char* message) noexcept;
  static const char* message() noexcept;

  // Runs `body` and returns Success, or records and returns the failure: the library's own Error
  // keeps its status and text; any other standard exception becomes "unknown exception", anything
  // else "unknown (catch(...)) error occured" (spelled so), both with the status Error.
  template <class Body>
  static LmRStatus guard(Body&& body) noexcept {
    try {
      body();
      return LmRStatus::Success;
    } catch (const Error& failure) {
      set(failure.message());
      return failure.status();
    } catch (const std::exception&) {
      set("unknown exception");
      return LmRStatus::Error;
    } catch (...) {
      set("unknown (catch(...)) error occured");
      return LmRStatus::Error;
    }
  }
};

}  // namespace lumo::mockTL::LmR
