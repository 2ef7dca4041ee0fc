#include "tree/TransportLayer.h"

#include <mutex>

#include "base/GenericException.h"
#include "base/Info.h"
#include "module/ProducerIdentity.h"
#include "platform/Platform.h"
#include "tree/ConfigurationLoader.h"
#include "tree/Interface.h"

namespace lumo::mockTL {

using error::GenericException;

namespace {

// Register ids of the system description.
enum : std::uint32_t {
  kVendorNameRegister = 1000,
  kModelNameRegister = 1001,
  kVersionRegister = 1002,
  kIdRegister = 1003,
  kFileNameRegister = 1004,
  kPathRegister = 1005,
  kGenTLVersionMinorRegister = 1007,
  kGenTLVersionMajorRegister = 1008,
  kInterfaceIdRegister = 1009,
  kInterfaceDisplayNameRegister = 1010,
  kInterfaceCountRegister = 1011,
  kInterfaceSelectorRegister = 1012,
  kInterfaceUpdateListRegister = 1013,
};

constexpr const char* kInfoWhere = "lumo::mockTL::TransportLayer::getInfo";
constexpr const char* kInterfaceWhere = "lumo::mockTL::TransportLayer::Interface";

std::mutex singletonMutex;
std::shared_ptr<TransportLayer> singleton;

std::string infoText(TL_INFO_CMD command) {
  switch (command) {
    case TL_INFO_VENDOR: return std::string(identity::kVendorName);
    case TL_INFO_VERSION: return std::string(identity::kProducerVersion);
    case TL_INFO_TLTYPE: return std::string(identity::kTransportLayerType);
    case TL_INFO_PATHNAME: return TransportLayer::ProducerPath();
    default: return TransportLayer::UniqueId();  // ID, MODEL, NAME, DISPLAYNAME
  }
}

}  // namespace

TransportLayer::TransportLayer(SystemConfiguration configuration)
    : SpecificModule(nullptr), configuration_(std::move(configuration)) {
  identity::setUniqueIdSource(&TransportLayer::UniqueId);
  initRegisterMap();
}

std::shared_ptr<TransportLayer> TransportLayer::Instance() {
  std::lock_guard lock(singletonMutex);
  if (!singleton) {
    singleton = published(std::make_shared<TransportLayer>(ConfigurationLoader::load()));
  }
  return singleton;
}

std::shared_ptr<TransportLayer> TransportLayer::Current() {
  std::lock_guard lock(singletonMutex);
  return singleton;
}

void TransportLayer::Shutdown() {
  std::shared_ptr<TransportLayer> system;
  {
    std::lock_guard lock(singletonMutex);
    system.swap(singleton);
  }
  if (system && system->IsOpen()) {
    system->Close();
  }
}

void TransportLayer::Open() {
  std::lock_guard lock(moduleMutex());
  if (open_) {
    throw GenericException(GC_ERR_RESOURCE_IN_USE, "lumo::mockTL::TransportLayer::Open", "tl is already open");
  }
  open_ = true;
}

bool TransportLayer::IsOpen() { return open_; }

void TransportLayer::Close() {
  open_ = false;
  std::vector<std::shared_ptr<Interface>> built;
  {
    std::lock_guard lock(moduleMutex());
    built = interfaces_;
  }
  for (const auto& iface : built) {
    if (iface->isOpen()) {
      iface->close();
    }
  }
}

std::vector<std::shared_ptr<Interface>> TransportLayer::EnsureInterfaces() {
  std::lock_guard lock(moduleMutex());
  if (interfaces_.empty()) {
    for (const auto& record : configuration_.interfaces) {
      interfaces_.push_back(published(std::make_shared<Interface>(shared_from_this(), record)));
    }
  }
  return interfaces_;
}

std::shared_ptr<Interface> TransportLayer::InterfaceById(const std::string& id) {
  if (id.empty()) {
    throw GenericException(GC_ERR_INVALID_PARAMETER, kInterfaceWhere, "id is empty");
  }
  for (auto& iface : EnsureInterfaces()) {
    if (iface->id() == id) {
      return iface;
    }
  }
  return nullptr;
}

std::shared_ptr<Interface> TransportLayer::InterfaceByIndex(std::uint32_t index) {
  auto list = EnsureInterfaces();
  if (index >= list.size()) {
    throw GenericException(GC_ERR_INVALID_INDEX, kInterfaceWhere, "wrong interface index");
  }
  return list[index];
}

std::shared_ptr<Interface> TransportLayer::InterfaceByHandle(const Port& module) {
  // Looked up by id, so of two interfaces sharing an id only the first is ever recognised.
  const auto* candidate = dynamic_cast<const Interface*>(&module);
  return candidate != nullptr ? InterfaceById(candidate->id()) : nullptr;
}

std::uint32_t TransportLayer::interfaceCount() const {
  return static_cast<std::uint32_t>(configuration_.interfaces.size());
}

void TransportLayer::GetInfo(TL_INFO_CMD command, INFO_DATATYPE& type, void* destination, std::size_t& size) {
  if (command >= TL_INFO_ID && command <= TL_INFO_DISPLAYNAME) {
    type = INFO_DATATYPE_STRING;
    // An empty answer takes the next command's: an empty unique id makes TL_INFO_ID report the
    // vendor. Consumers have seen this chaining from the start, so it stays.
    std::string text = infoText(command);
    for (TL_INFO_CMD next = command + 1; text.empty() && next <= TL_INFO_DISPLAYNAME; ++next) {
      text = infoText(next);
    }
    return info::ReportInfoString(type, destination, size, text, kInfoWhere,
                                  "buffer smaller than needed size and pBuffer not zero");
  }
  switch (command) {
    case TL_INFO_CHAR_ENCODING:
      return info::ReportInfoNumericUnchecked(type, destination, size, std::int32_t{TL_CHAR_ENCODING_UTF8},
                                              INFO_DATATYPE_INT32);
    case TL_INFO_GENTL_VER_MAJOR:
      return info::ReportInfoNumericUnchecked(type, destination, size, std::uint32_t{GENTL_VERSION_MAJOR},
                                              INFO_DATATYPE_UINT32);
    case TL_INFO_GENTL_VER_MINOR:
      return info::ReportInfoNumericUnchecked(type, destination, size, std::uint32_t{GENTL_VERSION_MINOR},
                                              INFO_DATATYPE_UINT32);
    case TL_INFO_CUSTOM_ID:
      type = INFO_DATATYPE_CUSTOM_ID;
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, kInfoWhere, "Custom ids are not implemented");
    default: throw GenericException(GC_ERR_NOT_AVAILABLE, kInfoWhere, "info not available");
  }
}

std::string TransportLayer::UniqueId() {
  using UniqueIdExport = const char* (*)();
  const auto hostExport = reinterpret_cast<UniqueIdExport>(platform::hostExecutableSymbol("LmMockTLUniqueIDExport"));
  if (hostExport != nullptr) {
    if (const char* id = hostExport(); id != nullptr && *id != '\0') {
      return id;
    }
  }
  // Read once per process: the id a consumer has seen never changes under it.
  static const std::string configuredId = ConfigurationLoader::load(ConfigurationLoader::Images::Skip).id;
  return configuredId;
}

std::string TransportLayer::ProducerPath() {
  static const char anchor = 0;
  static const std::string path = platform::modulePathOf(&anchor);
  if (path.empty()) {
    throw GenericException(GC_ERR_ERROR, "lumo::mockTL::LibraryHelper::GetProducerPath",
                           "Failed to query the GenTL producer's file path");
  }
  return path;
}

std::string TransportLayer::ProducerFileName() {
  const std::string path = ProducerPath();
  return path.substr(path.find_last_of(platform::pathSeparator()) + 1);
}

void TransportLayer::initRegisterMap() {
  constexpr auto u32 = RegisterType::Uint32;
  constexpr auto text = RegisterType::String;
  constexpr auto ro = RegisterAccess::ReadOnly;
  declareDescribedRegisters(DescriptionKind::System, "TLSystem", "TLPort",
                            {
                                {kInterfaceCountRegister, 0x0, 4, u32, ro},
                                {kInterfaceSelectorRegister, 0x10, 4, u32, RegisterAccess::ReadWrite},
                                {kInterfaceUpdateListRegister, 0x20, 4, u32, RegisterAccess::WriteOnly},
                                {kGenTLVersionMinorRegister, 0x30, 4, u32, ro},
                                {kGenTLVersionMajorRegister, 0x40, 4, u32, ro},
                                {kVendorNameRegister, 0x50, 64, text, ro},
                                {kModelNameRegister, 0x150, 64, text, ro},
                                {kVersionRegister, 0x250, 16, text, ro},
                                {kIdRegister, 0x300, 256, text, ro},
                                {kPathRegister, 0x1000, 1024, text, ro},
                                // TLDisplayName: the id register a second time, so it always reads the id.
                                {kIdRegister, 0x2000, 256, text, ro},
                                {kInterfaceIdRegister, 0x3000, 64, text, ro},
                                {kInterfaceDisplayNameRegister, 0x4000, 256, text, ro},
                                {kFileNameRegister, 0x5000, 256, text, ro},
                            });
}

std::string TransportLayer::ReadStringRegImpl(std::uint32_t id) {
  switch (id) {
    case kDescriptionRegisterId: return descriptionText();
    case kVendorNameRegister: return std::string(identity::kVendorName);
    case kModelNameRegister:
    case kIdRegister: return UniqueId();
    case kVersionRegister: return std::string(identity::kProducerVersion);
    case kFileNameRegister: return ProducerFileName();
    case kPathRegister: return ProducerPath();
    case kInterfaceIdRegister:
    case kInterfaceDisplayNameRegister: {
      std::uint32_t selected = 0;
      {
        std::lock_guard lock(moduleMutex());
        selected = interfaceSelector_;
      }
      return InterfaceByIndex(selected)->id();
    }
    default:
      throw GenericException(GC_ERR_INVALID_PARAMETER, "lumo::mockTL::TransportLayer::ReadStringRegImpl",
                             "invalid reg_id");
  }
}

std::uint32_t TransportLayer::ReadUint32RegImpl(std::uint32_t id) {
  switch (id) {
    case kGenTLVersionMinorRegister: return GENTL_VERSION_MINOR;
    case kGenTLVersionMajorRegister: return GENTL_VERSION_MAJOR;
    case kInterfaceCountRegister: return interfaceCount();
    case kInterfaceSelectorRegister: {
      std::lock_guard lock(moduleMutex());
      return interfaceSelector_;
    }
    default:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::TransportLayer::ReadUint32RegImpl",
                             "This property can't be read.");
  }
}

void TransportLayer::WriteUint32RegImpl(std::uint32_t id, std::uint32_t value) {
  switch (id) {
    case kInterfaceSelectorRegister: {
      // Not range-checked: an out-of-range selection fails when the selected interface is read.
      std::lock_guard lock(moduleMutex());
      interfaceSelector_ = value;
      return;
    }
    case kInterfaceUpdateListRegister: return;  // the interface list is fixed once built
    default:
      throw GenericException(GC_ERR_NOT_IMPLEMENTED, "lumo::mockTL::TransportLayer::WriteUint32RegImpl",
                             "This property can't be written.");
  }
}

}  // namespace lumo::mockTL
