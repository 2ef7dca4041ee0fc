#include "event/Event.h"

#include <cstring>

#include "base/GenericException.h"

namespace lumo::mockTL {

void Event::Register() {
  std::lock_guard lock(mutex_);
  registered_ = true;
}

void Event::Unregister() {
  std::lock_guard lock(mutex_);
  registered_ = false;
}

bool Event::isRegistered() const {
  std::lock_guard lock(mutex_);
  return registered_;
}

void Event::deliverBytes(const char* where, const void* bytes, std::size_t count, void* buffer, std::size_t& size) {
  if (size < count) {
    throw error::GenericException(GC_ERR_BUFFER_TOO_SMALL, where, "The passed buffer is too small for the event data");
  }
  if (count > 0) {
    std::memcpy(buffer, bytes, count);
  }
  size = count;
}

}  // namespace lumo::mockTL
