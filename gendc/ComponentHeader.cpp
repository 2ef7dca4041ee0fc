#include "gendc/ComponentHeader.h"

#include "platform/Platform.h"

namespace lumo::mockTL::GenDc {

const FieldTable& ComponentHeader::fields() {
  static const FieldTable table{
      {"0", FieldType::Uint16},  {"1", FieldType::Uint16},  {"2", FieldType::Uint32},  {"3", FieldType::Uint16},
      {"4", FieldType::Uint16},  {"5", FieldType::Uint16},  {"6", FieldType::Uint16},  {"7", FieldType::Uint32},
      {"8", FieldType::Uint32},  {"9", FieldType::Uint64},  {"10", FieldType::Uint64}, {"11", FieldType::Uint32},
      {"12", FieldType::Uint16}, {"13", FieldType::Uint16}, {"14", FieldType::Uint64},
  };
  return table;
}

std::uint64_t ComponentHeader::sizeFor(std::uint64_t partCount) { return fields().elementOffset("14", partCount); }

ComponentHeader::ComponentHeader(const StreamSettings& stream, std::int32_t componentType,
                                 std::span<std::uint8_t> memory, std::uint64_t headerOffset, std::uint64_t headerSize,
                                 std::span<const std::uint64_t> partOffsets)
    : HeaderBase(fields(), memory, headerOffset, headerSize) {
  writeUint16("0", 0x2000);  // HeaderType
  writeUint16("1", 0);       // Flags
  writeUint32("2", fitField<std::uint32_t>(headerSize));
  writeUint16("3", 0);
  writeUint16("4", 0);  // GroupId
  writeUint16("5", 0);  // SourceId
  writeUint16("6", 0);  // RegionId
  writeUint32("7", 0);  // RegionOffsetX
  writeUint32("8", 0);  // RegionOffsetY
  writeUint64("9", platform::monotonicNanoseconds());
  writeUint64("10", static_cast<std::uint64_t>(std::int64_t{componentType}));  // TypeId
  writeUint32("11", stream.pixelFormat);
  writeUint16("12", 0);
  writeUint16("13", fitField<std::uint16_t>(partOffsets.size()));  // PartCount
  writeArray("14", partOffsets);
}

}  // namespace lumo::mockTL::GenDc
