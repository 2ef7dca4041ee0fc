#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "module/Port.h"

// Register access through a module's port, as GCReadPort and GCWritePort perform it.
namespace testing_support {

inline std::uint32_t readUint32(lumo::mockTL::Port& port, std::uint64_t address) {
  std::uint8_t bytes[4] = {};
  std::size_t size = sizeof(bytes);
  port.Read(address, bytes, size);
  return bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (std::uint32_t{bytes[3]} << 24);
}

inline void writeUint32(lumo::mockTL::Port& port, std::uint64_t address, std::uint32_t value) {
  const std::uint8_t bytes[4] = {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
                                 static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
  std::size_t size = sizeof(bytes);
  port.Write(address, bytes, size);
}

// A string register read whole; the text ends at the first zero byte.
inline std::string readText(lumo::mockTL::Port& port, std::uint64_t address, std::size_t length) {
  std::string bytes(length, '\x7f');
  port.Read(address, bytes.data(), length);
  return bytes.substr(0, bytes.find('\0'));
}

}  // namespace testing_support
