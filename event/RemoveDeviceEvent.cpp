#include "event/RemoveDeviceEvent.h"

#include <algorithm>
#include <cstring>
#include <string_view>

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

void RemoveDeviceEvent::GetDataInfoImpl(const void* inBuffer, std::size_t inSize, EVENT_DATA_INFO_CMD command,
                                        INFO_DATATYPE& type, void* outBuffer, std::size_t& outSize) {
  if (command == EVENT_DATA_ID) {
    const auto* text = static_cast<const char*>(inBuffer);
    const void* end = std::memchr(text, '\0', inSize);
    const std::size_t length = end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - text) : inSize;
    return info::ReportInfoString(type, outBuffer, outSize, std::string_view(text, length));
  }
  throw error::GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::RemoveDeviceEvent::GetDataInfoImpl",
                                "Unknown event data info command used");
}

}  // namespace lumo::mockTL
