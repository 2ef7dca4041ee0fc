#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "gendc/HeaderBase.h"

namespace lumo::mockTL::GenDc {

// The flow mapping table (HeaderType 0x7000) a consumer reads to size the segments of its
// composite buffers: one size per flow, flow 0 first.
class FlowMappingTable : public HeaderBase {
 public:
  static const FieldTable& fields();
  // 16 bytes and one 8-byte FlowSize per flow.
  static std::uint64_t sizeFor(std::uint64_t flowCount);

  // The table's bytes for these flow sizes, in freshly allocated zero-filled memory: what a
  // stream keeps for its flow table query and register. Allocates 8 bytes per flow beyond the
  // given list and nothing more. Throws std::length_error for more flows than FlowCount holds.
  static std::vector<std::uint8_t> bytesFor(std::span<const std::uint64_t> flowSizes);

  // Writes every field at the start of `memory`. Throws std::invalid_argument when the number of
  // flow sizes differs from flowCount, before anything is written.
  FlowMappingTable(std::span<std::uint8_t> memory, std::uint64_t headerSize, std::uint64_t flowCount,
                   std::span<const std::uint64_t> flowSizes);
};

}  // namespace lumo::mockTL::GenDc
