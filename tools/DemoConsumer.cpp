// Demo consumer: loads the producer named on the command line (default ./LmMockTL.cti), goes
// through the library life cycle, then opens the first device of the first interface and grabs a
// few frames from its first stream, the way an acquisition framework does, printing what arrives.
#include <dlfcn.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "gentl/GenTL.h"

namespace {

// The exports the demo calls, looked up by name as any consumer does.
struct Producer {
  void* library = nullptr;
  bool complete = true;

  template <class Function>
  Function* lookup(const char* name) {
    auto* function = reinterpret_cast<Function*>(dlsym(library, name));
    if (function == nullptr) {
      std::fprintf(stderr, "export %s missing\n", name);
      complete = false;
    }
    return function;
  }

#define LMMOCKTL_DEMO_EXPORT(name) decltype(&::name) name = lookup<decltype(::name)>(#name)
  LMMOCKTL_DEMO_EXPORT(GCInitLib);
  LMMOCKTL_DEMO_EXPORT(GCCloseLib);
  LMMOCKTL_DEMO_EXPORT(GCGetLastError);
  LMMOCKTL_DEMO_EXPORT(GCRegisterEvent);
  LMMOCKTL_DEMO_EXPORT(EventGetData);
  LMMOCKTL_DEMO_EXPORT(TLOpen);
  LMMOCKTL_DEMO_EXPORT(TLGetInterfaceID);
  LMMOCKTL_DEMO_EXPORT(TLOpenInterface);
  LMMOCKTL_DEMO_EXPORT(TLUpdateInterfaceList);
  LMMOCKTL_DEMO_EXPORT(IFUpdateDeviceList);
  LMMOCKTL_DEMO_EXPORT(IFGetDeviceID);
  LMMOCKTL_DEMO_EXPORT(IFOpenDevice);
  LMMOCKTL_DEMO_EXPORT(DevGetDataStreamID);
  LMMOCKTL_DEMO_EXPORT(DevOpenDataStream);
  LMMOCKTL_DEMO_EXPORT(DevClose);
  LMMOCKTL_DEMO_EXPORT(DSGetInfo);
  LMMOCKTL_DEMO_EXPORT(DSAllocAndAnnounceBuffer);
  LMMOCKTL_DEMO_EXPORT(DSQueueBuffer);
  LMMOCKTL_DEMO_EXPORT(DSStartAcquisition);
  LMMOCKTL_DEMO_EXPORT(DSStopAcquisition);
  LMMOCKTL_DEMO_EXPORT(DSGetBufferInfo);
  LMMOCKTL_DEMO_EXPORT(DSFlushQueue);
  LMMOCKTL_DEMO_EXPORT(DSRevokeBuffer);
  LMMOCKTL_DEMO_EXPORT(DSClose);
#undef LMMOCKTL_DEMO_EXPORT

  std::string lastError() const {
    GC_ERROR code = 0;
    size_t size = 0;
    if (GCGetLastError(&code, nullptr, &size) != GC_ERR_SUCCESS) return "(unreadable)";
    std::string text(size, '\0');
    GCGetLastError(&code, text.data(), &size);
    text.resize(size - 1);
    return std::to_string(code) + " \"" + text + "\"";
  }

  // Prints a failed call with the producer's own explanation; true when the call succeeded.
  bool ok(const char* what, GC_ERROR result) const {
    if (result != GC_ERR_SUCCESS) {
      std::printf("%s failed: %s\n", what, lastError().c_str());
    }
    return result == GC_ERR_SUCCESS;
  }
};

// A GenTL text asked for the usual way: the size first, then the text.
template <class Query>
std::string askText(Query query) {
  size_t size = 0;
  if (query(nullptr, &size) != GC_ERR_SUCCESS || size == 0) return "";
  std::string text(size, '\0');
  if (query(text.data(), &size) != GC_ERR_SUCCESS) return "";
  text.resize(size - 1);
  return text;
}

template <class T>
T bufferInfo(const Producer& gentl, DS_HANDLE stream, BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) {
  T value{};
  INFO_DATATYPE type = 0;
  size_t size = sizeof(value);
  gentl.DSGetBufferInfo(stream, buffer, command, &type, &value, &size);
  return value;
}

constexpr int kBuffers = 3;
constexpr int kFrames = 5;
constexpr std::uint64_t kWaitMilliseconds = 1000;

// Opens the first device's first stream, grabs kFrames frames into kBuffers buffers and closes
// everything again. Returns false when a step fails.
bool grabFrames(const Producer& gentl) {
  TL_HANDLE system = nullptr;
  if (!gentl.ok("TLOpen", gentl.TLOpen(&system))) return false;
  gentl.TLUpdateInterfaceList(system, nullptr, 0);
  const std::string ifaceId =
      askText([&](char* text, size_t* size) { return gentl.TLGetInterfaceID(system, 0, text, size); });
  IF_HANDLE iface = nullptr;
  if (!gentl.ok("TLOpenInterface", gentl.TLOpenInterface(system, ifaceId.c_str(), &iface))) return false;
  gentl.IFUpdateDeviceList(iface, nullptr, 0);
  const std::string deviceId =
      askText([&](char* text, size_t* size) { return gentl.IFGetDeviceID(iface, 0, text, size); });
  DEV_HANDLE device = nullptr;
  if (!gentl.ok("IFOpenDevice", gentl.IFOpenDevice(iface, deviceId.c_str(), DEVICE_ACCESS_EXCLUSIVE, &device))) {
    return false;
  }
  const std::string streamId =
      askText([&](char* text, size_t* size) { return gentl.DevGetDataStreamID(device, 0, text, size); });
  DS_HANDLE stream = nullptr;
  if (!gentl.ok("DevOpenDataStream", gentl.DevOpenDataStream(device, streamId.c_str(), &stream))) return false;

  size_t payload = 0;
  INFO_DATATYPE type = 0;
  size_t size = sizeof(payload);
  gentl.DSGetInfo(stream, STREAM_INFO_PAYLOAD_SIZE, &type, &payload, &size);
  std::printf("interface %s, device %s, stream %s: payload %zu bytes\n", ifaceId.c_str(), deviceId.c_str(),
              streamId.c_str(), payload);

  std::vector<BUFFER_HANDLE> buffers(kBuffers);
  for (auto& buffer : buffers) {
    if (!gentl.ok("DSAllocAndAnnounceBuffer", gentl.DSAllocAndAnnounceBuffer(stream, payload, nullptr, &buffer)) ||
        !gentl.ok("DSQueueBuffer", gentl.DSQueueBuffer(stream, buffer))) {
      return false;
    }
  }
  EVENT_HANDLE newBuffer = nullptr;
  if (!gentl.ok("GCRegisterEvent", gentl.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &newBuffer)) ||
      !gentl.ok("DSStartAcquisition", gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, kFrames))) {
    return false;
  }
  bool grabbed = true;
  for (int frame = 0; frame < kFrames && grabbed; ++frame) {
    EVENT_NEW_BUFFER_DATA data{};
    size = sizeof(data);
    grabbed = gentl.ok("EventGetData", gentl.EventGetData(newBuffer, &data, &size, kWaitMilliseconds));
    if (!grabbed) break;
    const auto id = bufferInfo<std::uint64_t>(gentl, stream, data.BufferHandle, BUFFER_INFO_FRAMEID);
    const auto filled = bufferInfo<size_t>(gentl, stream, data.BufferHandle, BUFFER_INFO_SIZE_FILLED);
    const auto timestamp = bufferInfo<std::uint64_t>(gentl, stream, data.BufferHandle, BUFFER_INFO_TIMESTAMP);
    const auto* bytes = bufferInfo<const unsigned char*>(gentl, stream, data.BufferHandle, BUFFER_INFO_BASE);
    // The first 8 bytes carry the frame's timestamp; the image shows from byte 8 on.
    std::printf("frame %" PRIu64 ": %zu bytes, timestamp %" PRIu64 " ns, pixel bytes 8..15:", id, filled, timestamp);
    for (int i = 8; i < 16 && static_cast<size_t>(i) < filled; ++i) std::printf(" %3u", bytes[i]);
    std::printf("\n");
    grabbed = gentl.ok("DSQueueBuffer", gentl.DSQueueBuffer(stream, data.BufferHandle));
  }
  gentl.ok("DSStopAcquisition", gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT));
  gentl.ok("DSFlushQueue", gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD));
  for (BUFFER_HANDLE buffer : buffers)
    gentl.ok("DSRevokeBuffer", gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
  gentl.ok("DSClose", gentl.DSClose(stream));
  gentl.ok("DevClose", gentl.DevClose(device));
  return grabbed;
}

}  // namespace

int main(int argc, char** argv) {
  const char* path = argc > 1 ? argv[1] : "./LmMockTL.cti";
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "cannot load %s: %s\n", path, dlerror());
    return 1;
  }
  Producer gentl{library};
  if (!gentl.complete) return 1;

  std::printf("producer: %s\n", path);
  std::printf("GCInitLib: %d\n", gentl.GCInitLib());
  std::printf("last error: %s\n", gentl.lastError().c_str());
  std::printf("GCInitLib again: %d\n", gentl.GCInitLib());
  std::printf("last error: %s\n", gentl.lastError().c_str());
  const bool grabbed = grabFrames(gentl);
  const GC_ERROR closed = gentl.GCCloseLib();
  std::printf("GCCloseLib: %d\n", closed);
  dlclose(library);
  return grabbed && closed == GC_ERR_SUCCESS ? 0 : 1;
}
