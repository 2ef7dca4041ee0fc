#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>

namespace lumo::mockTL::LmR {

// The library's registry of live objects behind its opaque handles. A handle is a token that is
// never reused, so a released handle stays invalid even when a new object takes its memory, and a
// handle is only ever resolved to the type its tag names. The table owns what it holds; a lookup
// hands out shared ownership, so an object released by one thread stays alive until another
// thread's call that found it has returned. Thread safe; the mutex is held only inside each call.
// Never destroyed: objects still registered at exit stay reachable rather than leaked.
class HandleTable {
 public:
  static HandleTable& instance();

  std::uintptr_t insert(std::string_view tag, std::shared_ptr<void> object);

  // The object of `handle` if it is registered under `tag`, else null.
  template <class T>
  std::shared_ptr<T> find(std::uintptr_t handle, std::string_view tag) const {
    return std::static_pointer_cast<T>(findObject(handle, tag));
  }

  // Unregisters the object of `handle` if it is registered under `tag` and returns it, so that it
  // is destroyed outside the lock; null when there is no such object.
  std::shared_ptr<void> erase(std::uintptr_t handle, std::string_view tag);

 private:
  struct Entry {
    std::string_view tag;
    std::shared_ptr<void> object;
  };

  std::shared_ptr<void> findObject(std::uintptr_t handle, std::string_view tag) const;

  mutable std::mutex mutex_;
  std::unordered_map<std::uintptr_t, Entry> entries_;
  std::uintptr_t nextHandle_ = 1;
};

}  // namespace lumo::mockTL::LmR
