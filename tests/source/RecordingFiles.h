#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "source/ImageFiles.h"
#include "source/LmRApi.h"
#include "support/ScopedEnvironment.h"

// Failures print as their numbers.
inline void PrintTo(LmRStatus status, std::ostream* out) { *out << static_cast<std::int32_t>(status); }

// Files for the recording tests, made by the tests themselves.
namespace lumo::mockTL::testing {

using testing_support::readBytes;
using testing_support::TemporaryDirectory;
using testing_support::writeBytes;

inline std::filesystem::path operator/(const TemporaryDirectory& directory, const std::string& name) {
  return directory.path() / name;
}

// Little-endian bytes appended field by field: InfoFiles laid out by hand, independently of the
// code under test, so that writer and reader cannot agree on a wrong layout unnoticed.
class Bytes {
 public:
  Bytes& u8(std::uint64_t value) { return put(value, 1); }
  Bytes& u32(std::uint64_t value) { return put(value, 4); }
  Bytes& u64(std::uint64_t value) { return put(value, 8); }
  Bytes& u64s(const std::vector<std::uint64_t>& values) {
    for (const auto value : values) u64(value);
    return *this;
  }
  Bytes& raw(const std::vector<std::uint8_t>& values) {
    bytes_.insert(bytes_.end(), values.begin(), values.end());
    return *this;
  }
  const std::vector<std::uint8_t>& bytes() const { return bytes_; }

 private:
  Bytes& put(std::uint64_t value, int width) {
    for (int i = 0; i < width; ++i) bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    return *this;
  }
  std::vector<std::uint8_t> bytes_;
};

// A well-formed InfoFile: magic, version 1, reserved byte 0, then the tables.
inline std::vector<std::uint8_t> infoFileBytes(bool fixed, const std::vector<std::uint64_t>& flowSizes,
                                               const std::vector<std::uint64_t>& perFileValues,
                                               const std::vector<std::uint64_t>& flowSetCounts,
                                               const std::vector<std::uint8_t>& descriptor) {
  return Bytes()
      .u32(0x494E464F)
      .u32(1)
      .u8(0)
      .u8(fixed ? 1 : 0)
      .u64(flowSizes.size())
      .u64s(flowSizes)
      .u64(flowSetCounts.size())
      .u64s(perFileValues)
      .u64s(flowSetCounts)
      .u64(descriptor.size())
      .raw(descriptor)
      .bytes();
}

// The byte at `offset` of global flow set `flowSet` in the recordings the tests make: every flow
// set is distinguishable from every other, and every byte within it from its neighbours.
inline std::uint8_t patternByte(std::uint64_t flowSet, std::uint64_t offset) {
  return static_cast<std::uint8_t>(flowSet * 31 + offset * 7 + 1);
}

inline std::vector<std::uint8_t> patternFlowSets(std::uint64_t first, std::uint64_t count, std::uint64_t flowSetSize) {
  std::vector<std::uint8_t> bytes;
  for (auto set = first; set < first + count; ++set) {
    for (std::uint64_t offset = 0; offset < flowSetSize; ++offset) bytes.push_back(patternByte(set, offset));
  }
  return bytes;
}

}  // namespace lumo::mockTL::testing

// Runs an LmR call and expects its status and the calling thread's last error text.
#define EXPECT_LMR_FAILURE(call, expectedStatus, expectedMessage) \
  do {                                                            \
    EXPECT_EQ((call), (expectedStatus));                          \
    EXPECT_STREQ(LmRGetLastErrorMessage(), (expectedMessage));    \
  } while (false)
