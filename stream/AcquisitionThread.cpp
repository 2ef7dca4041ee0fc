#include "stream/AcquisitionThread.h"

#include <cassert>
#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <utility>

#include "gentl/GenTL.h"
#include "gentl/GenericException.h"
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

// Fills one buffer for the frame whose image the started count picks. A failure is reported and
// leaves the buffer as the fill left it.
void fill(FillSide& side, BufferBase& buffer, const std::vector<std::shared_ptr<const SourceImage>>& images) {
  try {
    std::shared_ptr<const SourceImage> image;
    if (!images.empty()) {
      image = images[side.startedCount() % images.size()];
    }
    buffer.copyImage(std::move(image));
    buffer.stampTimestamp();
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

void AcquisitionThread::run(FillSide& side, Plan plan) noexcept {
  const bool paced = plan.framePeriod > 0;
  if (paced) {
    platform::beginTimerResolution();
  }
  try {
    Clock::time_point deadline = Clock::now();
    std::uint64_t runFrame = 0;
    for (;;) {
      const std::uint64_t wanted = side.numberOfImages();
      if ((wanted != GENTL_INFINITE && runFrame >= wanted) || !side.isGrabbing()) {
        break;
      }
      if (std::shared_ptr<Resource> resource = side.takeQueuedBuffer()) {
        BufferBase& buffer = resource->buffer();
        fill(side, buffer, plan.images);
        buffer.setFrameId(runFrame);
        side.deliver(std::move(resource));
        ++runFrame;
      } else {
        // The same frame is tried again next period: frame ids stay dense across underruns.
        std::fprintf(stderr, "Warning: buffer underrun at frame %llu\n", static_cast<unsigned long long>(runFrame));
        std::fflush(stderr);
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
