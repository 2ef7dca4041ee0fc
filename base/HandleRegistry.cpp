#include "base/HandleRegistry.h"

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

const HandleRegistry::Entry* HandleRegistry::find(const void* address) const {
  const auto found = handles_.find(reinterpret_cast<std::uintptr_t>(address));
  return found == handles_.end() ? nullptr : &found->second;
}

void HandleRegistry::RegisterModule(const std::shared_ptr<Port>& module) {
  auto* self = instance();
  if (self == nullptr) return;
  std::lock_guard lock(self->mutex_);
  // An event's address stays registered after the event is gone; a module later built at the
  // same address takes the entry over.
  self->handles_.insert_or_assign(reinterpret_cast<std::uintptr_t>(module.get()),
                                  Entry{HandleKind::Module, {}, module});
}

void HandleRegistry::UnregisterModule(const Port* module) {
  auto* self = instance();
  if (self == nullptr) return;
  std::lock_guard lock(self->mutex_);
  const auto found = self->handles_.find(reinterpret_cast<std::uintptr_t>(module));
  if (found != self->handles_.end() && found->second.kind == HandleKind::Module) {
    self->handles_.erase(found);
  }
}

void HandleRegistry::RegisterEvent(const std::shared_ptr<Event>& event) {
  auto* self = instance();
  if (self == nullptr) return;
  std::lock_guard lock(self->mutex_);
  self->handles_.insert_or_assign(reinterpret_cast<std::uintptr_t>(event.get()), Entry{HandleKind::Event, event, {}});
}

std::shared_ptr<Event> HandleRegistry::EventAt(const void* address) {
  auto* self = instance();
  if (self == nullptr) return nullptr;
  std::lock_guard lock(self->mutex_);
  const Entry* entry = self->find(address);
  return entry == nullptr ? nullptr : entry->event.lock();
}

std::shared_ptr<Port> HandleRegistry::ModuleAt(const void* address) {
  auto* self = instance();
  if (self == nullptr) return nullptr;
  std::lock_guard lock(self->mutex_);
  const Entry* entry = self->find(address);
  return entry == nullptr ? nullptr : entry->module.lock();
}

bool HandleRegistry::IsKnown(const void* address) { return KindOf(address).has_value(); }

std::optional<HandleKind> HandleRegistry::KindOf(const void* address) {
  auto* self = instance();
  if (self == nullptr) return std::nullopt;
  std::lock_guard lock(self->mutex_);
  const Entry* entry = self->find(address);
  if (entry == nullptr) {
    return std::nullopt;
  }
  return entry->kind;
}

}  // namespace lumo::mockTL
