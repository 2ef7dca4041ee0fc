#include "stream/AcquisitionThread.h"

#include <cassert>
#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>
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
// picks. A failure is reported and leaves the buffer as the fill left it.
void fill(FillSide& side, BufferBase& buffer, AcquisitionThread::Plan& plan, std::uint64_t runFrame,
          std::vector<FlowRecord>& flows) {
  try {
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
    buffer.stampTimestamp(plan.composer->write(buffer.segments(), image.get()));
  } catch (const std::exception& failure) {
    side.reportFillFailure(failure.what());
  } catch (const error::GenericException& failure) {
    side.reportFillFailure(failure.text().c_str());
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
  const bool paced = plan.framePeriod > 0;
  if (paced) {
    platform::beginTimerResolution();
  }
  try {
    Clock::time_point deadline = Clock::now();
    std::uint64_t runFrame = 0;
    std::vector<FlowRecord> flows;
    for (;;) {
      const std::uint64_t wanted = side.numberOfImages();
      if ((wanted != GENTL_INFINITE && runFrame >= wanted) || !side.isGrabbing()) {
        break;
      }
      if (std::shared_ptr<Resource> resource = side.takeQueuedBuffer()) {
        BufferBase& buffer = resource->buffer();
        fill(side, buffer, plan, runFrame, flows);
        buffer.setFrameId(runFrame);
        side.deliver(std::move(resource));
        ++runFrame;
      } else {
        // The same frame is tried again next period: frame ids stay dense across underruns.
        std::fprintf(stderr, "Warning: buffer underrun at frame %llu\n", static_cast<unsigned long long>(runFrame));
        std::fflush(stderr);
        if (!paced) {
          // Tries again at once, but after the threads that are ready to run: one of them may be
          // the consumer about to queue a buffer. Without this, with more streams than cores,
          // this loop spends the time slices their consumers need.
          std::this_thread::yield();
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
