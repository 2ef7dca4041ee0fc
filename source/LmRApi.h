#pragma once

#include <cstddef>
#include <cstdint>

#include "base/GenTL.h"

// The container-reader library: replays recorded GenDC flow sets from an InfoFile and the numbered
// ".gdcs" data files beside it, through a plain function interface over opaque handles.
//
// Every function returns a status and never lets an exception out. On failure the calling
// thread's last error holds the status and a fixed text (LmRGetLastErrorMessage); a success leaves
// it as it was. Handles are tokens of the library's own registry, never addresses: a released,
// foreign or made-up handle fails with the handle-invalid status instead of being followed.
// All functions may be called from any thread. A reader is immutable once created; a view is
// changed only by LmRFlowSetViewMoveTo, so one view must not be used by two threads at once.

// The status values are the GenTL codes of the same meaning, so that a GenTL producer can return
// a failed call's status to its consumer unchanged.
enum class LmRStatus : std::int32_t {
  Success = GC_ERR_SUCCESS,
  Error = GC_ERR_ERROR,                         // anything that is not one of the library's own failures
  NotImplemented = GC_ERR_NOT_IMPLEMENTED,      // dynamic flow sizes
  InvalidHandle = GC_ERR_INVALID_HANDLE,        // null, released or foreign handle
  InvalidParameter = GC_ERR_INVALID_PARAMETER,  // null pointer argument, unknown property
  NotAvailable = GC_ERR_NOT_AVAILABLE,          // a file that cannot be opened
  BufferTooSmall = GC_ERR_BUFFER_TOO_SMALL,
  InvalidIndex = GC_ERR_INVALID_INDEX,        // flow set or flow index out of range
  InvalidFile = GC_ERR_INVALID_VALUE,         // wrong format, corrupted InfoFile, data file too short
  MappingFailed = GC_ERR_RESOURCE_EXHAUSTED,  // a data file that opens but cannot be mapped
};

enum class LmRProperty : std::uint32_t {
  FlowSetCount = 0,        // std::uint64_t: total number of flow sets of the recording
  FlowSizes = 1,           // std::uint64_t per flow
  PrefetchDescriptor = 2,  // the raw descriptor bytes
  DataFileCount = 3,       // std::uint64_t
  FixedFlowSizes = 4,      // one byte, 0 or 1
};

struct LmRContainerReader;
struct LmRFlowSetView;
using LmRContainerReaderHandle = LmRContainerReader*;
using LmRFlowSetViewHandle = LmRFlowSetView*;

// "1.0.0".
const char* LmRGetLibraryVersion();

// The calling thread's last failure text; a static string, valid for the life of the process.
// Empty before the thread's first failure.
const char* LmRGetLastErrorMessage();

// Reads the InfoFile at `infoFile` (a UTF-8 path) and maps every data file it names. The caller
// owns the returned reader and releases it with LmRContainerReaderRelease.
LmRStatus LmRCreateContainerReader(const char* infoFile, LmRContainerReaderHandle* reader);
// The same for a wide-character path (UTF-32 where wchar_t has 32 bits, UTF-16 where it has 16).
LmRStatus LmRCreateContainerReaderW(const wchar_t* infoFile, LmRContainerReaderHandle* reader);
LmRStatus LmRContainerReaderRelease(LmRContainerReaderHandle reader);

// Copies a property into `buffer`, whose size in bytes `size` holds; `size` receives the
// property's size. A null buffer only asks for the size.
LmRStatus LmRContainerReaderGetProperty(LmRContainerReaderHandle reader, LmRProperty property, void* buffer,
                                        std::size_t* size);

// A view of the flow set with global index `index`. It keeps the recording mapped: it stays usable
// after its reader is released. The caller releases it with LmRFlowSetViewRelease.
LmRStatus LmRContainerReaderCreateView(LmRContainerReaderHandle reader, std::uint64_t index,
                                       LmRFlowSetViewHandle* view);
// Points an existing view at another flow set of the same reader without allocating: the way to
// replay frame after frame. On failure the view still shows its previous flow set.
LmRStatus LmRFlowSetViewMoveTo(LmRFlowSetViewHandle view, std::uint64_t index);
LmRStatus LmRFlowSetViewFlowCount(LmRFlowSetViewHandle view, std::uint64_t* count);
// Address and size of flow `flow`; the bytes are read-only and live as long as the view.
LmRStatus LmRFlowSetViewGetFlow(LmRFlowSetViewHandle view, std::uint64_t flow, const void** data, std::uint64_t* size);
LmRStatus LmRFlowSetViewRelease(LmRFlowSetViewHandle view);
