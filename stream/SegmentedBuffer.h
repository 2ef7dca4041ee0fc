#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "stream/BufferBase.h"

namespace lumo::mockTL {

// The composite buffer of DSAnnounceCompositeBuffer: one segment of consumer memory per flow of
// the stream, in the order the consumer gave them. Its module id comes from the first segment, so
// two composite buffers that start at the same address collide.
class SegmentedBuffer final : public BufferBase {
 public:
  SegmentedBuffer(const std::shared_ptr<Module>& stream, std::vector<Segment> segments);

  // SEGMENT_INFO_* of segment `index`, and 28 (the buffer's timestamp in nanoseconds, mirroring
  // BUFFER_INFO_TIMESTAMP_NS).
  void GetBufferSegmentInfo(std::uint32_t index, SEGMENT_INFO_CMD command, INFO_DATATYPE& type, void* destination,
                            std::size_t& size);

  // Copies flow i to the start of segment i. Throws std::invalid_argument when the counts differ,
  // or when a flow is longer than its segment (the flows before it have been copied then).
  void copyFlowData(std::span<const FlowRecord> flows) override;
};

}  // namespace lumo::mockTL
