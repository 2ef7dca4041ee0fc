#include "gendc/ContainerHeader.h"

namespace lumo::mockTL::GenDc {

const FieldTable& ContainerHeader::fields() {
  static const FieldTable table{
      {"0", FieldType::Uint32},  {"1", FieldType::Uint8},   {"2", FieldType::Uint8},   {"3", FieldType::Uint8},
      {"4", FieldType::Uint8},   {"5", FieldType::Uint16},  {"6", FieldType::Uint16},  {"7", FieldType::Uint32},
      {"8", FieldType::Uint64},  {"9", FieldType::Uint16},  {"10", FieldType::Uint16}, {"11", FieldType::Uint32},
      {"12", FieldType::Uint64}, {"13", FieldType::Uint64}, {"14", FieldType::Uint32}, {"15", FieldType::Uint32},
      {"16", FieldType::Uint64},
  };
  return table;
}

std::uint64_t ContainerHeader::sizeFor(std::uint64_t componentCount) {
  return fields().elementOffset("16", componentCount);
}

ContainerHeader::ContainerHeader(std::span<std::uint8_t> memory, std::uint64_t headerOffset, std::uint64_t headerSize,
                                 std::uint64_t dataOffset, std::uint64_t dataSize, std::uint64_t descriptorSize,
                                 std::span<const std::uint64_t> componentOffsets)
    : HeaderBase(fields(), memory, headerOffset, headerSize) {
  writeUint32("0", 0x43444E47);  // Signature: "GNDC" in memory order
  writeUint8("1", 1);            // VersionMajor
  writeUint8("2", 1);            // VersionMinor
  writeUint8("3", 0);            // VersionSubMinor
  writeUint8("4", 0);
  writeUint16("5", 0x1000);  // HeaderType
  writeUint16("6", 0);       // Flags
  writeUint32("7", fitField<std::uint32_t>(headerSize));
  writeUint64("8", 0);  // Id
  writeUint16("9", 0);  // VariableFieldCount
  writeUint16("10", 0);
  writeUint32("11", 0);
  writeUint64("12", dataSize);
  writeUint64("13", dataOffset);
  writeUint32("14", fitField<std::uint32_t>(descriptorSize));
  // ComponentCount goes through 16 bits on purpose: readers of these containers expect the
  // count to wrap exactly as it always has.
  writeUint32("15", static_cast<std::uint16_t>(componentOffsets.size()));
  writeArray("16", componentOffsets);
}

}  // namespace lumo::mockTL::GenDc
