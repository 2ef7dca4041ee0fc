#include "base/Info.h"

#include <cstring>

#include "base/GenericException.h"

namespace lumo::mockTL::info {
namespace {

constexpr const char* kTooSmall = "The passed buffer is too small to receive the requested module information";

template <class T>
void reportNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, const T& value, INFO_DATATYPE tag) {
  if (destination != nullptr && size < sizeof(T)) {
    throw error::GenericException(GC_ERR_BUFFER_TOO_SMALL, "lumo::mockTL::info::ReportInfoNumeric", kTooSmall);
  }
  if (destination != nullptr) {
    std::memcpy(destination, &value, sizeof(T));
  }
  size = sizeof(T);
  type = tag;
}

}  // namespace

void ReportInfoString(INFO_DATATYPE& type, void* destination, std::size_t& size, std::string_view text) {
  ReportInfoString(type, destination, size, text, "lumo::mockTL::info::ReportInfoString", kTooSmall);
}

void ReportInfoString(INFO_DATATYPE& type, void* destination, std::size_t& size, std::string_view text,
                      const char* where, const char* tooSmallMessage) {
  const std::size_t needed = text.size() + 1;
  if (destination != nullptr && size < needed) {
    throw error::GenericException(GC_ERR_BUFFER_TOO_SMALL, where, tooSmallMessage);
  }
  if (destination != nullptr) {
    auto* bytes = static_cast<char*>(destination);
    std::memcpy(bytes, text.data(), text.size());
    bytes[text.size()] = '\0';
  }
  size = needed;
  type = INFO_DATATYPE_STRING;
}

void ReportInfoNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, std::int32_t value) {
  reportNumeric(type, destination, size, value, INFO_DATATYPE_INT32);
}

void ReportInfoNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, std::uint32_t value) {
  reportNumeric(type, destination, size, value, INFO_DATATYPE_INT32);
}

void ReportInfoNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, std::uint64_t value) {
  reportNumeric(type, destination, size, value, INFO_DATATYPE_UINT64);
}

void ReportInfoNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, Size value) {
  reportNumeric(type, destination, size, value.value, INFO_DATATYPE_SIZET);
}

void ReportInfoNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, const void* value) {
  reportNumeric(type, destination, size, value, INFO_DATATYPE_PTR);
}

void ReportInfoNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, bool value) {
  const std::uint8_t byte = value ? 1 : 0;
  reportNumeric(type, destination, size, byte, INFO_DATATYPE_BOOL8);
}

}  // namespace lumo::mockTL::info
