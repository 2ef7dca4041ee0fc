#include "gendc/HeaderBase.h"

#include <string>

namespace lumo::mockTL::GenDc {
namespace {

// The typed writes have already matched the type against the table; this is the last guard
// before bytes are written.
void storeLittleEndian(std::uint8_t* at, FieldType type, std::uint64_t value) {
  if (type < FieldType::Uint8 || type > FieldType::Uint64) {
    throw std::runtime_error("unsupported data type");
  }
  const std::uint64_t width = widthOf(type);
  for (std::uint64_t byte = 0; byte < width; ++byte) {
    at[byte] = static_cast<std::uint8_t>(value >> (8 * byte));
  }
}

}  // namespace

HeaderBase::HeaderBase(const FieldTable& fields, std::span<std::uint8_t> memory, std::uint64_t headerOffset,
                       std::uint64_t headerSize)
    : fields_(&fields),
      memory_(memory.data()),
      headerOffset_(headerOffset),
      headerStart_(nullptr),
      headerSize_(headerSize) {
  if (memory_ == nullptr) {
    return;
  }
  if (headerOffset > memory.size() || headerSize > memory.size() - headerOffset) {
    throw std::out_of_range("header lies beyond the end of the given memory");
  }
  headerStart_ = memory_ + headerOffset;
}

HeaderBase::~HeaderBase() = default;

void HeaderBase::writeUint8(std::string_view key, std::uint8_t value) {
  const std::uint64_t values[] = {value};
  store(key, FieldType::Uint8, values);
}

void HeaderBase::writeUint16(std::string_view key, std::uint16_t value) {
  const std::uint64_t values[] = {value};
  store(key, FieldType::Uint16, values);
}

void HeaderBase::writeUint32(std::string_view key, std::uint32_t value) {
  const std::uint64_t values[] = {value};
  store(key, FieldType::Uint32, values);
}

void HeaderBase::writeUint64(std::string_view key, std::uint64_t value) {
  const std::uint64_t values[] = {value};
  store(key, FieldType::Uint64, values);
}

void HeaderBase::writeArray(std::string_view key, std::span<const std::uint64_t> values) {
  store(key, FieldType::Uint64, values);
}

void HeaderBase::store(std::string_view key, FieldType requested, std::span<const std::uint64_t> values) {
  if (memory_ == nullptr) {
    throw std::runtime_error("no memory given");
  }
  const FieldEntry& entry = fields_->lookup(key);
  if (entry.type != requested) {
    // widthOf refuses a definition outside the known codes with "undefined data type".
    const std::uint64_t defined = widthOf(entry.type);
    throw std::runtime_error(std::string("data types are unmatched. ") + "definition: " + std::to_string(defined) +
                             ", " + "requested: " + std::to_string(widthOf(requested)));
  }
  const std::uint64_t width = widthOf(requested);
  if (entry.offset > headerSize_ || values.size() > (headerSize_ - entry.offset) / width) {
    throw std::out_of_range("field lies beyond the end of its header");
  }
  for (std::size_t index = 0; index < values.size(); ++index) {
    storeLittleEndian(headerStart_ + entry.offset + index * width, requested, values[index]);
  }
}

}  // namespace lumo::mockTL::GenDc
