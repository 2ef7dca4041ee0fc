#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

namespace lumo::mockTL {

class Resource;

// The face a data stream shows its acquisition thread: take a queued buffer, hand a filled one
// on, and the few flags and counts the thread's loop looks at. The consumer operations stay on the
// other face (DataStream's public interface); the image sources see neither.
//
// Every operation is called on the acquisition thread only, and none of them takes the stream's
// module mutex, which the stream holds while it joins that thread.
class FillSide {
 public:
  virtual ~FillSide() = default;

  virtual bool isGrabbing() const = 0;
  // GENTL_INFINITE: until stopped.
  virtual std::uint64_t numberOfImages() const = 0;
  // Frames delivered since the stream was created; picks the next source image.
  virtual std::uint64_t startedCount() const = 0;
  // The oldest buffer of the input queue, taken out of it; empty when there is none.
  virtual std::shared_ptr<Resource> takeQueuedBuffer() = 0;
  // Appends a filled buffer to the output queue, which signals the consumer, and counts it started.
  virtual void deliver(std::shared_ptr<Resource> buffer) = 0;
  // A frame could not be filled; `what` says why. Must not throw.
  virtual void reportFillFailure(const char* what) noexcept = 0;
  // Sleeps until `deadline`, or less when grabbing ends meanwhile.
  virtual void waitUntil(std::chrono::steady_clock::time_point deadline) = 0;
};

}  // namespace lumo::mockTL
