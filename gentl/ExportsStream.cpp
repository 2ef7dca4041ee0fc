// Data stream (DS) exports. A buffer handle is only ever compared with the handles of the
// stream's own buffers, never used as memory: a handle of another stream, of another kind of
// module or of a buffer that is gone finds no buffer.
#include <memory>

#include "base/GenTL.h"
#include "gentl/ErrorFrame.h"
#include "gentl/HandleChecks.h"
#include "stream/DataStream.h"
#include "tree/Device.h"

using namespace lumo::mockTL;

namespace {

// The texts of the exports that name their arguments ("null pointer: hDataStream").
constexpr const char* kNullStream = "null pointer: hDataStream";
constexpr const char* kUnknownStream = "unknown handle: hDataStream";
constexpr const char* kStreamNotOpen = "not open: hDataStream";
constexpr checks::HandleMessages kNamedStream{kNullStream, kUnknownStream, kUnknownStream};
constexpr const char* kNoResource = "not available before allocating resource: iInfoCmd";

void requireOpen(const DataStream& stream, const char* where, const char* message) {
  if (!stream.isOpen()) {
    checks::fail(GC_ERR_INVALID_HANDLE, where, message);
  }
}

// The stream's buffer of that handle; fails with `code` and `message` when the stream has none.
std::shared_ptr<Resource> requireBuffer(const DataStream& stream, const void* hBuffer, const char* where, GC_ERROR code,
                                        const char* message) {
  std::shared_ptr<Resource> resource = stream.findBuffer(hBuffer);
  if (resource == nullptr) {
    checks::fail(code, where, message);
  }
  return resource;
}

// The texts of the handle tests of an export that takes a stream and a buffer.
struct StreamAndBufferMessages {
  const char* streamNull;
  const char* streamUnknown;
  const char* bufferNull;
  const char* bufferUnknown;
  const char* afterCast;
};

constexpr StreamAndBufferMessages kNamedStreamAndBuffer{kNullStream, kUnknownStream, "null pointer: hBuffer",
                                                        "unknown handle: hBuffer", kUnknownStream};

// In which order an export tests its two handles: each handle's null and registry tests in turn,
// or both null tests before both registry tests.
enum class HandleOrder { EachInTurn, NullTestsFirst };

// The handle tests of an export that takes a stream and a buffer, then the stream. The buffer
// handle is only known to be registered: the stream looks it up among its own buffers.
std::shared_ptr<DataStream> requireStreamAndBuffer(const void* hDataStream, const void* hBuffer, const char* where,
                                                   const StreamAndBufferMessages& messages, HandleOrder order) {
  checks::requireHandle(hDataStream, where, messages.streamNull);
  if (order == HandleOrder::NullTestsFirst) {
    checks::requireHandle(hBuffer, where, messages.bufferNull);
  }
  checks::requireRegistered(hDataStream, where, messages.streamUnknown);
  checks::requireHandle(hBuffer, where, messages.bufferNull);
  checks::requireRegistered(hBuffer, where, messages.bufferUnknown);
  return checks::requireModule<DataStream>(hDataStream, where,
                                           {messages.streamNull, messages.streamUnknown, messages.afterCast});
}

}  // namespace

GC_API DSClose(DS_HANDLE hDataStream) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSClose);
    checks::requireInitialised(where);
    checks::requireModule<DataStream>(hDataStream, where, {"invalid handle", "handle is unknown", "handle is unknown"})
        ->close();
  });
}

GC_API DSAnnounceBuffer(DS_HANDLE hDataStream, void* pBuffer, size_t iSize, void* pPrivate, BUFFER_HANDLE* phBuffer) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSAnnounceBuffer);
    checks::requireInitialised(where);
    const auto stream = checks::requireModule<DataStream>(
        hDataStream, where, {"invalid datastream handle", "handle is unknown", "invalid datastream handle after cast"});
    if (stream->isGrabbing()) {
      checks::fail(GC_ERR_BUSY, where, "announcing buffer while streaming not allowed");
    }
    checks::requirePointer(pBuffer, where, "invalid buffer handle. pBuffer<= 0");
    checks::requirePointer(phBuffer, where, "invalid buffer handle. phBuffer<= 0");
    if (stream->isAnnounced(pBuffer)) {
      checks::fail(GC_ERR_RESOURCE_IN_USE, where, "data pointer is known");
    }
    *phBuffer = stream->Announce(iSize, pBuffer, pPrivate)->bufferHandle();
  });
}

GC_API DSAllocAndAnnounceBuffer(DS_HANDLE hDataStream, size_t iSize, void* pPrivate, BUFFER_HANDLE* phBuffer) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSAllocAndAnnounceBuffer);
    checks::requireInitialised(where);
    checks::requirePointer(phBuffer, where, "phBuffer<=0");
    const auto stream = checks::requireModule<DataStream>(
        hDataStream, where, {"invalid datastream handle", "handle ds is unknown", "invalid datastream handle"});
    checks::requirePointer(phBuffer, where, "invalid buffer handle. phBuffer<= 0");
    const std::shared_ptr<Resource> resource = stream->AllocAndAnnounce(iSize, pPrivate);
    if (resource == nullptr) {
      checks::fail(GC_ERR_RESOURCE_EXHAUSTED, where, "buffer was not created");
    }
    *phBuffer = resource->bufferHandle();
  });
}

GC_API DSAnnounceCompositeBuffer(DS_HANDLE hDataStream, size_t iNumSegments, void** ppSegments, size_t* pSegmentSizes,
                                 void* pPrivate, BUFFER_HANDLE* phBuffer) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSAnnounceCompositeBuffer);
    checks::requireInitialised(where);
    const auto stream = checks::requireModule<DataStream>(hDataStream, where, kNamedStream);
    if (iNumSegments == 0) {
      checks::fail(GC_ERR_INVALID_PARAMETER, where, "null pointer: iNumSegments");
    }
    checks::requirePointer(pSegmentSizes, where, "null pointer: piSizes");
    checks::requirePointer(phBuffer, where, "null pointer: phBuffer");
    checks::requirePointer(ppSegments, where, "null pointer: ppSegments");
    if (stream->isGrabbing()) {
      checks::fail(GC_ERR_BUSY, where, "announcing buffer not allowed while streaming");
    }
    for (size_t n = 0; n < iNumSegments; ++n) {
      checks::requirePointer(ppSegments[n], where, "containing a null pointer: ppSegments");
    }
    for (size_t n = 0; n < iNumSegments; ++n) {
      if (stream->isAnnounced(ppSegments[n])) {
        checks::fail(GC_ERR_RESOURCE_IN_USE, where, "containing resource in use: ppSegments");
      }
    }
    *phBuffer = stream->Announce(ppSegments, pSegmentSizes, iNumSegments, pPrivate)->bufferHandle();
  });
}

GC_API DSRevokeBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, void** ppBuffer, void** ppPrivate) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSRevokeBuffer);
    checks::requireInitialised(where);
    const auto stream = requireStreamAndBuffer(hDataStream, hBuffer, where,
                                               {"datastream handle <= 0", "handle is unknown", "buffer handle <= 0",
                                                "handle is unknown", "handle is not a datastream handle"},
                                               HandleOrder::EachInTurn);
    requireOpen(*stream, where, "stream handle is not open");
    stream->RevokeBuffer(hBuffer, ppBuffer, ppPrivate);
  });
}

GC_API DSQueueBuffer(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSQueueBuffer);
    checks::requireInitialised(where);
    const auto stream =
        requireStreamAndBuffer(hDataStream, hBuffer, where,
                               {"invalid datastream handle", "handle ds is unknown", "invalid buffer handle",
                                "handle buffer is unknown", "handle ds is unknown"},
                               HandleOrder::NullTestsFirst);
    stream->QueueBuffer(requireBuffer(*stream, hBuffer, where, GC_ERR_INVALID_BUFFER, "Buffer not announced"));
  });
}

GC_API DSFlushQueue(DS_HANDLE hDataStream, ACQ_QUEUE_TYPE iOperation) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSFlushQueue);
    checks::requireInitialised(where);
    // The export has one text for every bad handle.
    checks::requireModule<DataStream>(hDataStream, where, {"invalid handle", "invalid handle", "invalid handle"})
        ->flush(iOperation);
  });
}

GC_API DSStartAcquisition(DS_HANDLE hDataStream, ACQ_START_FLAGS iStartFlags, uint64_t iNumToAcquire) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSStartAcquisition);
    checks::requireInitialised(where);
    checks::requireHandle(hDataStream, where, "invalid handle");
    checks::requireRegistered(hDataStream, where, "handle is unknown");
    if (iStartFlags != ACQ_START_FLAGS_DEFAULT) {
      checks::fail(GC_ERR_NOT_IMPLEMENTED, where, "acq flags not supported");
    }
    if (iNumToAcquire == 0) {
      checks::fail(GC_ERR_INVALID_PARAMETER, where, "num to acq is 0");
    }
    const auto stream = checks::requireModule<DataStream>(
        hDataStream, where, {"invalid handle", "handle is unknown", "conv to datastream failed"});
    if (stream->isGrabbing()) {
      checks::fail(GC_ERR_RESOURCE_IN_USE, where, "grab already running");
    }
    if (stream->announcedCount() < DataStream::kMinimumAnnouncedBuffers) {
      checks::fail(GC_ERR_INVALID_BUFFER, where, "not enough buffers for acq");
    }
    stream->startGrabbing(iStartFlags, iNumToAcquire);
  });
}

GC_API DSStopAcquisition(DS_HANDLE hDataStream, ACQ_STOP_FLAGS iStopFlags) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSStopAcquisition);
    checks::requireInitialised(where);
    const auto stream = checks::requireModule<DataStream>(
        hDataStream, where, {"handle is invalid", "handle is unknown", "handle is invalid after cast"});
    requireOpen(*stream, where, "handle is not opened");
    // A kill stops as the default does; any other flag leaves the acquisition running.
    if (iStopFlags == ACQ_STOP_FLAGS_DEFAULT || iStopFlags == ACQ_STOP_FLAGS_KILL) {
      stream->stopGrabbing();
    }
  });
}

GC_API DSGetInfo(DS_HANDLE hDataStream, STREAM_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                 size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSGetInfo);
    checks::requireInitialised(where);
    const auto stream = checks::requireModule<DataStream>(
        hDataStream, where, {"invalid ds handle", "handle is unknown", "invalid ds handle, after cast"});
    checks::requirePointer(piType, where, "piType<=0");
    checks::requirePointer(piSize, where, "piSize<=0");
    stream->getInfo(iInfoCmd, *piType, pBuffer, *piSize);
  });
}

GC_API DSGetBufferID(DS_HANDLE hDataStream, uint32_t iIndex, BUFFER_HANDLE* phBuffer) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSGetBufferID);
    checks::requireInitialised(where);
    const auto stream = checks::requireModule<DataStream>(
        hDataStream, where, {"invalid handle", "handle is unknown", "invalid handle after cast"});
    requireOpen(*stream, where, "datastream was not opened");
    if (iIndex >= stream->announcedCount()) {
      checks::fail(GC_ERR_INVALID_INDEX, where, "iIndex > NumBufferAnnounced");
    }
    checks::requirePointer(phBuffer, where, "phBuffer <= nullptr");
    *phBuffer = stream->BufferByIndex(iIndex)->bufferHandle();
  });
}

GC_API DSGetBufferInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, BUFFER_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                       void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSGetBufferInfo);
    checks::requireInitialised(where);
    checks::requirePointer(piType, where, "piType is <= 0");
    checks::requirePointer(piSize, where, "piSize is <= 0");
    const auto stream = requireStreamAndBuffer(hDataStream, hBuffer, where,
                                               {"datastream handle <= 0", "handle ds is unknown", "buffer handle <= 0",
                                                "handle buffer is unknown", "handle ds is unknown"},
                                               HandleOrder::NullTestsFirst);
    requireOpen(*stream, where, "datastream was not opened via device");
    requireBuffer(*stream, hBuffer, where, GC_ERR_NOT_AVAILABLE, kNoResource)
        ->GetBufferInfo(iInfoCmd, *piType, pBuffer, *piSize);
  });
}

GC_API DSGetBufferInfoStacked(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, DS_BUFFER_INFO_STACKED* pInfoStacked,
                              size_t iNumInfos) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSGetBufferInfoStacked);
    checks::requireInitialised(where);
    const auto stream =
        requireStreamAndBuffer(hDataStream, hBuffer, where, kNamedStreamAndBuffer, HandleOrder::EachInTurn);
    checks::requirePointer(pInfoStacked, where, "null pointer: pInfoStacked");
    if (iNumInfos == 0) {
      checks::fail(GC_ERR_INVALID_PARAMETER, where, "invalid inquiry: iNumInfos");
    }
    requireOpen(*stream, where, kStreamNotOpen);
    const auto resource = requireBuffer(*stream, hBuffer, where, GC_ERR_NOT_AVAILABLE, kNoResource);
    // Each entry gets its own result; a failing entry leaves its text as the last error.
    for (size_t i = 0; i < iNumInfos; ++i) {
      DS_BUFFER_INFO_STACKED& entry = pInfoStacked[i];
      entry.iResult =
          error::doReturn([&] { resource->GetBufferInfo(entry.iInfoCmd, entry.iType, entry.pBuffer, entry.iSize); });
    }
  });
}

GC_API DSGetBufferChunkData(DS_HANDLE, BUFFER_HANDLE, SINGLE_CHUNK_DATA*, size_t*) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSGetBufferChunkData);
    checks::requireInitialised(where);
    checks::fail(GC_ERR_NOT_IMPLEMENTED, where, "TL does not do chunky data");
  });
}

GC_API DSGetParentDev(DS_HANDLE hDataStream, DEV_HANDLE* phDevice) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSGetParentDev);
    checks::requireInitialised(where);
    checks::requirePointer(phDevice, where, "invalid pointer to parent");
    // The registry test comes first, so a null handle is reported as unknown.
    checks::requireRegistered(hDataStream, where, "handle is unknown");
    checks::requireHandle(hDataStream, where, "invalid handle");
    const auto stream = checks::requireModule<DataStream>(hDataStream, where,
                                                          {"invalid handle", "handle is unknown", "handle is unknown"});
    requireOpen(*stream, where, "ds not open");
    const auto device = std::dynamic_pointer_cast<Device>(stream->parent());
    if (device == nullptr) {
      checks::fail(GC_ERR_INVALID_HANDLE, where, "handle is unknown");
    }
    *phDevice = device->handle();
  });
}

GC_API DSGetNumBufferParts(DS_HANDLE, BUFFER_HANDLE, uint32_t*) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSGetNumBufferParts);
    checks::requireInitialised(where);
    checks::fail(GC_ERR_NOT_IMPLEMENTED, where, "TL does not do parts data");
  });
}

GC_API DSGetBufferPartInfo(DS_HANDLE, BUFFER_HANDLE, uint32_t, BUFFER_PART_INFO_CMD, INFO_DATATYPE*, void*, size_t*) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSGetBufferPartInfo);
    checks::requireInitialised(where);
    checks::fail(GC_ERR_NOT_IMPLEMENTED, where, "TL does not do chunky data info");
  });
}

// Unlike the other part functions, this one has always succeeded without doing anything.
GC_API DSGetBufferPartInfoStacked(DS_HANDLE, BUFFER_HANDLE, DS_BUFFER_PART_INFO_STACKED*, size_t) {
  return error::doReturn([&] { checks::requireInitialised(LMMOCKTL_BODY(DSGetBufferPartInfoStacked)); });
}

GC_API DSGetNumFlows(DS_HANDLE hDataStream, uint32_t* piNumFlows) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSGetNumFlows);
    checks::requireInitialised(where);
    const auto stream = checks::requireModule<DataStream>(hDataStream, where, kNamedStream);
    requireOpen(*stream, where, kStreamNotOpen);
    checks::requirePointer(piNumFlows, where, "null pointer: piNumFlows");
    *piNumFlows = stream->numFlows();
  });
}

GC_API DSGetFlowInfo(DS_HANDLE hDataStream, uint32_t iFlowIndex, FLOW_INFO_CMD iInfoCmd, INFO_DATATYPE* piType,
                     void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSGetFlowInfo);
    checks::requireInitialised(where);
    const auto stream = checks::requireModule<DataStream>(hDataStream, where, kNamedStream);
    checks::requirePointer(piType, where, "null pointer: piType");
    checks::requirePointer(piSize, where, "null pointer: piSize");
    requireOpen(*stream, where, kStreamNotOpen);
    stream->GetFlowInfo(iFlowIndex, iInfoCmd, *piType, pBuffer, *piSize);
  });
}

GC_API DSGetNumBufferSegments(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t* piNumSegments) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSGetNumBufferSegments);
    checks::requireInitialised(where);
    const auto stream =
        requireStreamAndBuffer(hDataStream, hBuffer, where, kNamedStreamAndBuffer, HandleOrder::EachInTurn);
    checks::requirePointer(piNumSegments, where, "null pointer: piNumSegments");
    requireOpen(*stream, where, kStreamNotOpen);
    *piNumSegments =
        requireBuffer(*stream, hBuffer, where, GC_ERR_INVALID_HANDLE, "invalid handle: hBuffer")->segmentCount();
  });
}

GC_API DSGetBufferSegmentInfo(DS_HANDLE hDataStream, BUFFER_HANDLE hBuffer, uint32_t iSegmentIndex,
                              SEGMENT_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer, size_t* piSize) {
  return error::doReturn([&] {
    constexpr const char* where = LMMOCKTL_BODY(DSGetBufferSegmentInfo);
    checks::requireInitialised(where);
    const auto stream =
        requireStreamAndBuffer(hDataStream, hBuffer, where, kNamedStreamAndBuffer, HandleOrder::EachInTurn);
    checks::requirePointer(piType, where, "null pointer: piType");
    checks::requirePointer(piSize, where, "null pointer: piSize");
    requireOpen(*stream, where, kStreamNotOpen);
    requireBuffer(*stream, hBuffer, where, GC_ERR_NOT_AVAILABLE, kNoResource)
        ->GetBufferSegmentInfo(iSegmentIndex, iInfoCmd, *piType, pBuffer, *piSize);
  });
}
