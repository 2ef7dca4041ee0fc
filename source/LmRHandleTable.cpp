#include "source/LmRHandleTable.h"

#include <utility>

namespace lumo::mockTL::LmR {

HandleTable& HandleTable::instance() {
  static auto* table = new HandleTable;
  return *table;
}

std::uintptr_t HandleTable::insert(std::string_view tag, std::shared_ptr<void> object) {
  std::lock_guard lock(mutex_);
  const auto handle = nextHandle_++;
  entries_.emplace(handle, Entry{tag, std::move(object)});
  return handle;
}

std::shared_ptr<void> HandleTable::findObject(std::uintptr_t handle, std::string_view tag) const {
  std::lock_guard lock(mutex_);
  const auto found = entries_.find(handle);
  if (found == entries_.end() || found->second.tag != tag) {
    return nullptr;
  }
  return found->second.object;
}

std::shared_ptr<void> HandleTable::erase(std::uintptr_t handle, std::string_view tag) {
  std::lock_guard lock(mutex_);
  const auto found = entries_.find(handle);
  if (found == entries_.end() || found->second.tag != tag) {
    return nullptr;
  }
  auto object = std::move(found->second.object);
  entries_.erase(found);
  return object;
}

}  // namespace lumo::mockTL::LmR
