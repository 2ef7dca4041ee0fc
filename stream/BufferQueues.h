#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "event/NewBufferEvent.h"
#include "stream/Resource.h"

namespace lumo::mockTL {

// A data stream's buffers and the two queues they cycle through: the announced buffers (by
// module id), the input queue of buffers waiting to be filled and, as the stream's new-buffer
// event, the output queue of filled ones. Each move between them keeps the buffers' queued flags
// in step. Failures carry the stream's operations' names.
//
// Threads: any thread. The buffer-map mutex guards the announced buffers; the input-queue mutex
// guards the input queue and the claiming of the queued flags; the output queue has its own
// mutex. Where two are held at once they are taken in that order. The acquisition thread takes
// the input-queue mutex to pop a buffer (takeQueued) and the output queue's to deliver one.
class BufferQueues {
 public:
  BufferQueues();
  BufferQueues(const BufferQueues&) = delete;
  BufferQueues& operator=(const BufferQueues&) = delete;

  // The stream's new-buffer event; the stream registers it with its event source.
  const std::shared_ptr<NewBufferEvent>& outputQueue() const { return outputQueue_; }

  // Adds an announced buffer; GC_ERR_RESOURCE_IN_USE (with origin `where`) when one at the same
  // address is announced already.
  void insert(const char* where, const std::shared_ptr<Resource>& resource);
  // See DataStream::RevokeBuffer.
  void revoke(const void* handle, void** buffer, void** privateData);
  // Appends to the input queue and marks the buffer queued; GC_ERR_INVALID_BUFFER when it was
  // marked already (queued, or delivered and not yet taken by the consumer).
  void queue(const std::shared_ptr<Resource>& resource);
  // queue() without the failure: false when the buffer was marked already.
  bool queueUnlessQueued(const std::shared_ptr<Resource>& resource);
  std::shared_ptr<Resource> byIndex(std::uint32_t index) const;
  std::shared_ptr<Resource> find(const void* handle) const;
  bool isAnnounced(const void* memory) const;
  std::size_t announcedCount() const;
  std::size_t queuedCount() const;

  // The flush modes, each as DataStream::flush names them. The caller stops acquisition before
  // the last two and holds the stream's module mutex across the discard.
  void moveInputToOutput();
  void discardOutput() { outputQueue_->Flush(); }
  void queueAllUnqueued();
  void queueUnqueuedMarkingFirst();
  void discardAll();

  // For the acquisition thread: the oldest queued buffer, taken out of the input queue; empty
  // when there is none.
  std::shared_ptr<Resource> takeQueued();
  // Appends a filled buffer to the output queue, which signals the consumer.
  void deliver(std::shared_ptr<Resource> buffer) { outputQueue_->Push(std::move(buffer)); }

 private:
  mutable std::mutex bufferMapMutex_;
  std::map<std::string, std::shared_ptr<Resource>> buffers_;
  mutable std::mutex inputQueueMutex_;
  std::deque<std::shared_ptr<Resource>> inputQueue_;
  const std::shared_ptr<NewBufferEvent> outputQueue_;
};

}  // namespace lumo::mockTL
