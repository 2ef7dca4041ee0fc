#pragma once

#include <cstdint>
#include <span>

#include "gendc/HeaderBase.h"
#include "gendc/StreamSettings.h"

namespace lumo::mockTL::GenDc {

// A GenDC 2D part header (56 bytes): where one image's data lies and what it looks like.
class PartHeader : public HeaderBase {
 public:
  static const FieldTable& fields();
  static std::uint64_t size();

  // Writes every field. dataOffset is from the container start; a part in flow 0 shares the
  // container's byte numbering, a part in a flow of its own starts that flow.
  PartHeader(const StreamSettings& stream, std::uint64_t componentIndex, std::uint64_t partIndex,
             std::span<std::uint8_t> memory, std::uint64_t headerOffset, std::uint64_t headerSize, std::uint16_t flowId,
             std::uint64_t dataOffset, std::uint64_t dataSize);
};

}  // namespace lumo::mockTL::GenDc
