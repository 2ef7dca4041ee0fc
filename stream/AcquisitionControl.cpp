#include "stream/AcquisitionControl.h"

#include <utility>

#include "base/GenericException.h"

namespace lumo::mockTL {

AcquisitionControl::AcquisitionControl(BufferQueues& queues, std::shared_ptr<ErrorEvent> failures)
    : queues_(queues), failures_(std::move(failures)) {}

void AcquisitionControl::startLocked(const char* where, AcquisitionThread::Plan plan) {
  if (grabbing_) {
    // Another consumer thread started it since the entry point looked.
    throw error::GenericException(GC_ERR_RESOURCE_IN_USE, where, "grab already running");
  }
  grabbing_ = true;
  camera_ = plan.camera;
  try {
    thread_.start(*this, std::move(plan));
  } catch (...) {
    grabbing_ = false;
    throw;
  }
}

void AcquisitionControl::endLocked() {
  {
    std::lock_guard lock(wakeMutex_);
    grabbing_ = false;
  }
  wake_.notify_all();
  if (camera_ != nullptr) {
    // A triggered thread waits on the camera, not here.
    camera_->wakeWaiters();
  }
  if (thread_.joinable()) {
    thread_.join();
  }
}

// Counted before it is signalled, so that a consumer holding the frame also finds it counted.
void AcquisitionControl::deliver(std::shared_ptr<Resource> buffer) {
  ++started_;
  queues_.deliver(std::move(buffer));
}

void AcquisitionControl::reportFillFailure(const char* what) noexcept {
  try {
    failures_->Push({GC_ERR_ERROR, what});
  } catch (...) {
    // Out of memory for the report itself: the frame is delivered all the same.
  }
}

void AcquisitionControl::waitUntil(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(wakeMutex_);
  wake_.wait_until(lock, deadline, [this] { return !grabbing_; });
}

}  // namespace lumo::mockTL
