#include "gentl/HandleRegistry.h"

#include <atomic>

namespace lumo::mockTL {

namespace {

// Trivially destructible, so it can still be read while the library's other statics are torn
// down, in whatever order that happens.
std::atomic<bool> registryDestroyed{false};

}  // namespace

HandleRegistry::HandleRegistry() = default;

HandleRegistry::~HandleRegistry() { registryDestroyed = true; }

HandleRegistry* HandleRegistry::instance() {
  // A static object rather than a leaked one, so that unloading the library frees it.
  static HandleRegistry registry;
  return registryDestroyed ? nullptr : &registry;
}

void HandleRegistry::Register(const void* address, HandleKind kind) {
  auto* self = instance();
  if (self == nullptr) return;
  std::lock_guard lock(self->mutex_);
  // An event's address stays registered after the event is gone; an object later built at the
  // same address takes the entry over with its own kind.
  self->handles_.insert_or_assign(reinterpret_cast<std::uintptr_t>(address), Entry{kind, {}});
}

void HandleRegistry::RegisterEvent(const std::shared_ptr<Event>& event) {
  auto* self = instance();
  if (self == nullptr) return;
  std::lock_guard lock(self->mutex_);
  self->handles_.insert_or_assign(reinterpret_cast<std::uintptr_t>(event.get()), Entry{HandleKind::Event, event});
}

std::shared_ptr<Event> HandleRegistry::EventAt(const void* address) {
  auto* self = instance();
  if (self == nullptr) return nullptr;
  std::lock_guard lock(self->mutex_);
  const auto found = self->handles_.find(reinterpret_cast<std::uintptr_t>(address));
  if (found == self->handles_.end()) {
    return nullptr;
  }
  return found->second.event.lock();
}

void HandleRegistry::Unregister(const void* address) {
  auto* self = instance();
  if (self == nullptr) return;
  std::lock_guard lock(self->mutex_);
  self->handles_.erase(reinterpret_cast<std::uintptr_t>(address));
}

bool HandleRegistry::IsKnown(const void* address) { return KindOf(address).has_value(); }

std::optional<HandleKind> HandleRegistry::KindOf(const void* address) {
  auto* self = instance();
  if (self == nullptr) return std::nullopt;
  std::lock_guard lock(self->mutex_);
  const auto found = self->handles_.find(reinterpret_cast<std::uintptr_t>(address));
  if (found == self->handles_.end()) {
    return std::nullopt;
  }
  return found->second.kind;
}

}  // namespace lumo::mockTL
