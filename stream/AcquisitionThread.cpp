#include "stream/AcquisitionThread.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "base/GenTL.h"
#include "base/GenericException.h"
#include "platform/Platform.h"
#include "stream/Resource.h"

namespace lumo::mockTL {

namespace {

using Clock = std::chrono::steady_clock;

// `from` plus `period` nanoseconds, held at the clock's end for periods no run will live to see.
Clock::time_point after(Clock::time_point from, std::int64_t period) {
  const auto step = std::chrono::duration_cast<Clock::duration>(std::chrono::nanoseconds(period));
  return step >= Clock::time_point::max() - from ? Clock::time_point::max() : from + step;
}

// Fills one buffer for run frame `runFrame`: a recorded flow set, or the image the started count
// picks, whole or, when `incomplete`, only its first half (through `scratch`). A failure is
// reported and leaves the buffer as the fill left it.
void fill(FillSide& side, BufferBase& buffer, AcquisitionThread::Plan& plan, std::uint64_t runFrame, bool incomplete,
          std::vector<FlowRecord>& flows, std::vector<std::byte>& scratch) {
  try {
    buffer.markComplete();
    if (plan.recording != nullptr) {
      // A recorded frame keeps the timestamp the buffer had: nothing in it is made now.
      AcquisitionThread::copyRecordedFrame(*plan.recording, plan.startFrame, runFrame, buffer, flows);
      buffer.setNewData();
      return;
    }
    std::shared_ptr<const SourceImage> image;
    if (!plan.images.empty()) {
      image = plan.images[side.startedCount() % plan.images.size()];
    }
    if (incomplete) {
      // Written whole into scratch memory, of which the first half of the payload reaches the buffer.
      std::vector<Segment> written(buffer.segments().begin(), buffer.segments().end());
      const Segment first = written.front();
      scratch.resize(first.size);
      written.front().base = scratch.data();
      const FrameContent content = plan.composer->write(written, image.get());
      const std::uint64_t filled = std::min(first.size, buffer.dataSize()) / 2;
      std::memcpy(first.base, scratch.data(), filled);
      buffer.markIncomplete(filled);
      buffer.stampTimestamp(content);
      return;
    }
    buffer.stampTimestamp(plan.composer->write(buffer.segments(), image.get()));
  } catch (const std::exception& failure) {
    side.reportFillFailure(failure.what());
  } catch (const error::GenericException& failure) {
    side.reportFillFailure(failure.text().c_str());
  }
}

bool every(std::uint64_t period, std::uint64_t frame) { return period != 0 && frame % period == 0; }

// A buffer for a triggered frame: the oldest queued one, or the first one queued from now on.
// Empty when grabbing ends first.
std::shared_ptr<Resource> awaitBuffer(FillSide& side) {
  constexpr auto kPoll = std::chrono::milliseconds(1);
  for (;;) {
    if (std::shared_ptr<Resource> resource = side.takeQueuedBuffer()) {
      return resource;
    }
    if (!side.isGrabbing()) {
      return nullptr;
    }
    side.waitUntil(Clock::now() + kPoll);
  }
}

}  // namespace

void AcquisitionThread::start(FillSide& side, Plan plan) {
  assert(!thread_.joinable() && "the previous acquisition thread was never joined");
  thread_ = std::thread(&AcquisitionThread::run, std::ref(side), std::move(plan));
}

void AcquisitionThread::join() { thread_.join(); }

void AcquisitionThread::copyRecordedFrame(ContainerReader& recording, std::uint64_t startFrame, std::uint64_t runFrame,
                                          BufferBase& buffer, std::vector<FlowRecord>& flows) {
  const std::uint64_t frames = recording.frameCount();
  if (frames == 0) {
    throw std::runtime_error("the stream file holds no flow sets");
  }
  // (start + run) mod frames without wrapping at 64 bits: a recording of empty flows may claim
  // almost 2^64 flow sets, and the start frame is the consumer's.
  const std::uint64_t start = startFrame % frames;
  const std::uint64_t run = runFrame % frames;
  const std::uint64_t frame = run >= frames - start ? run - (frames - start) : start + run;
  const std::span<const LmR::Flow> recorded = recording.flowsOf(frame);
  flows.resize(recorded.size());
  for (std::size_t i = 0; i < recorded.size(); ++i) {
    flows[i] = {recorded[i].size, recorded[i].data};
  }
  buffer.copyFlowData(flows);
}

void AcquisitionThread::run(FillSide& side, Plan plan) noexcept {
  const bool paced = plan.framePeriod > 0 && !plan.triggered;
  if (paced) {
    platform::beginTimerResolution();
  }
  CameraLink& camera = *plan.camera;
  try {
    Clock::time_point deadline = Clock::now();
    // Frames delivered, which the requested number counts, and frame ids, which lost frames use
    // up as well.
    std::uint64_t runFrame = 0;
    std::uint64_t frameId = 0;
    std::uint64_t triggers = plan.seenTriggers;
    std::vector<FlowRecord> flows;
    std::vector<std::byte> scratch;
    for (;;) {
      const std::uint64_t wanted = side.numberOfImages();
      if ((wanted != GENTL_INFINITE && runFrame >= wanted) || !side.isGrabbing() || camera.removed()) {
        break;
      }
      if (plan.triggered) {
        if (!camera.waitForTrigger(triggers, [&] { return !side.isGrabbing() || camera.removed(); })) {
          break;
        }
        ++triggers;
      }
      // Numbered from 1, as the fault periods count.
      const std::uint64_t frame = frameId + 1;
      if (every(plan.faults.lostEvery, frame)) {
        ++frameId;
      } else if (const CameraLink::Claim claim = camera.claimFrame(); claim == CameraLink::Claim::Refused) {
        // Another stream holds the camera's last frame: it is unplugged, or the claim comes back.
        std::this_thread::yield();
      } else if (std::shared_ptr<Resource> resource = plan.triggered ? awaitBuffer(side) : side.takeQueuedBuffer()) {
        BufferBase& buffer = resource->buffer();
        fill(side, buffer, plan, runFrame, every(plan.faults.incompleteEvery, frame), flows, scratch);
        buffer.setFrameId(frameId);
        side.deliver(std::move(resource));
        if (every(plan.faults.errorEvery, frame)) {
          side.reportFillFailure(("Device error injected at frame id " + std::to_string(frameId)).c_str());
        }
        ++runFrame;
        ++frameId;
        if (claim == CameraLink::Claim::Last) {
          camera.unplug();
        }
      } else {
        // Claimed before a buffer is taken, so that a refusal never strands one; no frame came of it.
        camera.returnClaim();
        if (!plan.triggered) {
          // The same frame is tried again next period: frame ids stay dense across underruns.
          std::fprintf(stderr, "Warning: buffer underrun at frame %llu\n", static_cast<unsigned long long>(frameId));
          std::fflush(stderr);
          if (!paced) {
            // Tries again at once, but after the threads that are ready to run: one of them may be
            // the consumer about to queue a buffer. Without this, with more streams than cores,
            // this loop spends the time slices their consumers need.
            std::this_thread::yield();
          }
        }
      }
      if (paced) {
        deadline = after(deadline, plan.framePeriod);
        const Clock::time_point now = Clock::now();
        if (now < deadline) {
          side.waitUntil(deadline);
        } else {
          deadline = now;
        }
      }
    }
  } catch (const std::exception& failure) {
    // The queues themselves failed (a mutex, the memory for an event); nothing more can be
    // delivered, and the stream stays marked grabbing until it is stopped.
    side.reportFillFailure(failure.what());
  } catch (...) {
    side.reportFillFailure("unknown (catch(...)) error occured");
  }
  if (paced) {
    platform::endTimerResolution();
  }
}

}  // namespace lumo::mockTL
