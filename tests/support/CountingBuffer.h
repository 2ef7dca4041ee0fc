#pragma once

#include <atomic>

#include "event/DeliverableBuffer.h"

namespace testing_support {

// Stands for a data stream's buffer resource: its handle is its own address, its user pointer
// the address of `userData`, and it counts how often it left the output queue.
class CountingBuffer : public lumo::mockTL::DeliverableBuffer {
 public:
  BUFFER_HANDLE bufferHandle() const override { return const_cast<CountingBuffer*>(this); }
  void* userPointer() const override { return const_cast<int*>(&userData); }
  void markUnqueued() noexcept override { unqueued.fetch_add(1); }

  int userData = 0;
  std::atomic<int> unqueued{0};
};

}  // namespace testing_support
