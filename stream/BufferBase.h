#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/GenTL.h"
#include "module/Module.h"

namespace lumo::mockTL {

class DataStream;

// One memory area of a buffer, as the consumer announced or the buffer allocated it.
struct Segment {
  std::byte* base;
  std::uint64_t size;
};

// What a fill wrote into a buffer: an image, whose first 8 bytes then carry the timestamp, or a
// GenDC container, whose descriptor the timestamp must not overwrite.
enum class FrameContent { Image, GenDCContainer };

// One flow of a recorded frame, as the acquisition thread hands it to a composite buffer.
struct FlowRecord {
  std::uint64_t size;
  const void* data;
};

// What every GenTL buffer module has: the memory it was announced with (one or more segments),
// the image settings of its stream frozen at creation, and the state the acquisition thread writes
// while it fills the buffer. Its BUFFER_HANDLE is its own address. Buffers are made by their data
// stream and reached through the stream's Resource wrapper. A buffer is written into, it does not
// fetch its frame: the acquisition thread hands its segments to the stream's frame composer, so
// that a fill never reaches back up from a buffer into its stream.
//
// Threads: the acquisition thread writes the frame id, the timestamp, the new-data flag and the
// memory while consumer threads read them; those fields are atomics (the timestamp register also
// takes the module mutex), the memory is the consumer's to read only once the buffer is delivered.
// The queued flag is set by queuing and cleared on any thread that takes the buffer out of the
// output queue.
class BufferBase : public SpecificModule<void*> {
 public:
  // Throws std::runtime_error "The given parent module is not the DataStream object." when
  // `parent` is not a data stream.
  BufferBase(const std::shared_ptr<Module>& parent, std::vector<Segment> segments);

  void initRegisterMap() override;
  std::string ReadStringRegImpl(std::uint32_t id) override;
  std::uint32_t ReadUint32RegImpl(std::uint32_t id) override;
  std::uint64_t ReadUint64RegImpl(std::uint32_t id) override;

  // The BUFFER_INFO_* answers common to both kinds of buffer.
  virtual void GetBufferInfo(BUFFER_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size);

  // "BufferAt_" and the first segment's address in decimal: the key of the stream's buffer map.
  const std::string& moduleId() const { return moduleId_; }
  static std::string moduleIdOf(const void* memory);
  const std::vector<Segment>& segments() const { return segments_; }

  void setNewData() { newData_ = true; }
  void setFrameId(std::uint64_t frameId);
  // Reads the clock and stores it as the timestamp; after an image fill also writes it
  // little-endian into the first 8 bytes of the first segment (fewer when the segment is shorter).
  void stampTimestamp(FrameContent content = FrameContent::Image);

  bool isQueued() const { return queued_; }
  void setQueued(bool queued) { queued_ = queued; }
  // Sets the queued flag; false when it was set already.
  bool claimQueued() { return !queued_.exchange(true); }
  bool hasNewData() const { return newData_; }
  std::uint64_t timestamp() const { return timestamp_; }
  void clearNewData() { newData_ = false; }

  // PAYLOAD_TYPE_GENDC when the stream uses flows, otherwise PAYLOAD_TYPE_IMAGE.
  std::int32_t payloadType() const;
  bool isGenDC() const { return payloadType() == PAYLOAD_TYPE_GENDC; }
  bool isMultiPart() const { return payloadType() == PAYLOAD_TYPE_MULTI_PART; }

  // An incomplete frame (a fault injected on request) wrote only the first `filled` bytes of the
  // first segment; the buffer says so until its next fill, which starts with markComplete().
  void markIncomplete(std::uint64_t filled) { filledSize_ = filled; }
  void markComplete() { filledSize_ = kComplete; }
  bool isIncomplete() const { return filledSize_ != kComplete; }
  // The stream's payload size when the buffer was made.
  std::uint64_t dataSize() const { return dataSize_; }
  // Copies a recorded frame's flows into the segments. Only composite buffers take flows: this
  // throws std::logic_error "Buffer class does not implement CopyFlowData".
  virtual void copyFlowData(std::span<const FlowRecord> flows);

 protected:
  // The stream, for a query on a consumer thread; throws std::invalid_argument when it is gone.
  std::shared_ptr<DataStream> lockStream() const;

 private:
  std::weak_ptr<DataStream> stream_;
  std::vector<Segment> segments_;
  std::string moduleId_;
  std::uint32_t width_;
  std::uint32_t height_;
  std::uint32_t paddingMode_;
  std::uint32_t xPadding_;  // bytes after every line
  std::uint32_t yPadding_;  // bytes after the last line
  std::uint64_t dataSize_;
  std::atomic<std::uint64_t> frameId_{0};
  std::atomic<std::uint64_t> timestamp_;
  std::atomic<bool> queued_{false};
  std::atomic<bool> newData_{false};
  // The bytes an incomplete frame wrote into the first segment; kComplete after a whole frame.
  static constexpr std::uint64_t kComplete = ~std::uint64_t{0};
  std::atomic<std::uint64_t> filledSize_{kComplete};
};

}  // namespace lumo::mockTL
