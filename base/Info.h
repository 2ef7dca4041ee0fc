#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "base/GenTL.h"

// The single place where every GenTL info query (TLGetInfo, DSGetBufferInfo, GCGetPortInfo, ...)
// delivers its answer: the type tag, the size and, unless the destination is null (the size query),
// the value. A destination smaller than the value fails with GC_ERR_BUFFER_TOO_SMALL and is left
// untouched.
namespace lumo::mockTL::info {

// A pointer-sized count, reported as INFO_DATATYPE_SIZET (size_t and uint64_t are one type here).
struct Size {
  std::size_t value;
};

void ReportInfoString(INFO_DATATYPE& type, void* destination, std::size_t& size, std::string_view text);
// The same for the module queries that word the too-small failure their own way.
void ReportInfoString(INFO_DATATYPE& type, void* destination, std::size_t& size, std::string_view text,
                      const char* where, const char* tooSmallMessage);

// 32-bit answers are tagged INFO_DATATYPE_INT32 whatever their signedness: consumers see the tag.
void ReportInfoNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, std::int32_t value);
void ReportInfoNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, std::uint32_t value);
void ReportInfoNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, std::uint64_t value);
void ReportInfoNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, Size value);
void ReportInfoNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, const void* value);
void ReportInfoNumeric(INFO_DATATYPE& type, void* destination, std::size_t& size, bool value);

// Writes the value without looking at the caller's size: a few queries have always trusted the
// consumer to pass a buffer of the value's size, and consumers rely on that.
template <class T>
void ReportInfoNumericUnchecked(INFO_DATATYPE& type, void* destination, std::size_t& size, T value, INFO_DATATYPE tag) {
  if (destination != nullptr) {
    std::memcpy(destination, &value, sizeof(T));
  }
  size = sizeof(T);
  type = tag;
}

}  // namespace lumo::mockTL::info
