#pragma once

#include <string>
#include <string_view>

#include "base/GenTL.h"

namespace lmmocktl {

// A GenTL producer loaded at run time, with the exports the tools call looked up by name. Loading
// also initialises the library (GCInitLib); destruction closes it (GCCloseLib) and unloads it.
// Any producer works, not only LmMockTL: only the functions of base/GenTL.h are used.
class GenTLLibrary {
 public:
  // Throws ToolError when the file cannot be loaded, lacks an export or fails GCInitLib.
  explicit GenTLLibrary(const std::string& path);
  ~GenTLLibrary();
  GenTLLibrary(const GenTLLibrary&) = delete;
  GenTLLibrary& operator=(const GenTLLibrary&) = delete;

  // The calling thread's last error as "<text> (error <code>)", or a note when it cannot be read.
  std::string lastError() const;
  // Throws ToolError "<call> failed: <last error>" unless `result` is GC_ERR_SUCCESS.
  void check(GC_ERROR result, std::string_view call) const;

  const std::string& path() const { return path_; }

 private:
  void* handle_ = nullptr;
  std::string path_;

 public:
#define LMMOCKTL_GENTL_EXPORTS(X) \
  X(GCGetInfo)                    \
  X(GCGetLastError)               \
  X(GCInitLib)                    \
  X(GCCloseLib)                   \
  X(GCReadPort)                   \
  X(GCWritePort)                  \
  X(GCGetPortURL)                 \
  X(GCGetPortInfo)                \
  X(GCGetNumPortURLs)             \
  X(GCGetPortURLInfo)             \
  X(GCRegisterEvent)              \
  X(GCUnregisterEvent)            \
  X(EventGetData)                 \
  X(TLOpen)                       \
  X(TLClose)                      \
  X(TLGetInfo)                    \
  X(TLGetNumInterfaces)           \
  X(TLGetInterfaceID)             \
  X(TLOpenInterface)              \
  X(TLUpdateInterfaceList)        \
  X(IFClose)                      \
  X(IFGetInfo)                    \
  X(IFGetNumDevices)              \
  X(IFGetDeviceID)                \
  X(IFUpdateDeviceList)           \
  X(IFGetDeviceInfo)              \
  X(IFOpenDevice)                 \
  X(DevGetPort)                   \
  X(DevGetNumDataStreams)         \
  X(DevGetDataStreamID)           \
  X(DevOpenDataStream)            \
  X(DevGetInfo)                   \
  X(DevClose)                     \
  X(DSAllocAndAnnounceBuffer)     \
  X(DSAnnounceCompositeBuffer)    \
  X(DSFlushQueue)                 \
  X(DSStartAcquisition)           \
  X(DSStopAcquisition)            \
  X(DSGetInfo)                    \
  X(DSGetBufferID)                \
  X(DSClose)                      \
  X(DSRevokeBuffer)               \
  X(DSQueueBuffer)                \
  X(DSGetBufferInfo)              \
  X(DSGetNumFlows)                \
  X(DSGetFlowInfo)                \
  X(DSGetNumBufferSegments)       \
  X(DSGetBufferSegmentInfo)

#define LMMOCKTL_GENTL_EXPORT_MEMBER(name) decltype(&::name) name = nullptr;
  LMMOCKTL_GENTL_EXPORTS(LMMOCKTL_GENTL_EXPORT_MEMBER)
#undef LMMOCKTL_GENTL_EXPORT_MEMBER
};

}  // namespace lmmocktl
