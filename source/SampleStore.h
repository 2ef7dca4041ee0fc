#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace lumo::mockTL {

// Buffer samples are little-endian whatever the machine; these helpers write them byte by byte,
// which compilers merge into single stores on little-endian machines.
inline void storeSample(std::byte* destination, std::uint8_t value) { destination[0] = std::byte{value}; }

inline void storeSample(std::byte* destination, std::uint16_t value) {
  destination[0] = static_cast<std::byte>(value & 0xFF);
  destination[1] = static_cast<std::byte>(value >> 8);
}

// A loaded image's samples are in the machine's byte order and need not be aligned.
template <class Sample>
Sample loadNativeSample(const std::byte* source) {
  Sample value;
  std::memcpy(&value, source, sizeof value);
  return value;
}

}  // namespace lumo::mockTL
