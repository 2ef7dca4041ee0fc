#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

#include "base/GenTL.h"
#include "base/HandleRegistry.h"

namespace lumo::mockTL {

// Base of every GenTL event object: what an EVENT_HANDLE names. Its handle is its address, which
// enters the handle registry when the event is created and never leaves it. Holds the registered
// state under the event mutex; the queue and its waits live in EventWorker. Any thread may call any
// operation.
class Event {
 public:
  virtual ~Event() = default;
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  // Every event is made here, so that its handle is known from the start. The registry holds it
  // weakly: owners (a module's event source, a data stream) keep it alive.
  template <class T, class... Args>
  static std::shared_ptr<T> create(Args&&... args) {
    // Not make_shared: the registry's weak reference would pin the object's memory for good.
    std::shared_ptr<T> event(new T(std::forward<Args>(args)...));
    HandleRegistry::RegisterEvent(event);
    return event;
  }

  // Consumer side, in GenTL's terms. `size` is in/out: the caller's room, then the bytes written.
  // GetData waits up to `timeout` milliseconds (GENTL_INFINITE: without limit).
  virtual void GetData(void* buffer, std::size_t& size, std::uint64_t timeout) = 0;
  virtual void GetDataInfo(const void* inBuffer, std::size_t inSize, EVENT_DATA_INFO_CMD command, INFO_DATATYPE& type,
                           void* outBuffer, std::size_t& outSize) = 0;
  virtual void GetInfo(EVENT_INFO_CMD command, INFO_DATATYPE& type, void* buffer, std::size_t& size) = 0;
  virtual void Flush() = 0;
  virtual void Kill() = 0;
  // Set and clear the registered state. The entry points refuse double registration and
  // unregistering an unregistered event; these never fail.
  virtual void Register();
  virtual void Unregister();

  virtual EVENT_TYPE eventType() const = 0;
  // EVENT_SIZE_MAX and EVENT_INFO_DATA_SIZE_MAX. Called with the event mutex held.
  virtual std::size_t maxDataSize() const = 0;
  virtual std::size_t maxInfoDataSize() const = 0;

  bool isRegistered() const;
  EVENT_HANDLE handle() { return this; }

 protected:
  Event() = default;

  std::mutex& eventMutex() const { return mutex_; }
  // The registered state for a caller that already holds the event mutex.
  bool registeredLocked() const { return registered_; }

  // The common end of every kind's copy hook: fails with GC_ERR_BUFFER_TOO_SMALL, naming `where`,
  // when `size` is below `count`; otherwise copies and reports `count` in `size`.
  static void deliverBytes(const char* where, const void* bytes, std::size_t count, void* buffer, std::size_t& size);

 private:
  mutable std::mutex mutex_;
  bool registered_ = false;
};

}  // namespace lumo::mockTL
