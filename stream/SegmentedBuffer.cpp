#include "stream/SegmentedBuffer.h"

#include <cstring>
#include <stdexcept>

#include "base/GenericException.h"
#include "base/Info.h"

namespace lumo::mockTL {

namespace {

// Not a segment command of GenTL: mirrors BUFFER_INFO_TIMESTAMP_NS, which consumers ask here too.
constexpr SEGMENT_INFO_CMD kSegmentTimestamp = 28;

}  // namespace

SegmentedBuffer::SegmentedBuffer(const std::shared_ptr<Module>& stream, std::vector<Segment> segments)
    : BufferBase(stream, std::move(segments)) {}

void SegmentedBuffer::GetBufferSegmentInfo(std::uint32_t index, SEGMENT_INFO_CMD command, INFO_DATATYPE& type,
                                           void* destination, std::size_t& size) {
  constexpr const char* where = "lumo::mockTL::SegmentedBuffer::GetBufferSegmentInfo";
  if (index >= segments().size()) {
    throw error::GenericException(GC_ERR_INVALID_INDEX, where, "invalid index: iSegmentIndex");
  }
  const Segment& segment = segments()[index];
  switch (command) {
    case SEGMENT_INFO_BASE:
      return info::ReportInfoNumeric(type, destination, size, static_cast<const void*>(segment.base));
    case SEGMENT_INFO_SIZE:
    case SEGMENT_INFO_SIZE_FILLED:
    case SEGMENT_INFO_DATA_SIZE:
      return info::ReportInfoNumeric(type, destination, size, info::Size{static_cast<std::size_t>(segment.size)});
    case SEGMENT_INFO_IS_INCOMPLETE: return info::ReportInfoNumeric(type, destination, size, false);
    case kSegmentTimestamp: return info::ReportInfoNumeric(type, destination, size, timestamp());
    default: throw error::GenericException(GC_ERR_NOT_IMPLEMENTED, where, "unknown command used: iInfoCmd");
  }
}

void SegmentedBuffer::copyFlowData(std::span<const FlowRecord> flows) {
  if (flows.size() != segments().size()) {
    throw std::invalid_argument("The number of flows does not match the number of buffer segments.");
  }
  for (std::size_t i = 0; i < flows.size(); ++i) {
    if (flows[i].size > segments()[i].size) {
      throw std::invalid_argument("The flow does not fit into the corresponding buffer segment.");
    }
    if (flows[i].size > 0) {
      std::memcpy(segments()[i].base, flows[i].data, static_cast<std::size_t>(flows[i].size));
    }
  }
}

}  // namespace lumo::mockTL
