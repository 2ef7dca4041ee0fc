#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "stream/BufferBase.h"

namespace lumo::mockTL {

// The single-segment buffer of DSAnnounceBuffer (the consumer's memory) and
// DSAllocAndAnnounceBuffer (memory the buffer allocates, zero-filled, and frees with itself).
class Buffer final : public BufferBase {
 public:
  // Over the consumer's memory, which must outlive the buffer's last fill.
  Buffer(const std::shared_ptr<Module>& stream, void* memory, std::uint64_t size);
  // Over `size` zero bytes of its own. Throws std::bad_alloc when they cannot be had.
  Buffer(const std::shared_ptr<Module>& stream, std::uint64_t size);

  void GetBufferInfo(BUFFER_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) override;

 private:
  Buffer(const std::shared_ptr<Module>& stream, std::unique_ptr<std::byte[]> memory, std::uint64_t size);

  std::unique_ptr<std::byte[]> ownedMemory_;
};

}  // namespace lumo::mockTL
