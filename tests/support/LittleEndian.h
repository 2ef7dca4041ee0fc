#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <span>

namespace lumo::mockTL::GenDc::test {

// Reads a little-endian field of `width` bytes as a consumer parsing a GenDC descriptor would.
inline std::uint64_t readField(std::span<const std::uint8_t> bytes, std::uint64_t offset, std::uint64_t width) {
  EXPECT_LE(offset + width, bytes.size()) << "field read beyond the bytes";
  if (offset + width > bytes.size()) return 0;
  std::uint64_t value = 0;
  for (std::uint64_t byte = 0; byte < width; ++byte) {
    value |= std::uint64_t{bytes[offset + byte]} << (8 * byte);
  }
  return value;
}

}  // namespace lumo::mockTL::GenDc::test
