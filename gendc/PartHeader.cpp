#include "gendc/PartHeader.h"

namespace lumo::mockTL::GenDc {

const FieldTable& PartHeader::fields() {
  // There is no key "9": the 2D-specific fields follow the common part fields directly, and
  // the keys keep the numbering the layout has always had.
  static const FieldTable table{
      {"0", FieldType::Uint16},  {"1", FieldType::Uint16},  {"2", FieldType::Uint32},  {"3", FieldType::Uint32},
      {"4", FieldType::Uint16},  {"5", FieldType::Uint16},  {"6", FieldType::Uint64},  {"7", FieldType::Uint64},
      {"8", FieldType::Uint64},  {"10", FieldType::Uint32}, {"11", FieldType::Uint32}, {"12", FieldType::Uint16},
      {"13", FieldType::Uint16}, {"14", FieldType::Uint32},
  };
  return table;
}

std::uint64_t PartHeader::size() {
  const FieldEntry& last = fields().lookup("14");
  return last.offset + widthOf(last.type);
}

PartHeader::PartHeader(const StreamSettings& stream, std::uint64_t componentIndex, std::uint64_t partIndex,
                       std::span<std::uint8_t> memory, std::uint64_t headerOffset, std::uint64_t headerSize,
                       std::uint16_t flowId, std::uint64_t dataOffset, std::uint64_t dataSize)
    : HeaderBase(fields(), memory, headerOffset, headerSize) {
  writeUint16("0", static_cast<std::uint16_t>(stream.partType));  // HeaderType
  writeUint16("1", 0);                                            // Flags
  writeUint32("2", fitField<std::uint32_t>(headerSize));
  writeUint32("3", stream.partPixelFormat(componentIndex, partIndex));
  writeUint16("4", 0);
  writeUint16("5", flowId);
  writeUint64("6", flowId == 0 ? dataOffset : 0);  // FlowOffset
  writeUint64("7", dataSize);
  writeUint64("8", dataOffset);
  writeUint32("10", stream.width);   // Dimension X
  writeUint32("11", stream.height);  // Dimension Y
  writeUint16("12", fitField<std::uint16_t>(stream.paddingX));
  writeUint16("13", fitField<std::uint16_t>(stream.paddingY));
  writeUint32("14", 0);  // InfoReserved
}

}  // namespace lumo::mockTL::GenDc
