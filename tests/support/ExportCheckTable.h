#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "base/GenTL.h"
#include "support/GenTLExports.h"

// Tables of refused export calls, one row per (export, bad argument, code, message), run against a
// producer loaded as a consumer loads it.
namespace testing_support {

// An address that no producer object ever lives at.
inline int neverRegistered;
inline void* const kUnknown = &neverRegistered;

// The codes the tables name most often.
inline constexpr GC_ERROR kHandle = GC_ERR_INVALID_HANDLE;
inline constexpr GC_ERROR kParameter = GC_ERR_INVALID_PARAMETER;

// One refused call. `Handles` are the open modules a table's calls run against, `Scratch` the
// output places they write to.
template <class Handles, class Scratch>
struct ExportCheck {
  const char* name;
  std::function<GC_ERROR(GenTLExports&, const Handles&, Scratch&)> call;
  GC_ERROR code;
  const char* message;
};

template <class Handles, class Scratch>
void PrintTo(const ExportCheck<Handles, Scratch>& check, std::ostream* out) {
  *out << check.name;
}

// Names a table's instances after their rows.
inline constexpr auto checkName = [](const auto& info) { return std::string(info.param.name); };

}  // namespace testing_support

// One row of a table whose file names its row type CheckCase (an ExportCheck of its own Handles
// and Scratch); the expression sees the exports as `gentl`, the handles as `h`, the scratch as `s`.
#define CHECK_CASE(name, code, message, expression)                                 \
  CheckCase {                                                                       \
    name,                                                                           \
        []([[maybe_unused]] GenTLExports& gentl, [[maybe_unused]] const Handles& h, \
           [[maybe_unused]] Scratch& s) -> GC_ERROR { return expression; },         \
        code, message                                                               \
  }
