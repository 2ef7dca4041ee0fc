#include "gendc/FlowMappingTable.h"

#include <stdexcept>

namespace lumo::mockTL::GenDc {

const FieldTable& FlowMappingTable::fields() {
  static const FieldTable table{
      {"0", FieldType::Uint16}, {"1", FieldType::Uint16}, {"2", FieldType::Uint32}, {"3", FieldType::Uint8},
      {"4", FieldType::Uint8},  {"5", FieldType::Uint16}, {"6", FieldType::Uint32}, {"7", FieldType::Uint64},
  };
  return table;
}

std::uint64_t FlowMappingTable::sizeFor(std::uint64_t flowCount) { return fields().elementOffset("7", flowCount); }

std::vector<std::uint8_t> FlowMappingTable::bytesFor(std::span<const std::uint64_t> flowSizes) {
  fitField<std::uint32_t>(flowSizes.size());  // refused before anything is allocated
  std::vector<std::uint8_t> bytes(sizeFor(flowSizes.size()), 0);
  FlowMappingTable{bytes, bytes.size(), flowSizes.size(), flowSizes};
  return bytes;
}

FlowMappingTable::FlowMappingTable(std::span<std::uint8_t> memory, std::uint64_t headerSize, std::uint64_t flowCount,
                                   std::span<const std::uint64_t> flowSizes)
    : HeaderBase(fields(), memory, 0, headerSize) {
  if (flowSizes.size() != flowCount) {
    throw std::invalid_argument("the number of flow sizes must match the flow count");
  }
  writeUint16("0", 0x7000);  // HeaderType
  writeUint16("1", 0);       // Flags
  writeUint32("2", fitField<std::uint32_t>(headerSize));
  writeUint8("3", 1);  // VersionMajor
  writeUint8("4", 1);  // VersionMinor
  writeUint16("5", 0);
  writeUint32("6", fitField<std::uint32_t>(flowCount));
  writeArray("7", flowSizes);
}

}  // namespace lumo::mockTL::GenDc
