#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
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

struct ExpectedField {
  std::uint64_t offset;
  std::uint64_t width;
  std::uint64_t value;
};

inline void expectFields(std::span<const std::uint8_t> bytes, std::initializer_list<ExpectedField> fields) {
  for (const ExpectedField& field : fields) {
    EXPECT_EQ(readField(bytes, field.offset, field.width), field.value) << "field at offset " << field.offset;
  }
}

}  // namespace lumo::mockTL::GenDc::test
