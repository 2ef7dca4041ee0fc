#include "event/RemoveDeviceEvent.h"

#include <algorithm>

namespace lumo::mockTL {

RemoveDeviceEvent::RemoveDeviceEvent() : EventWorker("lumo::mockTL::EventWorker<std::vector<unsigned char>>", true) {}

std::size_t RemoveDeviceEvent::maxDataSize() const {
  std::size_t largest = 0;
  for (const auto& item : queuedLocked()) {
    largest = std::max(largest, item.size());
  }
  return largest;
}

void RemoveDeviceEvent::GetDataImpl(const std::vector<std::uint8_t>& item, void* buffer, std::size_t& size) {
  deliverBytes("lumo::mockTL::RemoveDeviceEvent::GetDataImpl", item.data(), item.size(), buffer, size);
}

void RemoveDeviceEvent::GetDataInfoImpl(const void*, std::size_t, EVENT_DATA_INFO_CMD, INFO_DATATYPE&, void*,
                                        std::size_t&) {
  throw error::GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::RemoveDeviceEvent::GetDataInfoImpl",
                                "Unknown event data info command used");
}

}  // namespace lumo::mockTL
