#include "event/EventSource.h"

namespace lumo::mockTL {

void EventSource::add(std::shared_ptr<Event> event) {
  const EVENT_TYPE type = event->eventType();
  std::lock_guard lock(mutex_);
  events_.insert_or_assign(type, std::move(event));
}

std::shared_ptr<Event> EventSource::find(EVENT_TYPE type) const {
  std::lock_guard lock(mutex_);
  const auto found = events_.find(type);
  return found != events_.end() ? found->second : nullptr;
}

}  // namespace lumo::mockTL
