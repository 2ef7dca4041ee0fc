#pragma once

#include <cstdint>

#include "gentl/CallGate.h"

namespace lumo::mockTL::error {

// Turns the exception in flight into a GC_ERROR: a GenericException keeps its code, a standard
// exception becomes GC_ERR_ERROR "std::exception caught. <what>", anything else GC_ERR_ERROR
// "unknown (catch(...)) error occured". With `remember` the result becomes the calling thread's
// last error. Call only from inside a catch block. Never throws.
std::int32_t translateCurrentException(bool remember) noexcept;

// The frame around every export body: runs it and returns GC_ERR_SUCCESS, or the translated
// failure, which is also stored as the calling thread's last error. No exception leaves. The body
// runs with a pass of the call gate, so that GCCloseLib does not destroy a module under it.
template <class Body>
std::int32_t doReturn(Body&& body) noexcept {
  try {
    const CallGate::Pass pass;
    body();
    return 0;
  } catch (...) {
    return translateCurrentException(true);
  }
}

// The same frame for a body that holds the gate's pass itself, for part of its run only:
// GCCloseLib, which waits for the passes of the others, and EventGetData, whose wait a closing
// library must not sit out.
template <class Body>
std::int32_t doReturnUngated(Body&& body) noexcept {
  try {
    body();
    return 0;
  } catch (...) {
    return translateCurrentException(true);
  }
}

// The same frame without storing: for GCGetLastError, whose own failure must never overwrite the
// error that the consumer is trying to read.
template <class Body>
std::int32_t doReturnWithoutStoring(Body&& body) noexcept {
  try {
    body();
    return 0;
  } catch (...) {
    return translateCurrentException(false);
  }
}

}  // namespace lumo::mockTL::error
