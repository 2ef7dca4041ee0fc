#pragma once

#include <cstring>
#include <string>

#include "base/GenTL.h"
#include "tools/GenTLLibrary.h"

namespace lmmocktl {

// GenTL info answers asked for the usual way. `query(type, buffer, size)` is one *GetInfo call
// bound to its handle and command.
template <class Query>
std::string infoText(const GenTLLibrary& gentl, Query query, const char* call) {
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  size_t size = 0;
  gentl.check(query(&type, nullptr, &size), call);
  std::string text(size, '\0');
  gentl.check(query(&type, text.data(), &size), call);
  text.resize(std::strlen(text.c_str()));
  return text;
}

template <class T, class Query>
T infoValue(const GenTLLibrary& gentl, Query query, const char* call) {
  T value{};
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  size_t size = sizeof(value);
  gentl.check(query(&type, &value, &size), call);
  return value;
}

// An id from an indexed list (TLGetInterfaceID, IFGetDeviceID, DevGetDataStreamID).
template <class Query>
std::string listedId(const GenTLLibrary& gentl, Query query, const char* call) {
  size_t size = 0;
  gentl.check(query(nullptr, &size), call);
  std::string text(size, '\0');
  gentl.check(query(text.data(), &size), call);
  text.resize(std::strlen(text.c_str()));
  return text;
}

}  // namespace lmmocktl
