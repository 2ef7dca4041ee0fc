#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

#include "base/GenTL.h"
#include "event/ErrorEvent.h"
#include "stream/AcquisitionThread.h"
#include "stream/BufferQueues.h"
#include "stream/FillSide.h"

namespace lumo::mockTL {

// Whether a data stream grabs, and the one acquisition thread that grabs for it: starting and
// ending it, the number of images asked for, the count of frames started, and the wake-up that
// ends the thread's frame wait early. The thread sees this object as its FillSide; the buffers it
// takes and delivers go through the stream's queues, its failures to the stream's error event.
//
// Threads: startLocked and endLocked need the stream's module mutex held (they start and join the
// thread object under it), which the acquisition thread never takes. The grabbing flag, the
// number of images and the started count are atomics, read by the acquisition thread and by
// consumer threads without a lock; the grabbing flag is cleared under the wake mutex so that the
// thread's wait cannot miss its end.
class AcquisitionControl final : private FillSide {
 public:
  // `queues` must outlive this object; the stream ends acquisition before either goes.
  AcquisitionControl(BufferQueues& queues, std::shared_ptr<ErrorEvent> failures);
  AcquisitionControl(const AcquisitionControl&) = delete;
  AcquisitionControl& operator=(const AcquisitionControl&) = delete;

  bool isGrabbing() const override { return grabbing_; }
  // Frames delivered since the stream was created.
  std::uint64_t startedCount() const override { return started_; }
  // Taken by the running thread too: a start that fails still changes it.
  void setNumberOfImages(std::uint64_t numberOfImages) { numberOfImages_.exchange(numberOfImages); }

  // Starts the thread on `plan`; GC_ERR_RESOURCE_IN_USE with origin `where` when it grabs already,
  // and std::system_error when no thread can be had.
  void startLocked(const char* where, AcquisitionThread::Plan plan);
  // Ends acquisition, grabbing or not, and joins the thread. Throws std::system_error
  // (resource_deadlock_would_occur) on the acquisition thread itself.
  void endLocked();

 private:
  // FillSide, for the acquisition thread.
  std::uint64_t numberOfImages() const override { return numberOfImages_; }
  std::shared_ptr<Resource> takeQueuedBuffer() override { return queues_.takeQueued(); }
  void deliver(std::shared_ptr<Resource> buffer) override;
  void reportFillFailure(const char* what) noexcept override;
  void waitUntil(std::chrono::steady_clock::time_point deadline) override;

  BufferQueues& queues_;
  const std::shared_ptr<ErrorEvent> failures_;
  std::atomic<std::uint64_t> numberOfImages_{GENTL_INFINITE};
  std::atomic<bool> grabbing_{false};
  std::atomic<std::uint64_t> started_{0};
  std::mutex wakeMutex_;
  std::condition_variable wake_;
  AcquisitionThread thread_;      // under the stream's module mutex
  CameraLink* camera_ = nullptr;  // the running plan's; under the stream's module mutex
};

}  // namespace lumo::mockTL
