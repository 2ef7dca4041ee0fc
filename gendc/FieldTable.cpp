#include "gendc/FieldTable.h"

#include <stdexcept>

#include "gendc/CheckedSize.h"

namespace lumo::mockTL::GenDc {

std::uint64_t widthOf(FieldType type) {
  switch (type) {
    case FieldType::Uint8: return 1;
    case FieldType::Uint16: return 2;
    case FieldType::Uint32: return 4;
    case FieldType::Uint64: return 8;
  }
  throw std::runtime_error("undefined data type");
}

FieldTable::FieldTable(std::initializer_list<std::pair<std::string, FieldType>> initializers) {
  if (initializers.size() == 0) {
    throw std::runtime_error("number of initializers must be greater than or equal to 1");
  }
  std::uint64_t offset = 0;
  for (const auto& [key, type] : initializers) {
    const std::uint64_t width = widthOf(type);
    if (!entries_.emplace(key, FieldEntry{offset, type}).second) {
      throw std::runtime_error("key must not be duplicated");
    }
    offset += width;
  }
}

const FieldEntry& FieldTable::lookup(std::string_view key) const {
  const auto found = entries_.find(key);
  if (found == entries_.end()) {
    throw std::out_of_range("field key not defined");
  }
  return found->second;
}

std::uint64_t FieldTable::elementOffset(std::string_view key, std::uint64_t index) const {
  const FieldEntry& entry = lookup(key);
  return checkedAdd(entry.offset, checkedMultiply(index, widthOf(entry.type)));
}

}  // namespace lumo::mockTL::GenDc
