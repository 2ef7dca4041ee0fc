#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lumo::mockTL {

// A buffer as a consumer hands it over: it still holds old data, kStale in every byte, so that
// bytes a writer must not touch can be told from bytes it wrote.
inline constexpr std::byte kStale{0xEE};

inline std::vector<std::byte> staleBuffer(std::size_t size) { return std::vector<std::byte>(size, kStale); }

// The little-endian sample of `bytes` (1 or 2) bytes at `offset`.
inline std::uint16_t sampleAt(const std::vector<std::byte>& buffer, std::size_t offset, std::size_t bytes) {
  std::uint16_t value = std::to_integer<std::uint16_t>(buffer.at(offset));
  if (bytes == 2) value |= static_cast<std::uint16_t>(std::to_integer<std::uint16_t>(buffer.at(offset + 1)) << 8);
  return value;
}

}  // namespace lumo::mockTL
