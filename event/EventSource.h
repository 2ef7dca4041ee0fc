#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>

#include "event/Event.h"

namespace lumo::mockTL {

// A module's event kinds: maps a GenTL event type to the module's event object of that type.
// Every module has one, holding at least its error event; a data stream adds its new-buffer
// event, a remote device its removal event. Thread safe.
class EventSource {
 public:
  // Makes `event` the module's event of its type (shared with the module), replacing an earlier one.
  void add(std::shared_ptr<Event> event);
  // The module's event of `type`, or empty when the module has no such kind.
  std::shared_ptr<Event> find(EVENT_TYPE type) const;

  // Set once the module has added all its kinds (its initEvents has run).
  void markSetUp() { setUp_.store(true, std::memory_order_release); }
  bool isSetUp() const { return setUp_.load(std::memory_order_acquire); }

 private:
  mutable std::mutex mutex_;
  std::map<EVENT_TYPE, std::shared_ptr<Event>> events_;
  std::atomic<bool> setUp_{false};
};

}  // namespace lumo::mockTL
