#include "stream/Buffer.h"

#include <utility>

#include "base/Info.h"

namespace lumo::mockTL {

Buffer::Buffer(const std::shared_ptr<Module>& stream, void* memory, std::uint64_t size)
    : BufferBase(stream, {{static_cast<std::byte*>(memory), size}}) {}

// Value-initialised: the block is zero-filled, as consumers find it before the first frame.
Buffer::Buffer(const std::shared_ptr<Module>& stream, std::uint64_t size)
    : Buffer(stream, std::unique_ptr<std::byte[]>(new std::byte[size]()), size) {}

Buffer::Buffer(const std::shared_ptr<Module>& stream, std::unique_ptr<std::byte[]> memory, std::uint64_t size)
    : BufferBase(stream, {{memory.get(), size}}), ownedMemory_(std::move(memory)) {}

void Buffer::GetBufferInfo(BUFFER_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) {
  if (command == BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE) {
    return info::ReportInfoNumeric(type, destination, size, info::Size{segments().front().size});
  }
  BufferBase::GetBufferInfo(command, type, destination, size);
}

}  // namespace lumo::mockTL
