#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "support/ConsumerSession.h"

namespace testing_support {

// Standard error of the whole process (the producer's acquisition threads included) sent to a
// temporary file for the scope, readable at any time while it grows.
class StderrCapture {
 public:
  StderrCapture() : file_(std::tmpfile()) {
    std::fflush(stderr);
    saved_ = ::dup(2);
    ::dup2(::fileno(file_), 2);
  }
  ~StderrCapture() {
    std::fflush(stderr);
    ::dup2(saved_, 2);
    ::close(saved_);
    std::fclose(file_);
  }
  StderrCapture(const StderrCapture&) = delete;
  StderrCapture& operator=(const StderrCapture&) = delete;

  std::string text() const {
    std::fflush(stderr);
    std::string bytes;
    char chunk[4096];
    for (off_t offset = 0;;) {
      const ssize_t count = ::pread(::fileno(file_), chunk, sizeof(chunk), offset);
      if (count <= 0) return bytes;
      bytes.append(chunk, static_cast<std::size_t>(count));
      offset += count;
    }
  }

 private:
  std::FILE* file_;
  int saved_ = -1;
};

// Polls `condition` until it holds or `limit` has passed; the limit is generous, a loaded machine
// only makes the wait longer.
template <class Condition>
bool eventually(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

// A consumer that streams: opens a device's data stream, announces and queues buffers, listens
// for new buffers and reads stream and buffer information, as acquisition frameworks do.
class StreamSession : public ConsumerSession {
 protected:
  // A filled buffer's wait: generous, for a frame period of 40 ms on a busy machine.
  static constexpr std::uint64_t kFrameWait = 5000;

  // The stream `streamId` of `deviceId`, with its system, interface and device open.
  DS_HANDLE openDeviceStream(const char* streamId = "MyStream0", const char* ifaceId = "MyInterface0",
                             const char* deviceId = "MyDevice0") {
    system = openSystem();
    iface = openInterface(system, ifaceId);
    EXPECT_EQ(gentl.IFUpdateDeviceList(iface, nullptr, 0), GC_ERR_SUCCESS);
    device = openDevice(iface, deviceId);
    return openStream(device, streamId);
  }

  template <class T>
  T streamInfo(DS_HANDLE stream, STREAM_INFO_CMD command) {
    T value{};
    INFO_DATATYPE type = 0;
    size_t size = sizeof(value);
    EXPECT_EQ(gentl.DSGetInfo(stream, command, &type, &value, &size), GC_ERR_SUCCESS) << "command " << command;
    return value;
  }

  template <class T>
  T bufferInfo(DS_HANDLE stream, BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) {
    T value{};
    INFO_DATATYPE type = 0;
    size_t size = sizeof(value);
    EXPECT_EQ(gentl.DSGetBufferInfo(stream, buffer, command, &type, &value, &size), GC_ERR_SUCCESS)
        << "command " << command << ": " << producer.lastError().second;
    return value;
  }

  size_t payloadSize(DS_HANDLE stream) { return streamInfo<size_t>(stream, STREAM_INFO_PAYLOAD_SIZE); }

  // `count` buffers that the producer allocates, of `size` bytes or else the stream's payload size,
  // queued unless told.
  std::vector<BUFFER_HANDLE> allocateBuffers(DS_HANDLE stream, int count, bool queue = true, size_t size = 0) {
    std::vector<BUFFER_HANDLE> buffers(count);
    for (auto& buffer : buffers) {
      EXPECT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, size != 0 ? size : payloadSize(stream), nullptr, &buffer),
                GC_ERR_SUCCESS);
      if (queue) {
        EXPECT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
      }
    }
    return buffers;
  }

  EVENT_HANDLE registerNewBuffer(DS_HANDLE stream) {
    EVENT_HANDLE event = nullptr;
    EXPECT_EQ(gentl.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
    return event;
  }

  // What every consumer does before its frames come: `buffers` buffers allocated and queued, the
  // new-buffer event registered and `frames` frames started. Returns the event.
  EVENT_HANDLE startAcquisition(DS_HANDLE stream, std::uint64_t frames = GENTL_INFINITE, int buffers = 3) {
    allocateBuffers(stream, buffers);
    const EVENT_HANDLE event = registerNewBuffer(stream);
    EXPECT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, frames), GC_ERR_SUCCESS)
        << producer.lastError().second;
    return event;
  }

  // The next delivered buffer; fails the test when none comes within the wait.
  BUFFER_HANDLE nextBuffer(EVENT_HANDLE event, std::uint64_t timeout = kFrameWait) {
    EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof(data);
    const GC_ERROR result = gentl.EventGetData(event, &data, &size, timeout);
    EXPECT_EQ(result, GC_ERR_SUCCESS) << producer.lastError().second;
    return result == GC_ERR_SUCCESS ? data.BufferHandle : nullptr;
  }

  // The delivered buffer's memory, as the consumer reads it through BUFFER_INFO_BASE.
  std::vector<std::uint8_t> bufferBytes(DS_HANDLE stream, BUFFER_HANDLE buffer) {
    const auto* base = bufferInfo<const std::uint8_t*>(stream, buffer, BUFFER_INFO_BASE);
    const auto size = bufferInfo<size_t>(stream, buffer, BUFFER_INFO_SIZE);
    return base != nullptr ? std::vector<std::uint8_t>(base, base + size) : std::vector<std::uint8_t>();
  }

  TL_HANDLE system = nullptr;
  IF_HANDLE iface = nullptr;
  DEV_HANDLE device = nullptr;
};

}  // namespace testing_support
