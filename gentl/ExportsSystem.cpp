// System (TL) exports.
#include <memory>

#include "base/GenTL.h"
#include "gentl/ErrorFrame.h"
#include "gentl/HandleChecks.h"
#include "tree/Interface.h"
#include "tree/TransportLayer.h"

using namespace lumo::mockTL;

namespace {

// The system module that `handle` must be: the singleton itself, compared by address.
std::shared_ptr<TransportLayer> requireSingleton(TL_HANDLE handle, const char* where, const char* message) {
  auto system = TransportLayer::Current();
  if (!system || system->handle() != handle) {
    checks::fail(GC_ERR_INVALID_HANDLE, where, message);
  }
  return system;
}

void requireInterfaceId(const char* id, const char* where, std::int32_t nullCode, const char* nullMessage,
                        const char* emptyMessage) {
  if (id == nullptr) {
    checks::fail(nullCode, where, nullMessage);
  }
  if (*id == '\0') {
    checks::fail(GC_ERR_INVALID_ID, where, emptyMessage);
  }
}

}  // namespace

GC_API TLOpen(TL_HANDLE* phTL) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(TLOpen);
    checks::requireInitialised(where);
    checks::requirePointer(phTL, where, "phTL is <= 0");
    if (const auto existing = TransportLayer::Current(); existing && existing->IsOpen()) {
      checks::fail(GC_ERR_RESOURCE_IN_USE, where, "tl already opened");
    }
    const auto system = TransportLayer::Instance();
    system->Open();
    *phTL = system->handle();
  });
}

GC_API TLClose(TL_HANDLE hTL) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(TLClose);
    const auto system = checks::requireModule<TransportLayer>(
        hTL, where, {"invalid handle", "unknown handle. tlclose.", "given handle is not a tl/system handle"});
    // The handle is tested before the library state, so a bad handle reports itself even
    // before GCInitLib.
    checks::requireInitialised(where);
    system->Close();
  });
}

GC_API TLGetInfo(TL_HANDLE hTL, TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(TLGetInfo);
    if (hTL == nullptr) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "TLGetInfo invalid tl handle");
    }
    requireSingleton(hTL, where, "TLGetInfo invalid tl handle. unequal to singleton");
    checks::requireInitialised(where);
    checks::requirePointer(piSize, where, "piSize<=0");
    checks::requirePointer(piType, where, "piType<=0");
    TransportLayer::GetInfo(iInfoCmd, *piType, pBuffer, *piSize);
  });
}

GC_API TLGetNumInterfaces(TL_HANDLE hTL, uint32_t* piNumIfaces) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(TLGetNumInterfaces);
    checks::requireInitialised(where);
    if (hTL == nullptr) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "invalid tl handle");
    }
    if (!TransportLayer::Current()) {
      checks::fail(GC_ERR_NOT_INITIALIZED, where, "tl not yet opened");
    }
    const auto system = requireSingleton(hTL, where, "invalid tl handle (unequal)");
    checks::requirePointer(piNumIfaces, where, "piNumIfaces<=0");
    *piNumIfaces = system->interfaceCount();
  });
}

GC_API TLGetInterfaceID(TL_HANDLE hTL, uint32_t iIndex, char* sIfaceID, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(TLGetInterfaceID);
    checks::requireInitialised(where);
    const auto system = checks::requireModule<TransportLayer>(
        hTL, where, {"invalid tl handle", "invalid tl handle 2.", "invalid tl handle 2."});
    checks::requirePointer(piSize, where, "piSize <= 0");
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    system->InterfaceByIndex(iIndex)->getInfo(INTERFACE_INFO_ID, type, sIfaceID, *piSize);
  });
}

GC_API TLGetInterfaceInfo(TL_HANDLE hTL, const char* sIfaceID, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                          void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(TLGetInterfaceInfo);
    checks::requireInitialised(where);
    if (hTL == nullptr) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "invalid tl handle");
    }
    requireInterfaceId(sIfaceID, where, GC_ERR_INVALID_ID, "sifaceid <= 0", "sifaceid is empty string");
    const auto system = checks::requireModule<TransportLayer>(
        hTL, where, {"invalid tl handle", "invalid handle (pool)", "invalid tl handle after cast"});
    const auto iface = system->InterfaceById(sIfaceID);
    if (!iface) {
      checks::fail(GC_ERR_INVALID_ID, where, "unknown iface id");
    }
    checks::requirePointer(piType, where, "piType <= 0");
    checks::requirePointer(piSize, where, "piSize <= 0");
    iface->getInfo(iInfoCmd, *piType, pBuffer, *piSize);
  });
}

GC_API TLOpenInterface(TL_HANDLE hTL, const char* sIfaceID, IF_HANDLE* phIface) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(TLOpenInterface);
    checks::requireInitialised(where);
    const auto system = checks::requireModule<TransportLayer>(
        hTL, where, {"hTL is zero or invalid", "invalid handle (pool)", "invalid tl handle after cast"});
    requireInterfaceId(sIfaceID, where, GC_ERR_INVALID_PARAMETER, "invalid sIfaceID pointer",
                       "sIfaceID is empty string");
    const auto iface = system->InterfaceById(sIfaceID);
    if (!iface) {
      checks::fail(GC_ERR_INVALID_ID, where, "sIfaceID is invalid");
    }
    if (phIface == nullptr) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "invalid phIface pointer");
    }
    // An interface that is open already is still handed out, with the failure.
    const bool opened = iface->open();
    *phIface = iface->handle();
    if (!opened) {
      checks::fail(GC_ERR_RESOURCE_IN_USE, where, "iface already open");
    }
  });
}

GC_API TLUpdateInterfaceList(TL_HANDLE hTL, bool8_t* pbChanged, uint64_t /*iTimeout*/) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(TLUpdateInterfaceList);
    checks::requireInitialised(where);
    if (hTL == nullptr) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "tlupdateinterfacelist null value handle");
    }
    if (!HandleRegistry::IsKnown(hTL)) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "invalid handle (pool)");
    }
    requireSingleton(hTL, where, "unknown tl handle");
    // The interfaces are simulated: the list never changes.
    if (pbChanged != nullptr) {
      *pbChanged = 0;
    }
  });
}
