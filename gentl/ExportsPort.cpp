// Port exports. A port handle is a module handle: each body resolves it to the module's Port and
// calls one port operation.
#include "base/GenTL.h"
#include "gentl/ErrorFrame.h"
#include "gentl/HandleChecks.h"

using namespace lumo::mockTL;

namespace {

// A registered handle that names no module (an event's) has no port behind it: it is refused with
// the export's unknown-handle text.
std::shared_ptr<Port> requirePort(PORT_HANDLE hPort, const char* where, const char* nullMessage,
                                  const char* unknownMessage) {
  return checks::requireModule<Port>(hPort, where, {nullMessage, unknownMessage, unknownMessage});
}

}  // namespace

GC_API GCReadPort(PORT_HANDLE hPort, uint64_t iAddress, void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(GCReadPort);
    checks::requireInitialised(where);
    const auto port = requirePort(hPort, where, "hPort invalid", "hPort is unknown");
    checks::requirePointer(piSize, where, "piSize invalid");
    // The size read is deliberately not reported back: *piSize keeps the caller's value.
    size_t size = *piSize;
    port->Read(iAddress, pBuffer, size);
  });
}

GC_API GCWritePort(PORT_HANDLE hPort, uint64_t iAddress, const void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(GCWritePort);
    checks::requireInitialised(where);
    const auto port = requirePort(hPort, where, "hPort invalid", "hPort is unknown");
    checks::requirePointer(piSize, where, "piSize is invalid pointer");
    port->Write(iAddress, pBuffer, *piSize);
  });
}

GC_API GCGetPortURL(PORT_HANDLE hPort, char* sURL, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(GCGetPortURL);
    checks::requireInitialised(where);
    const auto port = requirePort(hPort, where, "hPort invalid handle", "hPort is unknown");
    checks::requirePointer(piSize, where, "piSize<=0");
    port->GetURL(sURL, *piSize);
  });
}

GC_API GCGetPortInfo(PORT_HANDLE hPort, PORT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(GCGetPortInfo);
    checks::requireInitialised(where);
    const auto port = requirePort(hPort, where, "GCGetPortInfo hPort invalid handle", "hPort is unknown");
    checks::requirePointer(piType, where, "piType<=0");
    checks::requirePointer(piSize, where, "piSize<=0");
    port->GetPortInfo(iInfoCmd, *piType, pBuffer, *piSize);
  });
}

GC_API GCGetNumPortURLs(PORT_HANDLE hPort, uint32_t* piNumURLs) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(GCGetNumPortURLs);
    checks::requireInitialised(where);
    requirePort(hPort, where, "hPort invalid handle", "handle is unknown");
    checks::requirePointer(piNumURLs, where, "piNumURLs<=0");
    // Looked up a second time, with its own text.
    const auto port = requirePort(hPort, where, "hPort invalid handle", "hPort is unknown");
    *piNumURLs = port->GetNumURLs();
  });
}

GC_API GCGetPortURLInfo(PORT_HANDLE hPort, uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                        void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(GCGetPortURLInfo);
    checks::requireInitialised(where);
    const auto port = requirePort(hPort, where, "hPort invalid handle", "hPort is unknown");
    checks::requirePointer(piType, where, "piType<=0");
    checks::requirePointer(piSize, where, "piSize<=0");
    port->GetURLInfo(iURLIndex, iInfoCmd, *piType, pBuffer, *piSize);
  });
}

GC_API GCReadPortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries, size_t* piNumEntries) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(GCReadPortStacked);
    checks::requireInitialised(where);
    const auto port = requirePort(hPort, where, " hPort invalid handle", "handle is unknown");
    checks::requirePointer(pEntries, where, "pEntries<=0");
    checks::requirePointer(piNumEntries, where, "piNumEntries <= 0");
    if (*piNumEntries == 0) {
      checks::fail(GC_ERR_INVALID_PARAMETER, where, "*piNumEntries <= 0");
    }
    port->ReadStacked(pEntries, *piNumEntries);
  });
}

// Tests its arguments in another order, with other spacing, than GCReadPortStacked; consumers
// matching on the texts see both as they have always been.
GC_API GCWritePortStacked(PORT_HANDLE hPort, PORT_REGISTER_STACK_ENTRY* pEntries, size_t* piNumEntries) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(GCWritePortStacked);
    checks::requireInitialised(where);
    const auto port = requirePort(hPort, where, " hPort invalid handle", "hPort is unknown");
    checks::requirePointer(piNumEntries, where, "piNumEntries <= 0");
    if (*piNumEntries == 0) {
      checks::fail(GC_ERR_INVALID_PARAMETER, where, "*piNumEntries <= 0");
    }
    checks::requirePointer(pEntries, where, "pEntries <= 0");
    port->WriteStacked(pEntries, *piNumEntries);
  });
}
