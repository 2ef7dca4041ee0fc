#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace lumo::mockTL {

class Event;
class Port;

// What a registered address is. Lets the export layer reinterpret a handle only as the kind of
// object that really lives there, so that a handle of the wrong class can never be used as
// memory of another layout.
enum class HandleKind : std::uint8_t { Module, Event };

// Process-wide set of the addresses of live producer objects: every GenTL handle is the address
// of the object it names, and exports ask here before they touch one. A module enters once it is
// completely built (Module::published) and leaves from its Port destructor; events enter on
// creation and never leave, so an event handle stays known for the rest of the process. Both are
// remembered weakly, so a handle never reaches an object that is still being built or already
// being destroyed, and whoever looks one up holds it alive for as long as it uses it. Thread safe;
// the mutex is held only inside each call and never while another lock is taken. Lives from its
// first use until the library is unloaded (or the process exits) and is not reset by GCInitLib or
// GCCloseLib; modules that are destroyed after it (a system module a consumer never closed) leave
// without asking it.
class HandleRegistry {
 public:
  // Enters a completely built module's handle (the address of its Port), taking over whatever
  // entry an earlier object at that address left.
  static void RegisterModule(const std::shared_ptr<Port>& module);
  // Removes the module entry of that address; an event's entry at the same address stays.
  static void UnregisterModule(const Port* module);
  static bool IsKnown(const void* address);
  // The kind registered for the address, if any. The answer may be stale by the time it is used.
  static std::optional<HandleKind> KindOf(const void* address);
  // The live module whose handle the address is; empty for an event's address, an unknown address
  // or a module that is being destroyed. Holding the result keeps the module alive.
  static std::shared_ptr<Port> ModuleAt(const void* address);

  // Enters an event's address as a known handle of kind Event, for good, and remembers the event
  // weakly: the address stays known after the event is gone, but nothing can reach the dead event
  // through it.
  static void RegisterEvent(const std::shared_ptr<Event>& event);
  // The live event whose handle the address is; empty for a module's address, an unknown address
  // or an event that has been destroyed. Holding the result keeps the event alive.
  static std::shared_ptr<Event> EventAt(const void* address);

 private:
  struct Entry {
    HandleKind kind;
    std::weak_ptr<Event> event;  // empty unless kind is Event
    std::weak_ptr<Port> module;  // empty unless kind is Module
  };

  // The entry of that address, or nullptr; called with the mutex held.
  const Entry* find(const void* address) const;

  HandleRegistry();
  ~HandleRegistry();
  // The registry, or nullptr once it has been destroyed during unloading.
  static HandleRegistry* instance();

  std::mutex mutex_;
  std::unordered_map<std::uintptr_t, Entry> handles_;
};

}  // namespace lumo::mockTL
