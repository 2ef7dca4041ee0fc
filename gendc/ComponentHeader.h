#pragma once

#include <cstdint>
#include <span>

#include "gendc/HeaderBase.h"
#include "gendc/StreamSettings.h"

namespace lumo::mockTL::GenDc {

// A GenDC component header (HeaderType 0x2000): one per image of the container.
class ComponentHeader : public HeaderBase {
 public:
  static const FieldTable& fields();
  // 48 bytes and one 8-byte PartOffset per part.
  static std::uint64_t sizeFor(std::uint64_t partCount);

  // Writes every field; Timestamp is the monotonic clock now. componentType goes to TypeId
  // sign-extended. Part offsets are from the descriptor start.
  ComponentHeader(const StreamSettings& stream, std::int32_t componentType, std::span<std::uint8_t> memory,
                  std::uint64_t headerOffset, std::uint64_t headerSize, std::span<const std::uint64_t> partOffsets);
};

}  // namespace lumo::mockTL::GenDc
