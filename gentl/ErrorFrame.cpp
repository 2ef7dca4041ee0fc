#include "gentl/ErrorFrame.h"

#include <exception>
#include <string>

#include "base/GenTL.h"
#include "base/GenericException.h"
#include "gentl/LastErrorStore.h"

namespace lumo::mockTL::error {
namespace {

constexpr const char* kFrameOrigin = "lumo::mockTL::error::doReturn";

GenericException classifyCurrentException() {
  try {
    throw;
  } catch (const GenericException& failure) {
    return failure;
  } catch (const std::exception& failure) {
    return GenericException(GC_ERR_ERROR, kFrameOrigin, std::string("std::exception caught. ") + failure.what());
  } catch (...) {
    return GenericException(GC_ERR_ERROR, kFrameOrigin, "unknown (catch(...)) error occured");
  }
}

}  // namespace

std::int32_t translateCurrentException(bool remember) noexcept {
  try {
    const GenericException failure = classifyCurrentException();
    if (remember) {
      LastErrorStore::instance().store(failure);
    }
    return failure.code();
  } catch (...) {
    // Composing or storing the text itself failed (out of memory): the code still gets through.
    return GC_ERR_ERROR;
  }
}

}  // namespace lumo::mockTL::error
