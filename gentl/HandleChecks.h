#pragma once

#include <cstdint>
#include <memory>

#include "event/Event.h"
#include "gentl/GenTL.h"
#include "gentl/GenericException.h"
#include "gentl/HandleRegistry.h"
#include "gentl/Library.h"
#include "module/Port.h"

// The checks that export bodies run, each in the order the export lists them. Every failure is a
// GenericException raised with the body's own name as origin.
namespace lumo::mockTL::checks {

// The export's own texts for the three handle failures.
struct HandleMessages {
  const char* null;
  const char* unknown;
  const char* afterCast;
};

[[noreturn]] inline void fail(std::int32_t code, const char* where, const char* message) {
  throw error::GenericException(code, where, message);
}

inline void requireInitialised(const char* where) {
  if (!Library::initialised()) {
    fail(GC_ERR_NOT_INITIALIZED, where, "TL was not initialized");
  }
}

// An output or input pointer the export cannot do without.
inline void requirePointer(const void* pointer, const char* where, const char* message) {
  if (pointer == nullptr) {
    fail(GC_ERR_INVALID_PARAMETER, where, message);
  }
}

// Resolves a module handle: null test, registry test, then the cast to the class the export
// expects. The cast looks at what really lives at the address, so a registered handle of another
// kind fails the after-cast test instead of being used as memory of another layout.
template <class T>
T& requireModule(const void* handle, const char* where, const HandleMessages& messages) {
  if (handle == nullptr) {
    fail(GC_ERR_INVALID_HANDLE, where, messages.null);
  }
  const auto kind = HandleRegistry::KindOf(handle);
  if (!kind) {
    fail(GC_ERR_INVALID_HANDLE, where, messages.unknown);
  }
  T* module = nullptr;
  if (*kind == HandleKind::Module) {
    // Registered module addresses are Port addresses: the Port constructor registers `this`.
    module = dynamic_cast<T*>(static_cast<Port*>(const_cast<void*>(handle)));
  }
  if (module == nullptr) {
    fail(GC_ERR_INVALID_HANDLE, where, messages.afterCast);
  }
  return *module;
}

// The export's own texts for the failures of an event handle.
struct EventMessages {
  const char* null;
  const char* unknown;
  std::int32_t notRegisteredCode;
  const char* notRegistered;
};

// Resolves an event handle: null test, registry test, then the registered test. The event comes
// from the registry's record of the event at that address, never from reinterpreting the address:
// a module's handle, or the handle of an event that is gone, finds no event and fails like an event
// that was never registered. The returned reference keeps the event alive for the whole call, also
// while it waits.
inline std::shared_ptr<Event> requireRegisteredEvent(const void* handle, const char* where,
                                                     const EventMessages& messages) {
  if (handle == nullptr) {
    fail(GC_ERR_INVALID_HANDLE, where, messages.null);
  }
  if (!HandleRegistry::IsKnown(handle)) {
    fail(GC_ERR_INVALID_HANDLE, where, messages.unknown);
  }
  std::shared_ptr<Event> event = HandleRegistry::EventAt(handle);
  if (event == nullptr || !event->isRegistered()) {
    fail(messages.notRegisteredCode, where, messages.notRegistered);
  }
  return event;
}

}  // namespace lumo::mockTL::checks

// The origin text of an export body's own checks.
#define LMMOCKTL_BODY(function) "GenTL::" #function "::<lambda_1>::operator ()"
