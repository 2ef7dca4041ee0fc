#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "module/Port.h"

namespace lumo::mockTL {

enum class RegisterType : std::uint32_t { None = 0, Uint32 = 1, Uint64 = 2, Float64 = 3, String = 4, Raw = 5 };

enum class RegisterAccess : std::uint32_t { NotAvailable = 0, ReadOnly = 1, WriteOnly = 2, ReadWrite = 3 };

// One typed register of a module's space. Id 0 is reserved for the fillers of gaps.
struct RegisterRecord {
  std::uint32_t id;
  std::uint64_t address;
  std::uint64_t length;
  RegisterType type;
  RegisterAccess access;
};

// Turns a port into a little-endian, byte-addressed register space. A module declares its
// registers once (declareRegisters), and answers its typed reads and writes by register id; this
// class resolves a consumer's byte range onto the registers it covers, checks their access, and
// hands each register its share. Everything here runs under the port mutex.
class RegisterMap : public Port {
 public:
  static constexpr std::uint32_t kDescriptionRegisterId = 1;
  static constexpr std::uint64_t kDescriptionAddress = 0xF0000000;

  // Typed per-register operations, keyed by register id. These defaults refuse; a module
  // overrides the ones its registers need.
  virtual std::string ReadStringRegImpl(std::uint32_t id);
  virtual std::uint32_t ReadUint32RegImpl(std::uint32_t id);
  virtual std::uint64_t ReadUint64RegImpl(std::uint32_t id);
  virtual double ReadFloat64RegImpl(std::uint32_t id);
  virtual void ReadRegImpl(std::uint32_t id, void* destination, std::size_t count);
  virtual void WriteStringRegImpl(std::uint32_t id, const std::string& value);
  virtual void WriteUint32RegImpl(std::uint32_t id, std::uint32_t value);
  virtual void WriteUint64RegImpl(std::uint32_t id, std::uint64_t value);
  virtual void WriteFloat64RegImpl(std::uint32_t id, double value);
  virtual void WriteRegImpl(std::uint32_t id, const void* source, std::size_t count);

  // The declared registers and gap fillers in address order.
  const std::vector<RegisterRecord>& registers() const { return registers_; }

 protected:
  // Declares the module's registers (any order) and closes the space: gaps between them become
  // fillers that can be neither read nor written. Overlapping registers are refused with
  // std::runtime_error("node insertion failed"). Call once, from the module's initialisation.
  void declareRegisters(std::initializer_list<RegisterRecord> records);
  void addRegister(const RegisterRecord& record);
  void finalize();

  void ReadImpl(std::uint64_t address, void* destination, std::size_t& size) override;
  void WriteImpl(std::uint64_t address, const void* source, std::size_t& size) override;
  void GetPortInfoImpl(PORT_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) override;

 private:
  struct Range {
    std::size_t first;
    std::size_t last;
  };
  Range resolve(std::uint64_t address, std::size_t size, bool forWrite) const;
  // Resolves [address, address + size) and hands each register's share to `piece` as (record, offset
  // in the record, bytes done so far, byte count); `size` ends as the bytes handled.
  template <typename Piece>
  void forEachPiece(std::uint64_t address, std::size_t& size, bool forWrite, Piece piece);
  void readRegister(const RegisterRecord& record, std::uint64_t offset, std::uint8_t* destination, std::size_t count);
  void writeRegister(const RegisterRecord& record, std::uint64_t offset, const std::uint8_t* source, std::size_t count);
  template <class T>
  void writeNumeric(const RegisterRecord& record, std::uint64_t offset, const std::uint8_t* source, std::size_t count,
                    const char* unreadableMessage);

  std::vector<RegisterRecord> registers_;  // ordered by address, never overlapping
  std::uint64_t start_ = 0;
  std::uint64_t end_ = 0;
};

}  // namespace lumo::mockTL
