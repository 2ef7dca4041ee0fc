#pragma once

#include "base/GenTL.h"

namespace lumo::mockTL {

// What the new-buffer event needs of an announced buffer (the data stream's buffer resource):
// the two values of its event data, and the hook that ends its stay in the output queue. The
// event calls these with its own mutex held; implementations must not block or call back into
// the event.
class DeliverableBuffer {
 public:
  virtual ~DeliverableBuffer() = default;

  // The BUFFER_HANDLE the consumer knows the buffer by.
  virtual BUFFER_HANDLE bufferHandle() const = 0;
  // The private pointer the consumer gave when it announced the buffer.
  virtual void* userPointer() const = 0;
  // The buffer has left the output queue, handed to the consumer or discarded: clears its queued
  // flag, so that it may be queued again.
  virtual void markUnqueued() noexcept = 0;
};

}  // namespace lumo::mockTL
