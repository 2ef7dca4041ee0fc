#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace lumo::mockTL::GenDc {

// Data type codes of GenDC header fields; the numeric codes appear in failure texts.
enum class FieldType : std::uint8_t { Uint8 = 1, Uint16 = 2, Uint32 = 3, Uint64 = 4 };

// Width in bytes of a field type; a code outside 1 to 4 throws std::runtime_error("undefined data type").
std::uint64_t widthOf(FieldType type);

struct FieldEntry {
  std::uint64_t offset;
  FieldType type;
};

// The byte layout of one GenDC header kind: field key ("0", "1", ...) to offset and data type.
// Built from the ordered field list, each field directly after the previous one (GenDC headers
// are packed). The last entry of a header with a variable-length array describes the array's
// element. Immutable once built, so one table is shared by every stream without a lock.
class FieldTable {
 public:
  // Throws std::runtime_error for an empty list, a duplicated key or an undefined type.
  FieldTable(std::initializer_list<std::pair<std::string, FieldType>> initializers);

  // Throws std::out_of_range("field key not defined") for a key the header does not have.
  const FieldEntry& lookup(std::string_view key) const;

  // Offset of element `index` of the array entry `key`, relative to the header start.
  std::uint64_t elementOffset(std::string_view key, std::uint64_t index) const;

 private:
  std::map<std::string, FieldEntry, std::less<>> entries_;
};

}  // namespace lumo::mockTL::GenDc
