#pragma once

#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "source/SourceImage.h"
#include "stream/FillSide.h"

namespace lumo::mockTL {

// The thread that produces a grabbing stream's frames. Once per frame period it takes the oldest
// queued buffer, fills it, stamps it and delivers it; without a queued buffer it prints the
// underrun warning and tries the same frame again one period later. Deadlines are absolute, so the
// mean rate is one frame per period without drift; a frame that comes late restarts the schedule
// from that moment instead of catching up. It ends when grabbing ends or the requested number of
// frames has been delivered.
//
// A fill that throws does not end the thread: the failure goes to the stream's error event and the
// buffer is delivered all the same, with its frame id, holding whatever the failed fill left, so
// that the consumer's frame count and buffer cycle keep going.
//
// Owned by the data stream, which starts and joins it under its module mutex. Not thread safe.
class AcquisitionThread {
 public:
  // What the thread works with, fixed at the start.
  struct Plan {
    // Nanoseconds between frames; 0 or less runs without pause.
    std::int64_t framePeriod = 0;
    // The images of an image-file source, cycled by the stream's started count; empty for
    // generated images.
    std::vector<std::shared_ptr<const SourceImage>> images;
  };

  AcquisitionThread() = default;
  AcquisitionThread(const AcquisitionThread&) = delete;
  AcquisitionThread& operator=(const AcquisitionThread&) = delete;
  // The owner joins before it lets go: a thread still running here terminates the process.
  ~AcquisitionThread() = default;

  // Starts the thread on `side`, which must outlive it. Throws std::system_error when no thread
  // can be had. The previous thread must have been joined.
  void start(FillSide& side, Plan plan);
  bool joinable() const { return thread_.joinable(); }
  // Waits for the thread to end (the caller has made it stop, or it has delivered its frames).
  // Throws std::system_error (resource_deadlock_would_occur) when called on the thread itself.
  void join();

 private:
  static void run(FillSide& side, Plan plan) noexcept;

  std::thread thread_;
};

}  // namespace lumo::mockTL
