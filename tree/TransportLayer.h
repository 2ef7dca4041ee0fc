#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/GenTL.h"
#include "module/Module.h"
#include "tree/Configuration.h"

namespace lumo::mockTL {

class Interface;

// The system module: root of the module tree and what a TL_HANDLE names. At most one lives in the
// process at a time (the singleton); it reads the configuration when it is built and builds its
// interfaces from it on first use. Any thread may call any operation.
class TransportLayer final : public SpecificModule<void*>, public std::enable_shared_from_this<TransportLayer> {
 public:
  explicit TransportLayer(SystemConfiguration configuration);

  // The singleton, built (configuration read) when there is none. A file-system failure while
  // looking for the configuration file propagates.
  static std::shared_ptr<TransportLayer> Instance();
  // The singleton if it exists; never builds it.
  static std::shared_ptr<TransportLayer> Current();
  // For GCCloseLib: closes the singleton if it is open and lets it go; it is destroyed, with its
  // interfaces and their devices, once no call in flight holds it any more.
  static void Shutdown();

  void Open();
  bool IsOpen();
  // Closes the devices of every open interface and marks those interfaces closed. The system and
  // its interfaces remain: a later Open reopens the same objects.
  void Close();

  // Empty when no interface has that id.
  std::shared_ptr<Interface> InterfaceById(const std::string& id);
  std::shared_ptr<Interface> InterfaceByIndex(std::uint32_t index);
  // The interface this system holds under that module's id; empty for any other module.
  std::shared_ptr<Interface> InterfaceByHandle(const Port& module);
  // The number of interface records, which the built list always matches.
  std::uint32_t interfaceCount() const;

  // The TL_INFO_* answers; needs no system module, so GCGetInfo can ask before TLOpen.
  static void GetInfo(TL_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size);
  // The host's "LmMockTLUniqueIDExport" when it returns text, else the configured system id.
  static std::string UniqueId();
  // Full UTF-8 path of the loaded producer file, and its last component.
  static std::string ProducerPath();
  static std::string ProducerFileName();

  void initRegisterMap() override;
  std::string ReadStringRegImpl(std::uint32_t id) override;
  std::uint32_t ReadUint32RegImpl(std::uint32_t id) override;
  void WriteUint32RegImpl(std::uint32_t id, std::uint32_t value) override;

 private:
  // Builds the interface list once; the list is never rebuilt or shortened afterwards.
  std::vector<std::shared_ptr<Interface>> EnsureInterfaces();

  const SystemConfiguration configuration_;
  // Cleared by Close without the module mutex; everything below is guarded by it.
  std::atomic<bool> open_{false};
  std::uint32_t interfaceSelector_ = 0;
  std::vector<std::shared_ptr<Interface>> interfaces_;
};

}  // namespace lumo::mockTL
