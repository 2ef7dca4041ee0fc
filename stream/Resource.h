#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <variant>

#include "event/DeliverableBuffer.h"
#include "stream/Buffer.h"
#include "stream/SegmentedBuffer.h"

namespace lumo::mockTL {

// One announced buffer as its data stream keeps it: the buffer module (plain or composite) with
// the private pointer the consumer announced it with. The stream's buffer map, its input queue and
// its new-buffer event all hold Resources; the consumer knows one by its buffer's handle. The
// buffer lives as long as any of them holds the Resource. Thread safe as its buffer is.
class Resource final : public DeliverableBuffer {
 public:
  using Wrapped = std::variant<std::shared_ptr<Buffer>, std::shared_ptr<SegmentedBuffer>>;

  Resource(Wrapped buffer, void* privateData);

  BufferBase& buffer() const { return *base_; }
  bool isComposite() const { return buffer_.index() == 1; }
  std::uint32_t segmentCount() const { return static_cast<std::uint32_t>(base_->segments().size()); }

  BUFFER_HANDLE bufferHandle() const override { return base_->handle(); }
  void* userPointer() const override { return privateData_; }
  void markUnqueued() noexcept override { base_->setQueued(false); }

  // DSGetBufferInfo: the commands that concern the announcement itself are answered here, the
  // others by the buffer.
  void GetBufferInfo(BUFFER_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) const;
  // DSGetBufferSegmentInfo: only composite buffers answer; a plain buffer fails with
  // GC_ERR_NOT_IMPLEMENTED.
  void GetBufferSegmentInfo(std::uint32_t index, SEGMENT_INFO_CMD command, INFO_DATATYPE& type, void* destination,
                            std::size_t& size) const;

 private:
  Wrapped buffer_;
  BufferBase* base_;
  void* privateData_;
};

}  // namespace lumo::mockTL
