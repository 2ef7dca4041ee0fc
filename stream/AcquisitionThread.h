#pragma once

#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "source/ContainerReader.h"
#include "source/SourceImage.h"
#include "stream/BufferBase.h"
#include "stream/CameraLink.h"
#include "stream/FillSide.h"
#include "stream/FrameComposer.h"
#include "stream/StreamConfiguration.h"

namespace lumo::mockTL {

// The thread that produces a grabbing stream's frames. Once per frame period it takes the oldest
// queued buffer, fills it, stamps it and delivers it; without a queued buffer it prints the
// underrun warning and tries the same frame again one period later (unpaced: at once, after the
// threads that are ready to run). In software-trigger mode it waits for a trigger instead of a
// deadline, and for a buffer when none is queued, so that no trigger is lost. Once the camera is
// unplugged it delivers nothing more. Deadlines are absolute, so the mean rate is one frame per
// period without drift; a frame that comes late restarts the schedule from that moment instead of
// catching up. It ends when grabbing ends or the requested number of frames has been delivered.
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
    // Writes the frames of images and generated images; owned by the stream, which joins the
    // thread before it lets go of it.
    FrameComposer* composer = nullptr;
    // The images of an image-file source, cycled by the stream's started count; empty for
    // generated images.
    std::vector<std::shared_ptr<const SourceImage>> images;
    // The stream file replayed instead, owned by the stream, which joins the thread before it
    // lets go of it; the thread is its only reader while it runs. Run frame n replays flow set
    // (startFrame + n) mod its frame count.
    ContainerReader* recording = nullptr;
    std::uint64_t startFrame = 0;
    // The device's camera, which the stream outlives the thread with: its software trigger
    // (when on, a frame per trigger beyond `seenTriggers` and no pacing) and its removal.
    CameraLink* camera = nullptr;
    bool triggered = false;
    std::uint64_t seenTriggers = 0;
    // Faults injected on every N-th frame of the run, counted from 1; 0 never. A lost frame uses
    // up its frame id and a trigger but no buffer.
    FaultPeriods faults;
  };

  // Copies flow set (startFrame + runFrame) mod frame count of `recording` into `buffer`'s
  // segments, each flow once, straight from the mapping; `flows` is scratch space kept
  // across frames so that nothing is allocated per frame. Throws std::runtime_error for a
  // recording without flow sets, and what the reader and the buffer's copyFlowData throw.
  static void copyRecordedFrame(ContainerReader& recording, std::uint64_t startFrame, std::uint64_t runFrame,
                                BufferBase& buffer, std::vector<FlowRecord>& flows);

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
