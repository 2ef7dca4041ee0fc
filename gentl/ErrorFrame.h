#pragma once

#include <cstdint>

#include "gentl/CallGate.h"

namespace lumo::mockTL::error {

// Turns the exception in flight into a GC_ERROR: a GenericException keeps its code, a standard
// exception becomes GC_ERR_ERROR "std::exception caught. <what>", anything else GC_ERR_ERROR
// "unknown (catch(...)) error occured". With `remember` the result becomes the calling thread's
// last error. Call only from inside a catch block. Never throws.
std::int32_t translateCurrentException(bool remember) noexcept;

// The one frame around an export body: runs it, holding a pass of the call gate when `Gated`, and
// returns GC_ERR_SUCCESS or the translated failure, stored as the last error when `Remember`.
template <bool Gated, bool Remember, class Body>
std::int32_t runFrame(Body& body) noexcept {
  try {
    if constexpr (Gated) {
      const CallGate::Pass pass;
      body();
    } else {
      body();
    }
    return 0;
  } catch (...) {
    return translateCurrentException(Remember);
  }
}

// The frame around every export body: runs it and returns GC_ERR_SUCCESS, or the translated
// failure, which is also stored as the calling thread's last error. No exception leaves. The body
// runs with a pass of the call gate, so that GCCloseLib does not destroy a module under it.
template <class Body>
std::int32_t doReturn(Body&& body) noexcept {
  return runFrame<true, true>(body);
}

// The same frame for a body that holds the gate's pass itself, for part of its run only:
// GCCloseLib, which waits for the passes of the others, and EventGetData, whose wait a closing
// library must not sit out.
template <class Body>
std::int32_t doReturnUngated(Body&& body) noexcept {
  return runFrame<false, true>(body);
}

// The same frame without storing: for GCGetLastError, whose own failure must never overwrite the
// error that the consumer is trying to read.
template <class Body>
std::int32_t doReturnWithoutStoring(Body&& body) noexcept {
  return runFrame<false, false>(body);
}

}  // namespace lumo::mockTL::error
