#pragma once

#include <cstdint>
#include <memory>

#include "base/GenTL.h"
#include "base/GenericException.h"
#include "base/HandleRegistry.h"
#include "event/Event.h"
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

// The null test of a handle, for exports that test their handles' null and registry states in an
// order of their own.
inline void requireHandle(const void* handle, const char* where, const char* message) {
  if (handle == nullptr) {
    fail(GC_ERR_INVALID_HANDLE, where, message);
  }
}

// The registry test of a handle on its own: the address names some live object of the producer.
inline void requireRegistered(const void* handle, const char* where, const char* message) {
  if (!HandleRegistry::IsKnown(handle)) {
    fail(GC_ERR_INVALID_HANDLE, where, message);
  }
}

// The null and registry tests of a module handle. Returns the module, held alive for the caller,
// or nullptr when the address is registered but names an event. A module that is being destroyed
// is as unknown as an address that was never registered.
inline std::shared_ptr<Port> requireKnownModule(const void* handle, const char* where, const char* nullMessage,
                                                const char* unknownMessage) {
  if (handle == nullptr) {
    fail(GC_ERR_INVALID_HANDLE, where, nullMessage);
  }
  const auto kind = HandleRegistry::KindOf(handle);
  if (!kind) {
    fail(GC_ERR_INVALID_HANDLE, where, unknownMessage);
  }
  if (*kind != HandleKind::Module) {
    return nullptr;
  }
  std::shared_ptr<Port> module = HandleRegistry::ModuleAt(handle);
  if (module == nullptr) {
    fail(GC_ERR_INVALID_HANDLE, where, unknownMessage);
  }
  return module;
}

// The cast to the class the export expects. It looks at what really lives at the address, so a
// registered handle of another kind fails here instead of being used as memory of another layout.
template <class T>
std::shared_ptr<T> requireModuleKind(const std::shared_ptr<Port>& module, const char* where,
                                     const char* afterCastMessage) {
  std::shared_ptr<T> typed = std::dynamic_pointer_cast<T>(module);
  if (typed == nullptr) {
    fail(GC_ERR_INVALID_HANDLE, where, afterCastMessage);
  }
  return typed;
}

// Resolves a module handle: null test, registry test, then the cast. Exports without an after-cast
// message of their own pass their registry message: a handle of another kind is not one of theirs.
// The result keeps the module alive for the whole call.
template <class T>
std::shared_ptr<T> requireModule(const void* handle, const char* where, const HandleMessages& messages) {
  return requireModuleKind<T>(requireKnownModule(handle, where, messages.null, messages.unknown), where,
                              messages.afterCast);
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
