#pragma once

#include <cstddef>
#include <memory>

#include "event/DeliverableBuffer.h"
#include "event/EventWorker.h"

namespace lumo::mockTL {

// A data stream's EVENT_NEW_BUFFER queue: its output queue of filled buffers. Event data is
// EVENT_NEW_BUFFER_DATA (the buffer handle, then the user pointer; 16 bytes). A buffer stays marked
// queued while it is in here, until its data is handed out or it is discarded. Pushes do not
// depend on registration: a buffer dropped here would stay marked queued for good.
//
// The acquisition thread pushes filled buffers (never null); the stream's flush modes push
// unfilled ones (input to output) or Flush (discard).
class NewBufferEvent : public EventWorker<std::shared_ptr<DeliverableBuffer>> {
 public:
  static constexpr std::size_t kDataBytes = sizeof(EVENT_NEW_BUFFER_DATA);

  // Made through Event::create.
  NewBufferEvent();

  EVENT_TYPE eventType() const override { return EVENT_NEW_BUFFER; }
  std::size_t maxDataSize() const override { return kDataBytes; }
  std::size_t maxInfoDataSize() const override { return sizeof(void*); }

 protected:
  void GetDataImpl(const std::shared_ptr<DeliverableBuffer>& item, void* buffer, std::size_t& size) override;
  void afterDelivery(std::shared_ptr<DeliverableBuffer>& item) noexcept override { item->markUnqueued(); }
  void discard(std::shared_ptr<DeliverableBuffer>& item) noexcept override { item->markUnqueued(); }
  // No general minimum: GetDataInfoImpl refuses anything short of the whole layout itself.
  std::size_t minDataSize() const override { return 0; }
  // EVENT_DATA_ID: the buffer handle (PTR); EVENT_DATA_VALUE: the user pointer (PTR);
  // EVENT_DATA_NUMID: the buffer handle as a number (UINT64).
  void GetDataInfoImpl(const void* inBuffer, std::size_t inSize, EVENT_DATA_INFO_CMD command, INFO_DATATYPE& type,
                       void* outBuffer, std::size_t& outSize) override;
};

}  // namespace lumo::mockTL
