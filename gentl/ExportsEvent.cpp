// Event exports: registration through a module's event source, then the event operations on an
// event handle.
#include "base/GenTL.h"
#include "gentl/CallGate.h"
#include "gentl/ErrorFrame.h"
#include "gentl/HandleChecks.h"
#include "module/Module.h"

using namespace lumo::mockTL;

namespace {

// The module's event of kind `type`, through the checks that GCRegisterEvent and
// GCUnregisterEvent share.
std::shared_ptr<Event> requireSourceEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE type, const char* where) {
  const auto module = checks::requireModule<Module>(
      hEventSrc, where, {"event source <= 0", "handle is unknown", "Conversion to module failed"});
  const std::shared_ptr<EventSource>& source = module->eventSource();
  if (source == nullptr) {
    checks::fail(GC_ERR_INVALID_HANDLE, where, "Accessing evt source failed. ");
  }
  std::shared_ptr<Event> event = source->find(type);
  if (event == nullptr) {
    checks::fail(GC_ERR_NOT_IMPLEMENTED, where, "event not supported");
  }
  return event;
}

// The texts of EventGetInfo, EventFlush and EventKill.
constexpr checks::EventMessages kEventMessages{"invalid handle event", "handle is unknown", GC_ERR_INVALID_PARAMETER,
                                               "event was never registered"};

}  // namespace

GC_API GCRegisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID, EVENT_HANDLE* phEvent) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(GCRegisterEvent);
    checks::requireInitialised(where);
    const std::shared_ptr<Event> event = requireSourceEvent(hEventSrc, iEventID, where);
    if (event->isRegistered()) {
      checks::fail(GC_ERR_RESOURCE_IN_USE, where, "already registered");
    }
    event->Register();
    // phEvent is not a checked argument: without it the registration still happens, and the
    // handle has nowhere to go.
    if (phEvent != nullptr) {
      *phEvent = event->handle();
    }
  });
}

GC_API GCUnregisterEvent(EVENTSRC_HANDLE hEventSrc, EVENT_TYPE iEventID) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(GCUnregisterEvent);
    checks::requireInitialised(where);
    const std::shared_ptr<Event> event = requireSourceEvent(hEventSrc, iEventID, where);
    if (!event->isRegistered()) {
      // GC_ERR_NOT_INITIALIZED rather than an invalid-parameter code, as consumers have always seen it.
      checks::fail(GC_ERR_NOT_INITIALIZED, where, "event not registered");
    }
    event->Unregister();
  });
}

GC_API EventGetData(EVENT_HANDLE hEvent, void* pBuffer, size_t* piSize, uint64_t iTimeout) {
  return error::doReturnUngated([&] {
    constexpr const char* where = LMMOCKTL_BODY(EventGetData);
    std::shared_ptr<Event> event;
    {
      // For the look-up only: the wait keeps its event (and the buffers queued in it) alive
      // itself, and GCCloseLib must not wait for its timeout.
      const CallGate::Pass pass;
      checks::requireInitialised(where);
      checks::requirePointer(piSize, where, "piSize<=0");
      event = checks::requireRegisteredEvent(
          hEvent, where, {"invalid handle", "invalid handle", GC_ERR_INVALID_PARAMETER, "event was never registered"});
    }
    event->GetData(pBuffer, *piSize, iTimeout);
  });
}

GC_API EventGetDataInfo(EVENT_HANDLE hEvent, const void* pInBuffer, size_t iInSize, EVENT_DATA_INFO_CMD iInfoCmd,
                        INFO_DATATYPE* piType, void* pOutBuffer, size_t* piOutSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(EventGetDataInfo);
    checks::requireInitialised(where);
    checks::requirePointer(piOutSize, where, "invalid parameter piOutSize <= 0");
    checks::requirePointer(piType, where, "invalid parameter piType <= 0");
    if (hEvent == nullptr) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "invalid handle event");
    }
    if (pInBuffer == nullptr) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "invalid handle buffer");
    }
    const std::shared_ptr<Event> event = checks::requireRegisteredEvent(
        hEvent, where,
        {"invalid handle event", "invalid handle event (pool)", GC_ERR_INVALID_HANDLE, "invalid handle event"});
    event->GetDataInfo(pInBuffer, iInSize, iInfoCmd, *piType, pOutBuffer, *piOutSize);
  });
}

GC_API EventGetInfo(EVENT_HANDLE hEvent, EVENT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                    size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(EventGetInfo);
    checks::requireInitialised(where);
    checks::requirePointer(piSize, where, "invalid parameter piSize <= 0");
    checks::requirePointer(piType, where, "invalid parameter piType <= 0");
    const std::shared_ptr<Event> event = checks::requireRegisteredEvent(hEvent, where, kEventMessages);
    event->GetInfo(iInfoCmd, *piType, pBuffer, *piSize);
  });
}

GC_API EventFlush(EVENT_HANDLE hEvent) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(EventFlush);
    checks::requireInitialised(where);
    checks::requireRegisteredEvent(hEvent, where, kEventMessages)->Flush();
  });
}

GC_API EventKill(EVENT_HANDLE hEvent) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(EventKill);
    checks::requireInitialised(where);
    checks::requireRegisteredEvent(hEvent, where, kEventMessages)->Kill();
  });
}
