#pragma once

#include <cstdint>
#include <limits>
#include <stdexcept>

// Size arithmetic of GenDC layouts. Image geometry and flow lists come from consumers and
// recorded files, so a sum or product that wraps would size a copy with a wrong, small number;
// these refuse instead.
namespace lumo::mockTL::GenDc {

inline std::uint64_t checkedAdd(std::uint64_t a, std::uint64_t b) {
  if (a > std::numeric_limits<std::uint64_t>::max() - b) {
    throw std::overflow_error("GenDC size exceeds the addressable range");
  }
  return a + b;
}

inline std::uint64_t checkedMultiply(std::uint64_t a, std::uint64_t b) {
  if (a != 0 && b > std::numeric_limits<std::uint64_t>::max() / a) {
    throw std::overflow_error("GenDC size exceeds the addressable range");
  }
  return a * b;
}

}  // namespace lumo::mockTL::GenDc
