#include "event/NewBufferEvent.h"

#include <cstdint>
#include <cstring>

namespace lumo::mockTL {

// Named after the buffer resource that the items are, whatever interface of it the queue sees.
NewBufferEvent::NewBufferEvent()
    : EventWorker("lumo::mockTL::EventWorker<std::shared_ptr<lumo::mockTL::Resource>>", false) {}

void NewBufferEvent::GetDataImpl(const std::shared_ptr<DeliverableBuffer>& item, void* buffer, std::size_t& size) {
  const EVENT_NEW_BUFFER_DATA data{item->bufferHandle(), item->userPointer()};
  deliverBytes("lumo::mockTL::NewBufferEvent::GetDataImpl", &data, sizeof(data), buffer, size);
}

void NewBufferEvent::GetDataInfoImpl(const void* inBuffer, std::size_t inSize, EVENT_DATA_INFO_CMD command,
                                     INFO_DATATYPE& type, void* outBuffer, std::size_t& outSize) {
  constexpr const char* where = "lumo::mockTL::NewBufferEvent::GetDataInfoImpl";
  if (inSize < sizeof(EVENT_NEW_BUFFER_DATA)) {
    // GC_ERR_OUT_OF_MEMORY, not an invalid-parameter code: consumers may test for it.
    throw error::GenericException(GC_ERR_OUT_OF_MEMORY, where, "in_size < sizeof(EVENT_NEW_BUFFER_DATA)");
  }
  EVENT_NEW_BUFFER_DATA data;
  std::memcpy(&data, inBuffer, sizeof(data));
  switch (command) {
    case EVENT_DATA_ID:
      return info::ReportInfoNumeric(type, outBuffer, outSize, static_cast<const void*>(data.BufferHandle));
    case EVENT_DATA_VALUE:
      return info::ReportInfoNumeric(type, outBuffer, outSize, static_cast<const void*>(data.pUserPointer));
    case EVENT_DATA_NUMID:
      return info::ReportInfoNumeric(type, outBuffer, outSize,
                                     static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(data.BufferHandle)));
    default: throw error::GenericException(GC_ERR_NOT_IMPLEMENTED, where, "Unknown event data info command used");
  }
}

}  // namespace lumo::mockTL
