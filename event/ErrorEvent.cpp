#include "event/ErrorEvent.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace lumo::mockTL {
namespace {

// Length of the C string at `text`, looking at no more than `limit` bytes.
std::size_t boundedLength(const char* text, std::size_t limit) {
  const void* end = std::memchr(text, '\0', limit);
  return end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - text) : limit;
}

}  // namespace

ErrorEvent::ErrorEvent() : EventWorker("lumo::mockTL::EventWorker<lumo::mockTL::ErrorEventData>", true) {}

void ErrorEvent::GetDataImpl(const ErrorEventData& item, void* buffer, std::size_t& size) {
  // The text ends at its first zero, as a C string does, and is cut to leave room for one.
  const std::size_t textLength = boundedLength(item.text.c_str(), std::min(item.text.size(), kMaxTextBytes - 1));
  std::array<char, kMaxDataBytes> bytes{};
  std::memcpy(bytes.data(), &item.code, sizeof(item.code));
  std::memcpy(bytes.data() + sizeof(item.code), item.text.data(), textLength);
  deliverBytes("lumo::mockTL::ErrorEvent::GetDataImpl", bytes.data(), sizeof(item.code) + textLength + 1, buffer, size);
}

void ErrorEvent::GetDataInfoImpl(const void* inBuffer, std::size_t inSize, EVENT_DATA_INFO_CMD command,
                                 INFO_DATATYPE& type, void* outBuffer, std::size_t& outSize) {
  const auto* data = static_cast<const char*>(inBuffer);
  switch (command) {
    case EVENT_DATA_ID: {
      GC_ERROR code = 0;
      std::memcpy(&code, data, sizeof(code));
      return info::ReportInfoNumeric(type, outBuffer, outSize, std::int32_t{code});
    }
    case EVENT_DATA_VALUE: {
      const char* text = data + sizeof(GC_ERROR);
      return info::ReportInfoString(type, outBuffer, outSize,
                                    std::string_view(text, boundedLength(text, inSize - sizeof(GC_ERROR))));
    }
    default:
      throw error::GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::ErrorEvent::GetDataInfoImpl",
                                    "Unknown event data info command used");
  }
}

}  // namespace lumo::mockTL
