#include "module/RegisterMap.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <type_traits>

#include "base/GenericException.h"
#include "base/Info.h"
#include "module/ProducerIdentity.h"

namespace lumo::mockTL {

using error::GenericException;

namespace {

bool isReadable(RegisterAccess access) {
  return access == RegisterAccess::ReadOnly || access == RegisterAccess::ReadWrite;
}

bool isWritable(RegisterAccess access) {
  return access == RegisterAccess::WriteOnly || access == RegisterAccess::ReadWrite;
}

// Register values are little-endian whatever the host: byte k of a register is byte k of its value.
template <class T>
void toLittleEndian(T value, std::uint8_t* bytes) {
  std::uint64_t raw = 0;
  std::memcpy(&raw, &value, sizeof(T));
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bytes[i] = static_cast<std::uint8_t>(raw >> (8 * i));
  }
}

template <class T>
T fromLittleEndian(const std::uint8_t* bytes) {
  std::uint64_t raw = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    raw |= static_cast<std::uint64_t>(bytes[i]) << (8 * i);
  }
  T value;
  std::memcpy(&value, &raw, sizeof(T));
  return value;
}

[[noreturn]] void refuse(const char* operation, const char* message) {
  throw GenericException(GC_ERR_ERROR, std::string("lumo::mockTL::RegisterMap::") + operation, message);
}

}  // namespace

std::string RegisterMap::ReadStringRegImpl(std::uint32_t) {
  refuse("ReadStringRegImpl", "Unexpected read of a string register");
}
std::uint32_t RegisterMap::ReadUint32RegImpl(std::uint32_t) {
  refuse("ReadUint32RegImpl", "Unexpected read of a uint32 register");
}
std::uint64_t RegisterMap::ReadUint64RegImpl(std::uint32_t) {
  refuse("ReadUint64RegImpl", "Unexpected read of a uint64 register");
}
double RegisterMap::ReadFloat64RegImpl(std::uint32_t) {
  refuse("ReadFloat64RegImpl", "Unexpected read of a double register");
}
void RegisterMap::ReadRegImpl(std::uint32_t, void*, std::size_t) {
  refuse("ReadRegImpl", "Unexpected read of a raw register");
}
void RegisterMap::WriteStringRegImpl(std::uint32_t, const std::string&) {
  refuse("WriteStringRegImpl", "Unexpected write of a string register");
}
void RegisterMap::WriteUint32RegImpl(std::uint32_t, std::uint32_t) {
  refuse("WriteUint32RegImpl", "Unexpected write of a uint32 register");
}
void RegisterMap::WriteUint64RegImpl(std::uint32_t, std::uint64_t) {
  refuse("WriteUint64RegImpl", "Unexpected write of a uint64 register");
}
void RegisterMap::WriteFloat64RegImpl(std::uint32_t, double) {
  refuse("WriteFloat64RegImpl", "Unexpected write of a double register");
}
void RegisterMap::WriteRegImpl(std::uint32_t, const void*, std::size_t) {
  refuse("WriteRegImpl", "Unexpected write of a raw register");
}

void RegisterMap::declareRegisters(std::initializer_list<RegisterRecord> records) {
  for (const auto& record : records) {
    addRegister(record);
  }
  finalize();
}

void RegisterMap::addRegister(const RegisterRecord& record) {
  const auto next =
      std::upper_bound(registers_.begin(), registers_.end(), record.address,
                       [](std::uint64_t address, const RegisterRecord& r) { return address < r.address; });
  const bool overlapsNext = next != registers_.end() && record.address + record.length > next->address;
  const bool overlapsPrevious =
      next != registers_.begin() && std::prev(next)->address + std::prev(next)->length > record.address;
  const bool wraps = record.address + record.length < record.address;
  if (record.length == 0 || wraps || overlapsNext || overlapsPrevious) {
    throw std::runtime_error("node insertion failed");
  }
  registers_.insert(next, record);
}

void RegisterMap::finalize() {
  if (registers_.empty()) {
    return;
  }
  start_ = registers_.front().address;
  end_ = registers_.back().address + registers_.back().length;
  std::vector<RegisterRecord> closed;
  closed.reserve(registers_.size() * 2);
  for (const auto& record : registers_) {
    if (!closed.empty()) {
      const std::uint64_t gapStart = closed.back().address + closed.back().length;
      if (gapStart < record.address) {
        closed.push_back({0, gapStart, record.address - gapStart, RegisterType::None, RegisterAccess::NotAvailable});
      }
    }
    closed.push_back(record);
  }
  registers_ = std::move(closed);
}

RegisterMap::Range RegisterMap::resolve(std::uint64_t address, std::size_t size, bool forWrite) const {
  const std::string where = forWrite ? "lumo::mockTL::RegisterMap::WriteImpl" : "lumo::mockTL::RegisterMap::ReadImpl";
  const char* verb = forWrite ? "write" : "read";
  const std::uint64_t end = address + size;  // may wrap: checked below, after the space test
  if (address < start_ || end > end_) {
    throw GenericException(GC_ERR_INVALID_ADDRESS, where,
                           std::string("The ") + verb + " request falls out of the module's register map space");
  }
  if (size == 0) {
    throw GenericException(GC_ERR_INVALID_ADDRESS, where,
                           std::string("The ") + verb + " request of zero size is considered invalid");
  }
  if (end < address) {
    throw GenericException(GC_ERR_INVALID_ADDRESS, where,
                           std::string("The ") + verb + " request of unsupported (too large) size");
  }
  // The register containing a byte is the first whose end lies beyond it.
  const auto containing = [this](std::uint64_t byte) {
    const auto found =
        std::upper_bound(registers_.begin(), registers_.end(), byte,
                         [](std::uint64_t b, const RegisterRecord& r) { return b < r.address + r.length; });
    return (found != registers_.end() && found->address <= byte) ? found : registers_.end();
  };
  const auto first = containing(address);
  const auto last = containing(end - 1);
  if (first == registers_.end() || last == registers_.end()) {
    throw GenericException(
        GC_ERR_ERROR, where,
        std::string("Unexpected error when identifying the range of ") + verb + " request registers");
  }
  if (last->id == 0) {
    throw GenericException(GC_ERR_INVALID_ADDRESS, where,
                           std::string("The ") + verb + " request falls out of the module's register space");
  }
  for (auto it = first; it != std::next(last); ++it) {
    if (forWrite ? !isWritable(it->access) : !isReadable(it->access)) {
      throw GenericException(GC_ERR_ACCESS_DENIED, where,
                             forWrite ? "One or more registers in the requested write range are not writable"
                                      : "One or more registers in the requested read range are not readable");
    }
  }
  return {static_cast<std::size_t>(first - registers_.begin()), static_cast<std::size_t>(last - registers_.begin())};
}

template <typename Piece>
void RegisterMap::forEachPiece(std::uint64_t address, std::size_t& size, bool forWrite, Piece piece) {
  const Range range = resolve(address, size, forWrite);
  std::size_t remaining = size;
  size = 0;
  for (std::size_t i = range.first; i <= range.last; ++i) {
    const RegisterRecord& record = registers_[i];
    const std::uint64_t offset = address - record.address;
    const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(remaining, record.length - offset));
    piece(record, offset, size, count);
    address += count;
    size += count;
    remaining -= count;
  }
}

void RegisterMap::ReadImpl(std::uint64_t address, void* destination, std::size_t& size) {
  auto* out = static_cast<std::uint8_t*>(destination);
  forEachPiece(address, size, false,
               [&](const RegisterRecord& record, std::uint64_t offset, std::size_t done, std::size_t count) {
                 readRegister(record, offset, out + done, count);
               });
}

void RegisterMap::WriteImpl(std::uint64_t address, const void* source, std::size_t& size) {
  const auto* in = static_cast<const std::uint8_t*>(source);
  forEachPiece(address, size, true,
               [&](const RegisterRecord& record, std::uint64_t offset, std::size_t done, std::size_t count) {
                 writeRegister(record, offset, in + done, count);
               });
}

void RegisterMap::readRegister(const RegisterRecord& record, std::uint64_t offset, std::uint8_t* destination,
                               std::size_t count) {
  std::uint8_t bytes[8] = {};
  switch (record.type) {
    case RegisterType::Uint32: toLittleEndian(ReadUint32RegImpl(record.id), bytes); break;
    case RegisterType::Uint64: toLittleEndian(ReadUint64RegImpl(record.id), bytes); break;
    case RegisterType::Float64: toLittleEndian(ReadFloat64RegImpl(record.id), bytes); break;
    case RegisterType::String: {
      const std::string text = ReadStringRegImpl(record.id);
      std::memset(destination, 0, count);
      if (offset < text.size()) {
        std::memcpy(destination, text.data() + offset, std::min<std::uint64_t>(count, text.size() - offset));
      }
      return;
    }
    case RegisterType::Raw:
      // The offset is not passed on: a partial read of a raw register starts at its first byte.
      ReadRegImpl(record.id, destination, count);
      return;
    default:
      throw GenericException(GC_ERR_ERROR, "lumo::mockTL::RegisterMap::ReadRegister",
                             "Unexpected register data type encountered in read operation");
  }
  std::memcpy(destination, bytes + offset, count);
}

template <class T>
void RegisterMap::writeNumeric(const RegisterRecord& record, std::uint64_t offset, const std::uint8_t* source,
                               std::size_t count, const char* unreadableMessage) {
  const auto readValue = [this, &record]() -> T {
    if constexpr (std::is_same_v<T, std::uint32_t>) {
      return ReadUint32RegImpl(record.id);
    } else if constexpr (std::is_same_v<T, std::uint64_t>) {
      return ReadUint64RegImpl(record.id);
    } else {
      return ReadFloat64RegImpl(record.id);
    }
  };
  const auto writeValue = [this, &record](T value) {
    if constexpr (std::is_same_v<T, std::uint32_t>) {
      WriteUint32RegImpl(record.id, value);
    } else if constexpr (std::is_same_v<T, std::uint64_t>) {
      WriteUint64RegImpl(record.id, value);
    } else {
      WriteFloat64RegImpl(record.id, value);
    }
  };
  if (offset == 0 && count == sizeof(T)) {
    writeValue(fromLittleEndian<T>(source));
    return;
  }
  // A partial write keeps the bytes it does not cover: read, overlay, write back.
  if (!isReadable(record.access)) {
    throw GenericException(GC_ERR_ACCESS_DENIED, "lumo::mockTL::RegisterMap::WriteRegister", unreadableMessage);
  }
  std::uint8_t bytes[sizeof(T)];
  toLittleEndian(readValue(), bytes);
  std::memcpy(bytes + offset, source, count);
  writeValue(fromLittleEndian<T>(bytes));
}

void RegisterMap::writeRegister(const RegisterRecord& record, std::uint64_t offset, const std::uint8_t* source,
                                std::size_t count) {
  constexpr const char* where = "lumo::mockTL::RegisterMap::WriteRegister";
  switch (record.type) {
    case RegisterType::Uint32:
      return writeNumeric<std::uint32_t>(
          record, offset, source, count,
          "Partial register write (read-modify-write) required on an unreadable uint32 register.");
    case RegisterType::Uint64:
      return writeNumeric<std::uint64_t>(
          record, offset, source, count,
          "Partial register write (read-modify-write) required on an unreadable uint64 register.");
    case RegisterType::Float64:
      return writeNumeric<double>(
          record, offset, source, count,
          "Partial register write (read-modify-write) required on an unreadable double register.");
    case RegisterType::String: {
      const std::string written(reinterpret_cast<const char*>(source), count);
      if (offset == 0) {
        WriteStringRegImpl(record.id, written);
        return;
      }
      if (!isReadable(record.access)) {
        throw GenericException(GC_ERR_ACCESS_DENIED, where,
                               "Partial register write (read-modify-write) required on an unreadable string register.");
      }
      std::string current = ReadStringRegImpl(record.id);
      if (offset > current.size()) {
        throw GenericException(GC_ERR_INVALID_VALUE, where,
                               "Partial register write required beyond the end of the current string register length.");
      }
      if (current.size() < offset + count) {
        current.resize(offset + count);
      }
      current.replace(offset, count, written);
      WriteStringRegImpl(record.id, current);
      return;
    }
    case RegisterType::Raw:
      // The write is carried out and still reported as a failure: consumers see GC_ERR_ERROR for
      // every raw register write, and rely on the data having arrived all the same.
      WriteRegImpl(record.id, source, count);
      [[fallthrough]];
    default:
      throw GenericException(GC_ERR_ERROR, where, "Unexpected register data type encountered in write operation");
  }
}

void RegisterMap::GetPortInfoImpl(PORT_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) {
  switch (command) {
    case PORT_INFO_ID:
    case PORT_INFO_PORTNAME: return info::ReportInfoString(type, destination, size, portName());
    case PORT_INFO_VENDOR: return info::ReportInfoString(type, destination, size, identity::kVendorName);
    case PORT_INFO_MODEL: return info::ReportInfoString(type, destination, size, identity::uniqueId());
    case PORT_INFO_TLTYPE: return info::ReportInfoString(type, destination, size, identity::kTransportLayerType);
    case PORT_INFO_MODULE: return info::ReportInfoString(type, destination, size, moduleName());
    case PORT_INFO_LITTLE_ENDIAN:
    case PORT_INFO_ACCESS_READ:
    case PORT_INFO_ACCESS_WRITE: return info::ReportInfoNumeric(type, destination, size, true);
    case PORT_INFO_BIG_ENDIAN:
    case PORT_INFO_ACCESS_NA:
    case PORT_INFO_ACCESS_NI: return info::ReportInfoNumeric(type, destination, size, false);
    case PORT_INFO_VERSION: return info::ReportInfoString(type, destination, size, identity::kProducerVersion);
    default:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::RegisterMap::GetPortInfoImpl",
                             "Unknown register map port info command used");
  }
}

}  // namespace lumo::mockTL
