#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>

#include "base/GenericException.h"
#include "base/Info.h"
#include "event/Event.h"

namespace lumo::mockTL {

namespace detail {

// When a wait of `timeout` milliseconds started now ends; none for GENTL_INFINITE. A timeout too
// large for the clock ends at the clock's last representable instant.
inline std::optional<std::chrono::steady_clock::time_point> waitDeadline(std::uint64_t timeout) {
  using Clock = std::chrono::steady_clock;
  if (timeout == GENTL_INFINITE) {
    return std::nullopt;
  }
  const Clock::time_point now = Clock::now();
  const auto headroom = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::time_point::max() - now);
  if (timeout >= static_cast<std::uint64_t>(headroom.count())) {
    return Clock::time_point::max();
  }
  return now + std::chrono::milliseconds(timeout);
}

}  // namespace detail

// An event that is a FIFO of items of type T. Producers inside the library push; consumers take
// items with GetData, which sleeps on the condition variable until an item or a kill arrives or the
// timeout passes. A kill aborts exactly one wait: the one in progress, or else the next one.
//
// Locking: the event mutex guards the queue, the counters, the pending kills and the registered
// state; the condition variable is notified after the mutex is released. A waiting GetData holds no
// other lock. The kind's hooks run with the event mutex held, so they must neither block nor call
// back into the event. Every public operation is thread safe.
template <class T>
class EventWorker : public Event {
 public:
  // Producer side: appends `item` and wakes one waiter. When pushes depend on registration and the
  // event is not registered, the item is dropped. Any thread, typically the acquisition thread.
  void Push(T item) {
    {
      std::lock_guard lock(eventMutex());
      if (pushesNeedRegistration_ && !registeredLocked()) {
        return;
      }
      queue_.push_back(std::move(item));
      ++fired_;
    }
    condition_.notify_one();
  }

  void GetData(void* buffer, std::size_t& size, std::uint64_t timeout) override {
    std::unique_lock lock(eventMutex());
    const auto ready = [this] { return pendingKills_ > 0 || !queue_.empty(); };
    if (const auto deadline = detail::waitDeadline(timeout)) {
      condition_.wait_until(lock, *deadline, ready);
    } else {
      condition_.wait(lock, ready);
    }
    if (pendingKills_ > 0) {
      --pendingKills_;
      throw error::GenericException(GC_ERR_ABORT, origin("GetData"), "Waiting for event data aborted");
    }
    if (queue_.empty()) {
      throw error::GenericException(GC_ERR_TIMEOUT, origin("GetData"), "Timeout occured when waiting for event data");
    }
    T& front = queue_.front();
    if (buffer != nullptr) {
      // May fail for a small buffer; the item then stays queued.
      GetDataImpl(front, buffer, size);
      ++delivered_;
      afterDelivery(front);
    } else {
      // Nowhere to deliver: the item leaves the queue as a flushed one does.
      discard(front);
    }
    queue_.pop_front();
  }

  void GetDataInfo(const void* inBuffer, std::size_t inSize, EVENT_DATA_INFO_CMD command, INFO_DATATYPE& type,
                   void* outBuffer, std::size_t& outSize) override {
    if (inBuffer == nullptr || inSize < minDataSize()) {
      throw error::GenericException(GC_ERR_INVALID_PARAMETER, origin("GetDataInfo"),
                                    "Invalid input buffer passed when querying event data info");
    }
    GetDataInfoImpl(inBuffer, inSize, command, type, outBuffer, outSize);
  }

  void GetInfo(EVENT_INFO_CMD command, INFO_DATATYPE& type, void* buffer, std::size_t& size) override {
    std::lock_guard lock(eventMutex());
    switch (command) {
      case EVENT_EVENT_TYPE: return info::ReportInfoNumeric(type, buffer, size, std::int32_t{eventType()});
      case EVENT_NUM_IN_QUEUE: return info::ReportInfoNumeric(type, buffer, size, info::Size{queue_.size()});
      case EVENT_NUM_FIRED: return info::ReportInfoNumeric(type, buffer, size, fired_);
      case EVENT_SIZE_MAX: return info::ReportInfoNumeric(type, buffer, size, info::Size{maxDataSize()});
      case EVENT_INFO_DATA_SIZE_MAX: return info::ReportInfoNumeric(type, buffer, size, info::Size{maxInfoDataSize()});
      default:
        throw error::GenericException(GC_ERR_NOT_IMPLEMENTED, origin("GetInfo"), "Unknown event info command used");
    }
  }

  // Discards every queued item, running the kind's discard hook on each. The fired counter keeps
  // its count.
  void Flush() override {
    std::lock_guard lock(eventMutex());
    for (T& item : queue_) {
      discard(item);
    }
    queue_.clear();
  }

  void Kill() override {
    {
      std::lock_guard lock(eventMutex());
      ++pendingKills_;
    }
    condition_.notify_one();
  }

  // Counters for the owning module's own reports (a data stream's delivered and awaiting counts).
  std::size_t numInQueue() const {
    std::lock_guard lock(eventMutex());
    return queue_.size();
  }
  std::uint64_t numFired() const {
    std::lock_guard lock(eventMutex());
    return fired_;
  }
  std::uint64_t numDelivered() const {
    std::lock_guard lock(eventMutex());
    return delivered_;
  }

 protected:
  // `qualifiedName` names this instantiation in error origins, e.g.
  // "lumo::mockTL::EventWorker<lumo::mockTL::ErrorEventData>".
  EventWorker(const char* qualifiedName, bool pushesNeedRegistration)
      : qualifiedName_(qualifiedName), pushesNeedRegistration_(pushesNeedRegistration) {}

  // The kind's copy hook: writes the item's event data to `buffer`, or fails (without side
  // effects) when `size` is too small; reports the bytes written in `size`.
  virtual void GetDataImpl(const T& item, void* buffer, std::size_t& size) = 0;
  // Run once for each item that leaves the queue: after its data has been handed out, or when it
  // is discarded without being handed out.
  virtual void afterDelivery(T& item) noexcept { static_cast<void>(item); }
  virtual void discard(T& item) noexcept { static_cast<void>(item); }
  // The smallest input buffer that GetDataInfo accepts before the kind's own checks.
  virtual std::size_t minDataSize() const = 0;
  virtual void GetDataInfoImpl(const void* inBuffer, std::size_t inSize, EVENT_DATA_INFO_CMD command,
                               INFO_DATATYPE& type, void* outBuffer, std::size_t& outSize) = 0;

  // The queue, for a caller that holds the event mutex (maxDataSize does).
  const std::deque<T>& queuedLocked() const { return queue_; }

 private:
  std::string origin(const char* operation) const { return std::string(qualifiedName_) + "::" + operation; }

  const char* qualifiedName_;
  std::deque<T> queue_;
  std::condition_variable condition_;
  unsigned pendingKills_ = 0;
  std::uint64_t fired_ = 0;
  std::uint64_t delivered_ = 0;
  const bool pushesNeedRegistration_;
};

}  // namespace lumo::mockTL
