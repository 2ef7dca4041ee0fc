// Library lifecycle, library info and last-error exports.
#include <cstring>

#include "base/GenTL.h"
#include "gentl/CallGate.h"
#include "gentl/ErrorFrame.h"
#include "gentl/HandleChecks.h"
#include "gentl/LastErrorStore.h"
#include "tree/TransportLayer.h"

using namespace lumo::mockTL;
using error::LastErrorStore;

GC_API GCInitLib(void) {
  return error::doReturn([] {
    if (Library::initialised()) {
      checks::fail(GC_ERR_RESOURCE_IN_USE, LMMOCKTL_BODY(GCInitLib), "already initialized");
    }
    Library::setInitialised(true);
    LastErrorStore::instance().clear();
  });
}

GC_API GCCloseLib(void) {
  const GC_ERROR result = error::doReturnUngated([] {
    {
      const CallGate::Pass pass;
      checks::requireInitialised(LMMOCKTL_BODY(GCCloseLib));
      Library::setInitialised(false);
    }
    // Calls already inside finish against the tree they found; calls arriving meanwhile wait,
    // then find the library closed.
    CallGate::instance().closeAfterDrain([] { TransportLayer::Shutdown(); });
  });
  if (result == GC_ERR_SUCCESS) {
    // Errors never survive from one initialised period into the next.
    LastErrorStore::instance().clear();
  }
  return result;
}

GC_API GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(GCGetInfo);
    checks::requireInitialised(where);
    checks::requirePointer(piType, where, "piType <= 0");
    checks::requirePointer(piSize, where, "piSize < = 0");
    TransportLayer::GetInfo(iInfoCmd, *piType, pBuffer, *piSize);
  });
}

GC_API GCGetLastError(GC_ERROR* piErrorCode, char* sErrorText, size_t* piSize) {
  return error::doReturnWithoutStoring([&] {
    constexpr const char* where = LMMOCKTL_BODY(GCGetLastError);
    checks::requireInitialised(where);
    checks::requirePointer(piErrorCode, where, "pierrorcode<=0");
    checks::requirePointer(piSize, where, "piSize<=0");
    const LastErrorStore::Record record = LastErrorStore::instance().fetch();
    const size_t needed = record.text.size() + 1;
    if (sErrorText != nullptr && *piSize < needed) {
      checks::fail(GC_ERR_BUFFER_TOO_SMALL, where, "buffer for last error too small");
    }
    *piSize = needed;
    *piErrorCode = record.code;
    if (sErrorText != nullptr) {
      std::memcpy(sErrorText, record.text.c_str(), needed);
    }
  });
}
