#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/GenTL.h"
#include "tools/GenTLLibrary.h"

namespace lmmocktl {

// One data stream of an open device, acquiring the way GenTL consumers do: buffers allocated by
// the producer and queued, the new-buffer event registered, then DSStartAcquisition. Each frame is
// taken with next() and handed back with requeue(). Destruction stops the acquisition and
// releases the buffers, the event and the stream. A Frame's bytes belong to the producer's buffer
// and are valid until requeue(). One thread uses it.
class Acquisition {
 public:
  struct Frame {
    BUFFER_HANDLE buffer = nullptr;
    std::uint64_t frameId = 0;
    std::size_t sizeFilled = 0;
    const std::uint8_t* base = nullptr;
    std::size_t imageOffset = 0;
    std::int32_t payloadType = PAYLOAD_TYPE_UNKNOWN;
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t paddingX = 0;  // bytes, as BUFFER_INFO_XPADDING counts them
    std::uint64_t pixelFormat = 0;
    bool incomplete = false;
  };

  // Opens stream `streamId` of `device`. Throws ToolError.
  Acquisition(const GenTLLibrary& gentl, DEV_HANDLE device, const std::string& streamId);
  ~Acquisition();
  Acquisition(const Acquisition&) = delete;
  Acquisition& operator=(const Acquisition&) = delete;

  DS_HANDLE stream() const { return stream_; }
  std::size_t payloadSize() const { return payloadSize_; }

  // The stream's GenDC flows and the descriptor of the containers it will deliver: both empty while
  // it delivers plain images. Throws ToolError.
  struct FlowLayout {
    std::vector<std::uint64_t> sizes;
    std::vector<std::uint8_t> prefetchDescriptor;
  };
  FlowLayout flowLayout() const;

  // Announces and queues `bufferCount` buffers of the stream's payload size (or `payloadSize` when
  // the stream does not define it) and registers the new-buffer event. With `segmentSizes`, each
  // buffer is instead a composite buffer of those segments, held here back to back, so that a
  // frame's flows read as one container from Frame::base. Throws ToolError.
  void announce(unsigned bufferCount, std::size_t payloadSize, const std::vector<std::size_t>& segmentSizes = {});
  // Starts acquiring `count` frames (0: until stopped).
  void start(std::uint64_t count);
  // Waits up to `timeoutMs` for the next filled buffer. Throws ToolError on a timeout.
  Frame next(std::uint64_t timeoutMs);
  // The same, empty on a timeout.
  std::optional<Frame> tryNext(std::uint64_t timeoutMs);
  // The items the stream's error event received since the last call (0 when the producer offers
  // no error event).
  std::uint64_t takeErrorEvents();
  void requeue(const Frame& frame);
  void stop();

  std::uint64_t underruns() const;

  // A numeric buffer info value; `fallback` when the producer does not answer it.
  template <class T>
  T bufferInfo(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command, T fallback) const {
    T value{};
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = sizeof(value);
    return gentl_.DSGetBufferInfo(stream_, buffer, command, &type, &value, &size) == GC_ERR_SUCCESS ? value : fallback;
  }

 private:
  void release();

  const GenTLLibrary& gentl_;
  DS_HANDLE stream_ = nullptr;
  std::size_t payloadSize_ = 0;
  std::vector<BUFFER_HANDLE> buffers_;
  // Composite buffers' memory, one block per buffer in the order of buffers_, revoked before freed.
  std::vector<std::vector<std::uint8_t>> blocks_;
  EVENT_HANDLE newBuffer_ = nullptr;
  EVENT_HANDLE errors_ = nullptr;
  bool started_ = false;
};

}  // namespace lmmocktl
