#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace lumo::mockTL::fuzz {

// A fuzzer's input read front to back as little-endian fields. Reads past the end yield zeros,
// so every input, however short, decodes to something; seeds are written in the same order.
class FuzzInput {
 public:
  explicit FuzzInput(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::size_t remaining() const { return bytes_.size() - position_; }
  bool empty() const { return remaining() == 0; }

  template <class T>
  T take() {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
      value |= std::uint64_t{takeByte()} << (8 * i);
    }
    return static_cast<T>(value);
  }

  // Up to `count` bytes, fewer when the input ends first.
  std::span<const std::uint8_t> takeBytes(std::size_t count) {
    const std::size_t taken = std::min(count, remaining());
    const auto bytes = bytes_.subspan(position_, taken);
    position_ += taken;
    return bytes;
  }

  // Exactly `count` bytes, zero-filled where the input ends.
  std::vector<std::uint8_t> takePadded(std::size_t count) {
    const auto bytes = takeBytes(count);
    std::vector<std::uint8_t> padded(bytes.begin(), bytes.end());
    padded.resize(count, 0);
    return padded;
  }

  std::span<const std::uint8_t> takeRest() { return takeBytes(remaining()); }

 private:
  std::uint8_t takeByte() { return position_ < bytes_.size() ? bytes_[position_++] : 0; }

  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;
};

}  // namespace lumo::mockTL::fuzz
