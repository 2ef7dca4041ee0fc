#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <stdexcept>
#include <string_view>

#include "gendc/FieldTable.h"

namespace lumo::mockTL::GenDc {

// One GenDC header written into memory it does not own, through its kind's field table: every
// write names the field and the width it means to store, and a width that differs from the
// field's declared type is refused rather than truncated. A header writes only inside its own
// [header offset, header offset + header size) range of the memory it was given; the memory must
// outlive it. Not thread safe; distinct headers over distinct bytes may be written concurrently.
class HeaderBase {
 public:
  virtual ~HeaderBase();
  HeaderBase(const HeaderBase&) = default;
  HeaderBase& operator=(const HeaderBase&) = default;

  std::uint64_t headerOffset() const { return headerOffset_; }
  std::uint64_t headerSize() const { return headerSize_; }

  // Little-endian stores at the field's offset from the header start. They throw
  // std::runtime_error("no memory given") on null memory, the "data types are unmatched. ..."
  // text on a width mismatch, std::out_of_range for an unknown key or a field that would end
  // beyond the header.
  void writeUint8(std::string_view key, std::uint8_t value);
  void writeUint16(std::string_view key, std::uint16_t value);
  void writeUint32(std::string_view key, std::uint32_t value);
  void writeUint64(std::string_view key, std::uint64_t value);
  // Element i goes to the array entry's offset + i × 8.
  void writeArray(std::string_view key, std::span<const std::uint64_t> values);

 protected:
  // Null memory is accepted here and fails at the first field write, so that a descriptor
  // without memory reports what is missing rather than where it would have gone.
  HeaderBase(const FieldTable& fields, std::span<std::uint8_t> memory, std::uint64_t headerOffset,
             std::uint64_t headerSize);

  // For values whose GenDC field is narrower than the quantity they describe.
  template <class Narrow>
  static Narrow fitField(std::uint64_t value) {
    if (value > std::numeric_limits<Narrow>::max()) {
      throw std::length_error("value does not fit its GenDC field");
    }
    return static_cast<Narrow>(value);
  }

 private:
  void store(std::string_view key, FieldType requested, std::span<const std::uint64_t> values);

  const FieldTable* fields_;
  std::uint8_t* memory_;
  std::uint64_t headerOffset_;
  std::uint8_t* headerStart_;
  std::uint64_t headerSize_;
};

}  // namespace lumo::mockTL::GenDc
