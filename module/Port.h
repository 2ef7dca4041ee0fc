#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "base/GenTL.h"

namespace lumo::mockTL {

// One location of a module's GenApi description: a "local:" URL into the module's own register
// space, with schema and file versions and the text's SHA-1.
struct UrlEntry {
  std::string fileName;
  std::uint64_t registerAddress = 0;
  std::uint64_t fileSize = 0;
  std::uint32_t schemaMajor = 1;
  std::uint32_t schemaMinor = 1;
  std::uint32_t fileMajor = 1;
  std::uint32_t fileMinor = 3;
  std::uint32_t fileSubminor = 22;
  std::array<std::uint8_t, 20> sha1{};
};

// The GenTL port of a module: what a PORT_HANDLE names. Serialises every port operation on its
// recursive port mutex (a register operation may re-enter the same module's port on the same
// thread), validates arguments, serves the URL list, and leaves register access to ReadImpl,
// WriteImpl and GetPortInfoImpl. The object's address is its handle: it is a live handle from the
// moment its module is published, completely built, until the object is destroyed. Any thread may
// call any operation.
class Port {
 public:
  Port();
  virtual ~Port();
  Port(const Port&) = delete;
  Port& operator=(const Port&) = delete;

  // `size` is in/out: bytes requested, then bytes transferred.
  virtual void Read(std::uint64_t address, void* destination, std::size_t& size);
  virtual void Write(std::uint64_t address, const void* source, std::size_t& size);
  // `count` is in/out: entries given, then entries completed (also after a failure).
  virtual void ReadStacked(PORT_REGISTER_STACK_ENTRY* entries, std::size_t& count);
  virtual void WriteStacked(PORT_REGISTER_STACK_ENTRY* entries, std::size_t& count);
  virtual void GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size);
  virtual void GetURL(char* destination, std::size_t& size);
  virtual std::uint32_t GetNumURLs();
  virtual void GetURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE& type, void* destination,
                          std::size_t& size);

  Port& self() { return *this; }

  const std::string& moduleName() const { return moduleName_; }
  const std::string& portName() const { return portName_; }

 protected:
  virtual void ReadImpl(std::uint64_t address, void* destination, std::size_t& size) = 0;
  virtual void WriteImpl(std::uint64_t address, const void* source, std::size_t& size) = 0;
  virtual void GetPortInfoImpl(PORT_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) = 0;

  // Set by the concrete module's initialisation, before the module is handed out.
  void setNames(std::string moduleName, std::string portName);
  void addUrl(UrlEntry entry);
  void setPortImplemented(bool implemented) { portImplemented_ = implemented; }
  void markDescribed() { described_ = true; }

  std::recursive_mutex& portMutex() { return portMutex_; }

 private:
  void FailIfPortNotImplemented() const;
  static std::string urlText(const UrlEntry& entry);

  std::recursive_mutex portMutex_;
  bool described_ = false;
  bool portImplemented_ = true;
  std::vector<UrlEntry> urls_;
  std::string moduleName_;
  std::string portName_;
};

}  // namespace lumo::mockTL
