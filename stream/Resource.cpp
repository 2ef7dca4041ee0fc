#include "stream/Resource.h"

#include "base/GenericException.h"
#include "base/Info.h"
#include "module/ProducerIdentity.h"

namespace lumo::mockTL {

using error::GenericException;

Resource::Resource(Wrapped buffer, void* privateData)
    : buffer_(std::move(buffer)),
      base_(std::visit([](const auto& held) -> BufferBase* { return held.get(); }, buffer_)),
      privateData_(privateData) {}

void Resource::GetBufferInfo(BUFFER_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) const {
  constexpr const char* where = "lumo::mockTL::Resource::GetBufferInfo";
  switch (command) {
    case BUFFER_INFO_USER_PTR: return info::ReportInfoNumeric(type, destination, size, privateData_);
    case BUFFER_INFO_IS_ACQUIRING:
      throw GenericException(GC_ERR_NOT_AVAILABLE, where, "the buffer-is-acquiring info currently not implemented");
    case BUFFER_INFO_IS_INCOMPLETE: return info::ReportInfoNumeric(type, destination, size, base_->isIncomplete());
    case BUFFER_INFO_DATA_LARGER_THAN_BUFFER: return info::ReportInfoNumeric(type, destination, size, false);
    case BUFFER_INFO_TLTYPE: return info::ReportInfoString(type, destination, size, identity::kTransportLayerType);
    case BUFFER_INFO_FILENAME:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, where,
                             "buffer file name query is irrelevant for this transport layer");
    case BUFFER_INFO_IS_COMPOSITE: return info::ReportInfoNumeric(type, destination, size, isComposite());
    case BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE:
    case BUFFER_INFO_CHUNKLAYOUTID:
    case BUFFER_INFO_CONTAINS_CHUNKDATA:
      if (base_->isGenDC()) {
        throw GenericException(GC_ERR_NO_DATA, where,
                               "Related information must be referenced in the GenDC descriptor.");
      }
      // No chunks ever: the chunk answers of the buffer itself are not reached from here.
      if (command == BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE) {
        return info::ReportInfoNumeric(type, destination, size, info::Size{0});
      }
      if (command == BUFFER_INFO_CHUNKLAYOUTID) {
        return info::ReportInfoNumeric(type, destination, size, std::uint64_t{0});
      }
      return info::ReportInfoNumeric(type, destination, size, false);
    default: return base_->GetBufferInfo(command, type, destination, size);
  }
}

void Resource::GetBufferSegmentInfo(std::uint32_t index, SEGMENT_INFO_CMD command, INFO_DATATYPE& type,
                                    void* destination, std::size_t& size) const {
  if (!isComposite()) {
    throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::Resource::GetBufferSegmentInfo",
                           "segment info is only available for composite buffers");
  }
  std::get<std::shared_ptr<SegmentedBuffer>>(buffer_)->GetBufferSegmentInfo(index, command, type, destination, size);
}

}  // namespace lumo::mockTL
