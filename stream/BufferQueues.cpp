#include "stream/BufferQueues.h"

#include <iterator>
#include <utility>
#include <vector>

#include "base/GenericException.h"
#include "event/Event.h"

namespace lumo::mockTL {

using error::GenericException;

BufferQueues::BufferQueues() : outputQueue_(Event::create<NewBufferEvent>()) {}

void BufferQueues::insert(const char* where, const std::shared_ptr<Resource>& resource) {
  // Looked up and inserted under one lock, so that two consumers announcing the same memory at
  // once cannot both succeed.
  std::lock_guard lock(bufferMapMutex_);
  if (!buffers_.try_emplace(resource->buffer().moduleId(), resource).second) {
    throw GenericException(GC_ERR_RESOURCE_IN_USE, where, "a buffer at this address is already announced");
  }
}

void BufferQueues::revoke(const void* handle, void** buffer, void** privateData) {
  std::lock_guard lock(bufferMapMutex_);
  for (auto entry = buffers_.begin(); entry != buffers_.end(); ++entry) {
    if (entry->second->bufferHandle() == handle) {
      if (buffer != nullptr) {
        *buffer = entry->second->bufferHandle();
      }
      if (privateData != nullptr) {
        *privateData = entry->second->userPointer();
      }
      buffers_.erase(entry);
      return;
    }
  }
  throw GenericException(GC_ERR_INVALID_ID, "lumo::mockTL::DataStream::RevokeBuffer", "unknown segment list");
}

bool BufferQueues::queueUnlessQueued(const std::shared_ptr<Resource>& resource) {
  BufferBase& buffer = resource->buffer();
  // The flag keeps a buffer out of the input queue twice, also when two threads queue it at once;
  // it also refuses a delivered buffer that the consumer has not taken yet. Claimed under the
  // input-queue mutex, so that a discard, which clears the queue and the flags under that mutex,
  // finds a buffer queued at the same time either queued and flagged or neither.
  std::lock_guard lock(inputQueueMutex_);
  if (!buffer.claimQueued()) {
    return false;
  }
  buffer.clearNewData();
  inputQueue_.push_back(resource);
  return true;
}

void BufferQueues::queue(const std::shared_ptr<Resource>& resource) {
  if (!queueUnlessQueued(resource)) {
    throw GenericException(GC_ERR_INVALID_BUFFER, "lumo::mockTL::DataStream::QueueBuffer", "Buffer is already queued");
  }
}

std::shared_ptr<Resource> BufferQueues::byIndex(std::uint32_t index) const {
  std::lock_guard lock(bufferMapMutex_);
  if (index >= buffers_.size()) {
    throw GenericException(GC_ERR_INVALID_INDEX, "lumo::mockTL::DataStream::BufferByIndex", "index out of bounds");
  }
  return std::next(buffers_.begin(), index)->second;
}

std::shared_ptr<Resource> BufferQueues::find(const void* handle) const {
  std::lock_guard lock(bufferMapMutex_);
  for (const auto& [id, resource] : buffers_) {
    if (resource->bufferHandle() == handle) {
      return resource;
    }
  }
  return nullptr;
}

bool BufferQueues::isAnnounced(const void* memory) const {
  const std::string id = BufferBase::moduleIdOf(memory);
  std::lock_guard lock(bufferMapMutex_);
  return buffers_.contains(id);
}

std::size_t BufferQueues::announcedCount() const {
  std::lock_guard lock(bufferMapMutex_);
  return buffers_.size();
}

std::size_t BufferQueues::queuedCount() const {
  std::lock_guard lock(inputQueueMutex_);
  return inputQueue_.size();
}

void BufferQueues::moveInputToOutput() {
  // Unfilled and still marked queued: the consumer gets them back through the event.
  std::lock_guard lock(inputQueueMutex_);
  while (!inputQueue_.empty()) {
    outputQueue_->Push(std::move(inputQueue_.front()));
    inputQueue_.pop_front();
  }
}

void BufferQueues::queueAllUnqueued() {
  outputQueue_->Flush();
  std::vector<std::shared_ptr<Resource>> unqueued;
  {
    std::lock_guard lock(bufferMapMutex_);
    for (const auto& [id, resource] : buffers_) {
      if (!resource->buffer().isQueued()) {
        unqueued.push_back(resource);
      }
    }
  }
  for (const auto& resource : unqueued) {
    // One that a consumer queued since it was collected is already where this puts it.
    queueUnlessQueued(resource);
  }
}

void BufferQueues::queueUnqueuedMarkingFirst() {
  // Marks the buffer queued before it queues it, so the queuing refuses the first unqueued
  // buffer, which stays marked queued without being in the input queue, and the flush fails
  // there. Consumers have always met this mode so; only ACQ_QUEUE_ALL_DISCARD frees such a buffer
  // again.
  std::lock_guard lock(bufferMapMutex_);
  for (const auto& [id, resource] : buffers_) {
    BufferBase& buffer = resource->buffer();
    if (!buffer.isQueued()) {
      buffer.setQueued(true);
      buffer.clearNewData();
      queue(resource);
    }
  }
}

void BufferQueues::discardAll() {
  std::vector<std::shared_ptr<Resource>> announced;
  {
    std::lock_guard lock(bufferMapMutex_);
    for (const auto& [id, resource] : buffers_) {
      announced.push_back(resource);
    }
  }
  // Queues and flags are cleared under one hold of the input-queue mutex: a buffer that a
  // consumer queues meanwhile is either discarded with its flag or stays queued with it.
  std::lock_guard lock(inputQueueMutex_);
  outputQueue_->Flush();
  for (const auto& resource : inputQueue_) {
    resource->buffer().setQueued(false);
  }
  inputQueue_.clear();
  for (const auto& resource : announced) {
    resource->buffer().setQueued(false);
  }
}

std::shared_ptr<Resource> BufferQueues::takeQueued() {
  std::lock_guard lock(inputQueueMutex_);
  if (inputQueue_.empty()) {
    return nullptr;
  }
  std::shared_ptr<Resource> front = std::move(inputQueue_.front());
  inputQueue_.pop_front();
  return front;
}

}  // namespace lumo::mockTL
