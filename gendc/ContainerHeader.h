#pragma once

#include <cstdint>
#include <span>

#include "gendc/HeaderBase.h"

namespace lumo::mockTL::GenDc {

// The GenDC container header (HeaderType 0x1000) that opens every descriptor.
class ContainerHeader : public HeaderBase {
 public:
  static const FieldTable& fields();
  // 56 bytes and one 8-byte ComponentOffset per component.
  static std::uint64_t sizeFor(std::uint64_t componentCount);

  // Writes every field. Offsets are from the descriptor start; dataSize is the sum of all part
  // data sizes.
  ContainerHeader(std::span<std::uint8_t> memory, std::uint64_t headerOffset, std::uint64_t headerSize,
                  std::uint64_t dataOffset, std::uint64_t dataSize, std::uint64_t descriptorSize,
                  std::span<const std::uint64_t> componentOffsets);
};

}  // namespace lumo::mockTL::GenDc
