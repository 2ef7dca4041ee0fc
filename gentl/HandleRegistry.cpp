#include "gentl/HandleRegistry.h"

namespace lumo::mockTL {

HandleRegistry& HandleRegistry::instance() {
  // Never destroyed: modules owned by a consumer that outlives static destruction still
  // unregister safely.
  static auto* registry = new HandleRegistry;
  return *registry;
}

void HandleRegistry::Register(const void* address, HandleKind kind) {
  auto& self = instance();
  std::lock_guard lock(self.mutex_);
  // An event's address stays registered after the event is gone; an object later built at the
  // same address takes the entry over with its own kind.
  self.handles_.insert_or_assign(reinterpret_cast<std::uintptr_t>(address), Entry{kind, {}});
}

void HandleRegistry::RegisterEvent(const std::shared_ptr<Event>& event) {
  auto& self = instance();
  std::lock_guard lock(self.mutex_);
  self.handles_.insert_or_assign(reinterpret_cast<std::uintptr_t>(event.get()), Entry{HandleKind::Event, event});
}

std::shared_ptr<Event> HandleRegistry::EventAt(const void* address) {
  auto& self = instance();
  std::lock_guard lock(self.mutex_);
  const auto found = self.handles_.find(reinterpret_cast<std::uintptr_t>(address));
  if (found == self.handles_.end()) {
    return nullptr;
  }
  return found->second.event.lock();
}

void HandleRegistry::Unregister(const void* address) {
  auto& self = instance();
  std::lock_guard lock(self.mutex_);
  self.handles_.erase(reinterpret_cast<std::uintptr_t>(address));
}

bool HandleRegistry::IsKnown(const void* address) { return KindOf(address).has_value(); }

std::optional<HandleKind> HandleRegistry::KindOf(const void* address) {
  auto& self = instance();
  std::lock_guard lock(self.mutex_);
  const auto found = self.handles_.find(reinterpret_cast<std::uintptr_t>(address));
  if (found == self.handles_.end()) {
    return std::nullopt;
  }
  return found->second.kind;
}

}  // namespace lumo::mockTL
