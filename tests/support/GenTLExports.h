#pragma once

#include <string>
#include <utility>

#include "base/GenTL.h"
#include "support/Producer.h"

namespace testing_support {

// The exports of a loaded producer under their own names, so that tests read like consumer code:
// `gentl.TLOpen(&system)`.
class GenTLExports {
 public:
  explicit GenTLExports(const Producer& producer) : producer_(producer) {}

 private:
  const Producer& producer_;

 public:
#define LMMOCKTL_EXPORT(name) decltype(&::name) name = producer_.get<decltype(::name)>(#name)
  LMMOCKTL_EXPORT(GCInitLib);
  LMMOCKTL_EXPORT(GCCloseLib);
  LMMOCKTL_EXPORT(GCGetLastError);
  LMMOCKTL_EXPORT(GCGetInfo);
  LMMOCKTL_EXPORT(TLOpen);
  LMMOCKTL_EXPORT(TLClose);
  LMMOCKTL_EXPORT(TLGetInfo);
  LMMOCKTL_EXPORT(TLGetNumInterfaces);
  LMMOCKTL_EXPORT(TLGetInterfaceID);
  LMMOCKTL_EXPORT(TLGetInterfaceInfo);
  LMMOCKTL_EXPORT(TLOpenInterface);
  LMMOCKTL_EXPORT(TLUpdateInterfaceList);
  LMMOCKTL_EXPORT(IFClose);
  LMMOCKTL_EXPORT(IFGetInfo);
  LMMOCKTL_EXPORT(IFGetNumDevices);
  LMMOCKTL_EXPORT(IFGetDeviceID);
  LMMOCKTL_EXPORT(IFUpdateDeviceList);
  LMMOCKTL_EXPORT(IFGetDeviceInfo);
  LMMOCKTL_EXPORT(IFOpenDevice);
  LMMOCKTL_EXPORT(IFGetParentTL);
  LMMOCKTL_EXPORT(DevGetPort);
  LMMOCKTL_EXPORT(DevGetNumDataStreams);
  LMMOCKTL_EXPORT(DevGetDataStreamID);
  LMMOCKTL_EXPORT(DevOpenDataStream);
  LMMOCKTL_EXPORT(DevGetInfo);
  LMMOCKTL_EXPORT(DevClose);
  LMMOCKTL_EXPORT(DevGetParentIF);
  LMMOCKTL_EXPORT(DSAnnounceBuffer);
  LMMOCKTL_EXPORT(DSAllocAndAnnounceBuffer);
  LMMOCKTL_EXPORT(DSFlushQueue);
  LMMOCKTL_EXPORT(DSStartAcquisition);
  LMMOCKTL_EXPORT(DSStopAcquisition);
  LMMOCKTL_EXPORT(DSGetInfo);
  LMMOCKTL_EXPORT(DSGetBufferID);
  LMMOCKTL_EXPORT(DSClose);
  LMMOCKTL_EXPORT(DSRevokeBuffer);
  LMMOCKTL_EXPORT(DSQueueBuffer);
  LMMOCKTL_EXPORT(DSGetBufferInfo);
  LMMOCKTL_EXPORT(DSGetBufferChunkData);
  LMMOCKTL_EXPORT(DSGetParentDev);
  LMMOCKTL_EXPORT(DSGetNumBufferParts);
  LMMOCKTL_EXPORT(DSGetBufferPartInfo);
  LMMOCKTL_EXPORT(DSAnnounceCompositeBuffer);
  LMMOCKTL_EXPORT(DSGetBufferInfoStacked);
  LMMOCKTL_EXPORT(DSGetBufferPartInfoStacked);
  LMMOCKTL_EXPORT(DSGetNumFlows);
  LMMOCKTL_EXPORT(DSGetFlowInfo);
  LMMOCKTL_EXPORT(DSGetNumBufferSegments);
  LMMOCKTL_EXPORT(DSGetBufferSegmentInfo);
  LMMOCKTL_EXPORT(GCRegisterEvent);
  LMMOCKTL_EXPORT(GCUnregisterEvent);
  LMMOCKTL_EXPORT(EventGetData);
  LMMOCKTL_EXPORT(EventGetInfo);
  LMMOCKTL_EXPORT(EventFlush);
  LMMOCKTL_EXPORT(EventKill);
  LMMOCKTL_EXPORT(GCReadPort);
  LMMOCKTL_EXPORT(GCWritePort);
  LMMOCKTL_EXPORT(GCGetPortURL);
  LMMOCKTL_EXPORT(GCGetPortInfo);
  LMMOCKTL_EXPORT(GCGetNumPortURLs);
  LMMOCKTL_EXPORT(GCGetPortURLInfo);
  LMMOCKTL_EXPORT(GCReadPortStacked);
  LMMOCKTL_EXPORT(GCWritePortStacked);
  LMMOCKTL_EXPORT(EventGetDataInfo);
#undef LMMOCKTL_EXPORT
};

}  // namespace testing_support
