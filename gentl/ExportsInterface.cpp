// Interface (IF) exports.
#include <memory>

#include "base/GenTL.h"
#include "gentl/ErrorFrame.h"
#include "gentl/HandleChecks.h"
#include "tree/Device.h"
#include "tree/Interface.h"
#include "tree/TransportLayer.h"

using namespace lumo::mockTL;

namespace {

struct InterfaceMessages {
  const char* null;
  const char* unknown;
  const char* notHeld;
};

// An interface handle as the IF exports check it: null, registry, then the system singleton must
// hold that very interface. What passes is an interface, so the after-cast test that follows in
// the export tables can no longer fail and is not repeated.
std::shared_ptr<Interface> requireHeldInterface(IF_HANDLE handle, const char* where,
                                                const InterfaceMessages& messages) {
  const auto module = checks::requireKnownModule(handle, where, messages.null, messages.unknown);
  const auto system = TransportLayer::Current();
  auto held = (system && module != nullptr) ? system->InterfaceByHandle(*module) : nullptr;
  if (!held || held->handle() != handle) {
    checks::fail(GC_ERR_INVALID_HANDLE, where, messages.notHeld);
  }
  return held;
}

}  // namespace

GC_API IFClose(IF_HANDLE hIface) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(IFClose);
    checks::requireInitialised(where);
    requireHeldInterface(hIface, where, {"invalid handle", "invalid handle (pool)", "unknown tl handle"})->close();
  });
}

GC_API IFGetInfo(IF_HANDLE hIface, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(IFGetInfo);
    checks::requireInitialised(where);
    const auto iface =
        requireHeldInterface(hIface, where, {"invalid handle", "invalid handle (pool)", "unknown tl handle"});
    checks::requirePointer(piType, where, "piType <= 0");
    checks::requirePointer(piSize, where, "piSize <= 0");
    iface->getInfo(iInfoCmd, *piType, pBuffer, *piSize);
  });
}

GC_API IFGetNumDevices(IF_HANDLE hIface, uint32_t* piNumDevices) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(IFGetNumDevices);
    checks::requireInitialised(where);
    const auto iface = requireHeldInterface(
        hIface, where, {"ifgetnuminterfaces invalid handle", "invalid handle (pool)", "unknown tl handle"});
    checks::requirePointer(piNumDevices, where, "igetnuminterfaces !pinumdevices");
    *piNumDevices = iface->deviceCount();
  });
}

GC_API IFGetDeviceID(IF_HANDLE hIface, uint32_t iIndex, char* sIDeviceID, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(IFGetDeviceID);
    checks::requireInitialised(where);
    const auto iface =
        requireHeldInterface(hIface, where, {"invalid handle", "invalid handle (pool)", "unknown tl handle"});
    checks::requirePointer(piSize, where, "IFGetDeviceID piSize is invalid");
    if (iIndex >= iface->deviceCount()) {
      checks::fail(GC_ERR_INVALID_INDEX, where, "IFGetDeviceID invalid index");
    }
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    iface->getDevice(iIndex)->getInfo(DEVICE_INFO_ID, type, sIDeviceID, *piSize);
  });
}

GC_API IFUpdateDeviceList(IF_HANDLE hIface, bool8_t* pbChanged, uint64_t /*iTimeout*/) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(IFUpdateDeviceList);
    checks::requireInitialised(where);
    const auto iface =
        requireHeldInterface(hIface, where, {"handle is invalid", "invalid handle (pool)", "unknown tl handle"});
    const std::uint32_t before = iface->deviceCount();
    if (const GC_ERROR result = error::doReturn([&] { iface->updateDeviceList(); }); result != GC_ERR_SUCCESS) {
      checks::fail(result, where, "Internal error with updateDeviceList.");
    }
    if (pbChanged != nullptr) {
      *pbChanged = iface->deviceCount() != before ? 1 : 0;
    }
  });
}

GC_API IFGetDeviceInfo(IF_HANDLE hIface, const char* sDeviceID, DEVICE_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                       void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(IFGetDeviceInfo);
    checks::requireInitialised(where);
    const auto iface = requireHeldInterface(
        hIface, where, {"handle is invalid", "invalid handle (pool)", "invalid handle (handle lookup)"});
    checks::requirePointer(piType, where, "invalid parameter piType");
    checks::requirePointer(sDeviceID, where, "invalid parameter sDeviceID");
    checks::requirePointer(piSize, where, "invalid parameter piSize");
    const auto device = iface->findDevice(sDeviceID);
    if (!device) {
      checks::fail(GC_ERR_INVALID_ID, where, "IFGetDeviceInfo invalid index");
    }
    device->getInfo(iInfoCmd, *piType, pBuffer, *piSize);
  });
}

GC_API IFOpenDevice(IF_HANDLE hIface, const char* sDeviceID, DEVICE_ACCESS_FLAGS iOpenFlag, DEV_HANDLE* phDevice) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(IFOpenDevice);
    checks::requireInitialised(where);
    const auto module = checks::requireKnownModule(hIface, where, "invalid tl handle", "invalid handle (pool)");
    checks::requirePointer(phDevice, where, "phDevice<=0");
    const auto iface = checks::requireModuleKind<Interface>(module, where, "invalid handle after cast");
    checks::requirePointer(sDeviceID, where, "invalid sdeviceid");
    *phDevice = iface->openDevice(sDeviceID, iOpenFlag)->handle();
  });
}

GC_API IFGetParentTL(IF_HANDLE hIface, TL_HANDLE* phSystem) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(IFGetParentTL);
    checks::requireInitialised(where);
    checks::requirePointer(phSystem, where, "invalid pointer to parent");
    const auto iface = requireHeldInterface(
        hIface, where, {"invalid handle", "invalid handle (pool)", "unknown handle. ifgetparenttl"});
    if (!iface->isOpen()) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "iface not open");
    }
    *phSystem = &iface->parent()->self();
  });
}
