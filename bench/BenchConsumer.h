#pragma once

// The producer as the benchmarks drive it: loaded with dlopen like any consumer loads it, its
// system opened with the benchmark's cameras, and one grabbing data stream at a time re-armed for
// every run.
#include <dlfcn.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "base/GenTL.h"

namespace lmmocktl_bench {

constexpr int kBuffers = 8;
constexpr std::uint32_t kSleepBetweenFramesAddress = 0x60;
constexpr std::uint32_t kTriggerSoftwareAddress = 0x4;

struct Producer {
  void* library = dlopen(LMMOCKTL_CTI_PATH, RTLD_NOW | RTLD_LOCAL);

  template <class Function>
  Function* lookup(const char* name) {
    if (library == nullptr) throw std::runtime_error(std::string("cannot load LmMockTL.cti: ") + dlerror());
    auto* function = reinterpret_cast<Function*>(dlsym(library, name));
    if (function == nullptr) throw std::runtime_error(std::string("export missing: ") + name);
    return function;
  }

#define LMMOCKTL_BENCH_EXPORT(name) decltype(&::name) name = lookup<decltype(::name)>(#name)
  LMMOCKTL_BENCH_EXPORT(GCInitLib);
  LMMOCKTL_BENCH_EXPORT(GCCloseLib);
  LMMOCKTL_BENCH_EXPORT(GCGetLastError);
  LMMOCKTL_BENCH_EXPORT(GCRegisterEvent);
  LMMOCKTL_BENCH_EXPORT(GCUnregisterEvent);
  LMMOCKTL_BENCH_EXPORT(GCWritePort);
  LMMOCKTL_BENCH_EXPORT(EventGetData);
  LMMOCKTL_BENCH_EXPORT(TLOpen);
  LMMOCKTL_BENCH_EXPORT(TLClose);
  LMMOCKTL_BENCH_EXPORT(TLUpdateInterfaceList);
  LMMOCKTL_BENCH_EXPORT(TLOpenInterface);
  LMMOCKTL_BENCH_EXPORT(IFUpdateDeviceList);
  LMMOCKTL_BENCH_EXPORT(IFOpenDevice);
  LMMOCKTL_BENCH_EXPORT(DevGetPort);
  LMMOCKTL_BENCH_EXPORT(DevOpenDataStream);
  LMMOCKTL_BENCH_EXPORT(DSGetInfo);
  LMMOCKTL_BENCH_EXPORT(DSAllocAndAnnounceBuffer);
  LMMOCKTL_BENCH_EXPORT(DSQueueBuffer);
  LMMOCKTL_BENCH_EXPORT(DSStartAcquisition);
  LMMOCKTL_BENCH_EXPORT(DSStopAcquisition);
  LMMOCKTL_BENCH_EXPORT(DSGetBufferInfo);
  LMMOCKTL_BENCH_EXPORT(DSFlushQueue);
  LMMOCKTL_BENCH_EXPORT(DSRevokeBuffer);
  LMMOCKTL_BENCH_EXPORT(DSClose);
#undef LMMOCKTL_BENCH_EXPORT

  // Throws with the producer's own explanation when `result` is a failure.
  void check(GC_ERROR result, const char* what) const {
    if (result == GC_ERR_SUCCESS) return;
    GC_ERROR code = 0;
    char text[512] = "";
    size_t size = sizeof text;
    GCGetLastError(&code, text, &size);
    throw std::runtime_error(std::string(what) + " failed: " + std::to_string(code) + " " + text);
  }
};

// The benchmark's cameras: one device with the two full-HD streams, four devices of four small
// streams for the scaling runs.
constexpr const char* kConfiguration = R"({
  "ID": "StreamBench",
  "Interfaces": [
    {"ID": "Full", "Devices": [{"ID": "Full0", "Streams": [
      {"ID": "Mono8", "PixelFormat": "Mono8", "Width": 1920, "Height": 1080},
      {"ID": "RGB8", "PixelFormat": "RGB8", "Width": 1920, "Height": 1080}]}]},
    {"ID": "Scale", "Devices": [
      {"ID": "Scale0", "Streams": [{"ID": "S00", "Width": 640, "Height": 480}, {"ID": "S01", "Width": 640, "Height": 480},
                                   {"ID": "S02", "Width": 640, "Height": 480}, {"ID": "S03", "Width": 640, "Height": 480}]},
      {"ID": "Scale1", "Streams": [{"ID": "S10", "Width": 640, "Height": 480}, {"ID": "S11", "Width": 640, "Height": 480},
                                   {"ID": "S12", "Width": 640, "Height": 480}, {"ID": "S13", "Width": 640, "Height": 480}]},
      {"ID": "Scale2", "Streams": [{"ID": "S20", "Width": 640, "Height": 480}, {"ID": "S21", "Width": 640, "Height": 480},
                                   {"ID": "S22", "Width": 640, "Height": 480}, {"ID": "S23", "Width": 640, "Height": 480}]},
      {"ID": "Scale3", "Streams": [{"ID": "S30", "Width": 640, "Height": 480}, {"ID": "S31", "Width": 640, "Height": 480},
                                   {"ID": "S32", "Width": 640, "Height": 480}, {"ID": "S33", "Width": 640, "Height": 480}]}]},
    {"ID": "Trig", "Devices": [{"ID": "Trig0", "TriggerMode": "Software", "Streams": [
      {"ID": "T", "Width": 640, "Height": 480}]}]}]
})";

// One open data stream with kBuffers producer-allocated buffers and its new-buffer event. A stream
// opens once per device opening (closing it leaves it open), so each is opened once and re-armed
// for every run.
class Stream {
 public:
  Stream(Producer& gentl, DEV_HANDLE device, const char* id) : gentl_(gentl) {
    gentl_.check(gentl_.DevOpenDataStream(device, id, &stream_), "DevOpenDataStream");
    size_t payload = 0;
    INFO_DATATYPE type = 0;
    size_t size = sizeof payload;
    gentl_.check(gentl_.DSGetInfo(stream_, STREAM_INFO_PAYLOAD_SIZE, &type, &payload, &size), "DSGetInfo");
    payload_ = payload;
    for (BUFFER_HANDLE& buffer : buffers_) {
      gentl_.check(gentl_.DSAllocAndAnnounceBuffer(stream_, payload, nullptr, &buffer), "DSAllocAndAnnounceBuffer");
    }
    gentl_.check(gentl_.GCRegisterEvent(stream_, EVENT_NEW_BUFFER, &event_), "GCRegisterEvent");
  }
  ~Stream() {
    if (grabbing_) gentl_.DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT);
    gentl_.GCUnregisterEvent(stream_, EVENT_NEW_BUFFER);
    gentl_.DSFlushQueue(stream_, ACQ_QUEUE_ALL_DISCARD);
    for (BUFFER_HANDLE buffer : buffers_) gentl_.DSRevokeBuffer(stream_, buffer, nullptr, nullptr);
    gentl_.DSClose(stream_);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  std::size_t payload() const { return payload_; }

  // Empties both queues, queues every buffer and starts grabbing `frames` frames.
  void start(std::uint64_t frames = GENTL_INFINITE) {
    gentl_.check(gentl_.DSFlushQueue(stream_, ACQ_QUEUE_ALL_DISCARD), "DSFlushQueue");
    for (BUFFER_HANDLE buffer : buffers_) gentl_.check(gentl_.DSQueueBuffer(stream_, buffer), "DSQueueBuffer");
    gentl_.check(gentl_.DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, frames), "DSStartAcquisition");
    grabbing_ = true;
  }
  void stop() {
    gentl_.check(gentl_.DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT), "DSStopAcquisition");
    grabbing_ = false;
  }

  // The next delivered buffer, or nullptr when none came within `milliseconds`.
  BUFFER_HANDLE wait(std::uint64_t milliseconds) {
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    return gentl_.EventGetData(event_, &data, &size, milliseconds) == GC_ERR_SUCCESS ? data.BufferHandle : nullptr;
  }
  void requeue(BUFFER_HANDLE buffer) { gentl_.check(gentl_.DSQueueBuffer(stream_, buffer), "DSQueueBuffer"); }
  std::uint64_t timestampNs(BUFFER_HANDLE buffer) {
    std::uint64_t value = 0;
    INFO_DATATYPE type = 0;
    size_t size = sizeof value;
    gentl_.check(gentl_.DSGetBufferInfo(stream_, buffer, BUFFER_INFO_TIMESTAMP_NS, &type, &value, &size),
                 "DSGetBufferInfo");
    return value;
  }

 private:
  Producer& gentl_;
  DS_HANDLE stream_ = nullptr;
  EVENT_HANDLE event_ = nullptr;
  BUFFER_HANDLE buffers_[kBuffers] = {};
  std::size_t payload_ = 0;
  bool grabbing_ = false;
};

// The producer's system with its devices opened on first use and kept open.
class Cameras {
 public:
  explicit Cameras(Producer& gentl) : gentl_(gentl) {
    gentl_.check(gentl_.GCInitLib(), "GCInitLib");
    gentl_.check(gentl_.TLOpen(&system_), "TLOpen");
    gentl_.check(gentl_.TLUpdateInterfaceList(system_, nullptr, 0), "TLUpdateInterfaceList");
  }
  ~Cameras() {
    streams_.clear();
    gentl_.GCCloseLib();
  }
  Cameras(const Cameras&) = delete;
  Cameras& operator=(const Cameras&) = delete;

  DEV_HANDLE device(const std::string& ifaceId, const std::string& deviceId) {
    IF_HANDLE& iface = interfaces_[ifaceId];
    if (iface == nullptr) {
      gentl_.check(gentl_.TLOpenInterface(system_, ifaceId.c_str(), &iface), "TLOpenInterface");
      gentl_.check(gentl_.IFUpdateDeviceList(iface, nullptr, 0), "IFUpdateDeviceList");
    }
    DEV_HANDLE& device = devices_[deviceId];
    if (device == nullptr) {
      gentl_.check(gentl_.IFOpenDevice(iface, deviceId.c_str(), DEVICE_ACCESS_EXCLUSIVE, &device), "IFOpenDevice");
    }
    return device;
  }

  // The stream `streamId` of the device, opened with its buffers on first use.
  Stream& stream(const std::string& ifaceId, const std::string& deviceId, const std::string& streamId) {
    std::unique_ptr<Stream>& stream = streams_[deviceId + "/" + streamId];
    if (stream == nullptr) stream = std::make_unique<Stream>(gentl_, device(ifaceId, deviceId), streamId.c_str());
    return *stream;
  }

  // Executes the device's TriggerSoftware command.
  void trigger(DEV_HANDLE device) {
    PORT_HANDLE port = nullptr;
    gentl_.check(gentl_.DevGetPort(device, &port), "DevGetPort");
    std::uint32_t execute = 0;
    size_t size = sizeof execute;
    gentl_.check(gentl_.GCWritePort(port, kTriggerSoftwareAddress, &execute, &size), "GCWritePort");
  }

  // The device's frame period (SleepBetweenFrames), taken by its streams at their next start.
  void setFramePeriod(DEV_HANDLE device, std::uint32_t nanoseconds) {
    PORT_HANDLE port = nullptr;
    gentl_.check(gentl_.DevGetPort(device, &port), "DevGetPort");
    size_t size = sizeof nanoseconds;
    gentl_.check(gentl_.GCWritePort(port, kSleepBetweenFramesAddress, &nanoseconds, &size), "GCWritePort");
  }

 private:
  Producer& gentl_;
  TL_HANDLE system_ = nullptr;
  std::map<std::string, IF_HANDLE> interfaces_;
  std::map<std::string, DEV_HANDLE> devices_;
  std::map<std::string, std::unique_ptr<Stream>> streams_;
};

}  // namespace lmmocktl_bench
