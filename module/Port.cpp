#include "module/Port.h"

#include <cstdio>
#include <cstring>

#include "base/GenericException.h"
#include "base/HandleRegistry.h"
#include "base/Info.h"

namespace lumo::mockTL {

using error::GenericException;

namespace {

// Runs `operation` on each entry in turn and stops at the first that fails or falls short; `count`
// ends as the entries completed.
template <typename Operation>
void runStacked(PORT_REGISTER_STACK_ENTRY* entries, std::size_t& count, const char* where, const char* invalid,
                const char* unfinished, Operation operation) {
  if (entries == nullptr || count == 0) throw GenericException(GC_ERR_INVALID_PARAMETER, where, invalid);
  const std::size_t total = count;
  count = 0;
  for (std::size_t i = 0; i < total; ++i) {
    // The single operations refuse a null buffer before the address; an entry's is the consumer's
    // argument all the same, and following it would crash the consumer's process.
    if (entries[i].pBuffer == nullptr) throw GenericException(GC_ERR_INVALID_PARAMETER, where, invalid);
    const std::size_t requested = entries[i].Size;
    operation(entries[i]);
    if (entries[i].Size != requested) throw GenericException(GC_ERR_ERROR, where, unfinished);
    ++count;
  }
}

}  // namespace

Port::Port() = default;

Port::~Port() { HandleRegistry::UnregisterModule(this); }

void Port::setNames(std::string moduleName, std::string portName) {
  moduleName_ = std::move(moduleName);
  portName_ = std::move(portName);
}

void Port::addUrl(UrlEntry entry) { urls_.push_back(std::move(entry)); }

void Port::FailIfPortNotImplemented() const {
  if (!portImplemented_) {
    throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::Port::FailIfPortNotImplemented",
                           "Port functionality is not implemented for this module");
  }
}

void Port::Read(std::uint64_t address, void* destination, std::size_t& size) {
  std::lock_guard lock(portMutex_);
  FailIfPortNotImplemented();
  if (destination == nullptr || size == 0) {
    throw GenericException(GC_ERR_INVALID_PARAMETER, "lumo::mockTL::Port::Read",
                           "Invalid parameters used for port read operation");
  }
  ReadImpl(address, destination, size);
}

void Port::Write(std::uint64_t address, const void* source, std::size_t& size) {
  std::lock_guard lock(portMutex_);
  FailIfPortNotImplemented();
  if (source == nullptr || size == 0) {
    throw GenericException(GC_ERR_INVALID_PARAMETER, "lumo::mockTL::Port::Write",
                           "Invalid parameters used for port write operation");
  }
  WriteImpl(address, source, size);
}

void Port::ReadStacked(PORT_REGISTER_STACK_ENTRY* entries, std::size_t& count) {
  std::lock_guard lock(portMutex_);
  FailIfPortNotImplemented();
  runStacked(entries, count, "lumo::mockTL::Port::ReadStacked", "Invalid parameters used for stacked read operation",
             "One of the stacked read operations was not finished completely",
             [this](PORT_REGISTER_STACK_ENTRY& entry) { ReadImpl(entry.Address, entry.pBuffer, entry.Size); });
}

void Port::WriteStacked(PORT_REGISTER_STACK_ENTRY* entries, std::size_t& count) {
  std::lock_guard lock(portMutex_);
  FailIfPortNotImplemented();
  runStacked(entries, count, "lumo::mockTL::Port::WriteStacked", "Invalid parameters used for stacked write operation",
             "One of the stacked write operations was not finished completely",
             [this](PORT_REGISTER_STACK_ENTRY& entry) { WriteImpl(entry.Address, entry.pBuffer, entry.Size); });
}

void Port::GetPortInfo(PORT_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) {
  std::lock_guard lock(portMutex_);
  FailIfPortNotImplemented();
  GetPortInfoImpl(command, type, destination, size);
}

std::string Port::urlText(const UrlEntry& entry) {
  char tail[48];
  std::snprintf(tail, sizeof(tail), ";%llx;%llx", static_cast<unsigned long long>(entry.registerAddress),
                static_cast<unsigned long long>(entry.fileSize));
  return "local:" + entry.fileName + tail;
}

void Port::GetURL(char* destination, std::size_t& size) {
  std::lock_guard lock(portMutex_);
  FailIfPortNotImplemented();
  constexpr const char* where = "lumo::mockTL::Port::GetURL";
  if (urls_.empty()) {
    throw GenericException(GC_ERR_ERROR, where, "Error when querying the URL list, the list is empty");
  }
  std::string list;
  for (const auto& entry : urls_) {
    list += urlText(entry) + "?SchemaVersion=" + std::to_string(entry.schemaMajor) + "." +
            std::to_string(entry.schemaMinor) + ".0";
    list.push_back('\0');
  }
  list.push_back('\0');
  if (destination != nullptr && size < list.size()) {
    throw GenericException(GC_ERR_BUFFER_TOO_SMALL, where, "The passed buffer is too small to receive the URL list");
  }
  if (destination != nullptr) {
    std::memcpy(destination, list.data(), list.size());
  }
  size = list.size();
}

std::uint32_t Port::GetNumURLs() {
  // No lock: the URL list is fixed once the module has been initialised.
  FailIfPortNotImplemented();
  return static_cast<std::uint32_t>(urls_.size());
}

void Port::GetURLInfo(std::uint32_t index, URL_INFO_CMD command, INFO_DATATYPE& type, void* destination,
                      std::size_t& size) {
  std::lock_guard lock(portMutex_);
  FailIfPortNotImplemented();
  constexpr const char* where = "lumo::mockTL::Port::GetURLInfo";
  if (urls_.empty()) {
    throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "no url available: hPort");
  }
  if (index >= urls_.size()) {
    throw GenericException(GC_ERR_INVALID_INDEX, where, "Out of range index used when querying URL info: iInfoCmd");
  }
  const UrlEntry& entry = urls_[index];
  switch (command) {
    case URL_INFO_URL: return info::ReportInfoString(type, destination, size, urlText(entry));
    case URL_INFO_SCHEMA_VER_MAJOR: return info::ReportInfoNumeric(type, destination, size, entry.schemaMajor);
    case URL_INFO_SCHEMA_VER_MINOR: return info::ReportInfoNumeric(type, destination, size, entry.schemaMinor);
    case URL_INFO_FILE_VER_MAJOR: return info::ReportInfoNumeric(type, destination, size, entry.fileMajor);
    case URL_INFO_FILE_VER_MINOR: return info::ReportInfoNumeric(type, destination, size, entry.fileMinor);
    case URL_INFO_FILE_VER_SUBMINOR: return info::ReportInfoNumeric(type, destination, size, entry.fileSubminor);
    case URL_INFO_FILE_SHA1_HASH:
      // The digest is copied without comparing the caller's size: consumers pass 20-byte buffers.
      if (destination != nullptr) {
        std::memcpy(destination, entry.sha1.data(), entry.sha1.size());
      }
      size = entry.sha1.size();
      type = INFO_DATATYPE_BUFFER;
      return;
    case URL_INFO_FILE_REGISTER_ADDRESS: return info::ReportInfoNumeric(type, destination, size, entry.registerAddress);
    case URL_INFO_FILE_SIZE: return info::ReportInfoNumeric(type, destination, size, entry.fileSize);
    case URL_INFO_SCHEME:
      return info::ReportInfoNumeric(type, destination, size, static_cast<std::int32_t>(URL_SCHEME_LOCAL));
    case URL_INFO_FILENAME: return info::ReportInfoString(type, destination, size, entry.fileName);
    default: throw GenericException(GC_ERR_NOT_IMPLEMENTED, where, "Unknown URL info command used");
  }
}

}  // namespace lumo::mockTL
