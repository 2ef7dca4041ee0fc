#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/CameraRegisters.h"
#include "support/StreamSession.h"

namespace testing_support {

// A consumer of the camera and its GenDC streams: it drives the camera's features through the
// device port, reads a stream's flows, flow table and descriptor, announces composite buffers of one
// segment per flow and reads the segments of delivered buffers.
class FlowSession : public StreamSession {
 protected:
  // The camera of the open device, paced at 2 ms a frame so that tests do not wait.
  void openCamera() {
    ASSERT_EQ(gentl.DevGetPort(device, &camera), GC_ERR_SUCCESS) << producer.lastError().second;
    ASSERT_EQ(writeCamera(camera::kSleepBetweenFrames, std::uint32_t{2000000}), GC_ERR_SUCCESS);
  }

  template <class T = std::uint32_t>
  T readCamera(std::uint64_t address) {
    T value{};
    size_t size = sizeof(value);
    EXPECT_EQ(gentl.GCReadPort(camera, address, &value, &size), GC_ERR_SUCCESS)
        << address << ": " << producer.lastError().second;
    return value;
  }
  template <class T = std::uint32_t>
  GC_ERROR writeCamera(std::uint64_t address, T value) {
    size_t size = sizeof(value);
    return gentl.GCWritePort(camera, address, &value, &size);
  }
  // `length` bytes of a raw register read into a buffer of 0xEE bytes.
  std::vector<std::uint8_t> readCameraBytes(std::uint64_t address, size_t length) {
    std::vector<std::uint8_t> bytes(length, 0xEE);
    EXPECT_EQ(gentl.GCReadPort(camera, address, bytes.data(), &length), GC_ERR_SUCCESS) << producer.lastError().second;
    return bytes;
  }
  // A string register; the text ends at the first zero byte.
  std::string readCameraText(std::uint64_t address, size_t length = 64) {
    const auto bytes = readCameraBytes(address, length);
    const std::string text(bytes.begin(), bytes.end());
    return text.substr(0, text.find('\0'));
  }

  // A stream's flow table or prefetch descriptor, asked for its size first as consumers do.
  std::vector<std::uint8_t> streamBytes(DS_HANDLE stream, STREAM_INFO_CMD command) {
    INFO_DATATYPE type = 0;
    size_t size = 0;
    EXPECT_EQ(gentl.DSGetInfo(stream, command, &type, nullptr, &size), GC_ERR_SUCCESS) << producer.lastError().second;
    std::vector<std::uint8_t> bytes(size);
    EXPECT_EQ(gentl.DSGetInfo(stream, command, &type, bytes.data(), &size), GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_BUFFER);
    return bytes;
  }

  std::vector<std::uint64_t> flowSizes(DS_HANDLE stream) {
    uint32_t count = 0;
    EXPECT_EQ(gentl.DSGetNumFlows(stream, &count), GC_ERR_SUCCESS);
    std::vector<std::uint64_t> sizes;
    for (uint32_t flow = 0; flow < count; ++flow) {
      size_t value = 0;
      size_t size = sizeof(value);
      INFO_DATATYPE type = 0;
      EXPECT_EQ(gentl.DSGetFlowInfo(stream, flow, FLOW_INFO_SIZE, &type, &value, &size), GC_ERR_SUCCESS);
      EXPECT_EQ(type, INFO_DATATYPE_SIZET);
      sizes.push_back(value);
    }
    return sizes;
  }

  // `count` composite buffers of one 0xEE-filled segment per entry of `sizes`, queued.
  void announceComposite(DS_HANDLE stream, const std::vector<std::uint64_t>& sizes, int count) {
    for (int b = 0; b < count; ++b) {
      std::vector<void*> segments;
      std::vector<size_t> segmentSizes;
      for (const auto size : sizes) {
        memory.emplace_back(size, 0xEE);
        segments.push_back(memory.back().data());
        segmentSizes.push_back(size);
      }
      BUFFER_HANDLE buffer = nullptr;
      ASSERT_EQ(gentl.DSAnnounceCompositeBuffer(stream, segments.size(), segments.data(), segmentSizes.data(), nullptr,
                                                &buffer),
                GC_ERR_SUCCESS)
          << producer.lastError().second;
      ASSERT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
    }
  }

  std::vector<std::uint8_t> segmentBytes(DS_HANDLE stream, BUFFER_HANDLE buffer, uint32_t segment) {
    const std::uint8_t* base = nullptr;
    size_t size = 0;
    INFO_DATATYPE type = 0;
    size_t width = sizeof(base);
    EXPECT_EQ(gentl.DSGetBufferSegmentInfo(stream, buffer, segment, SEGMENT_INFO_BASE, &type, &base, &width),
              GC_ERR_SUCCESS);
    width = sizeof(size);
    EXPECT_EQ(gentl.DSGetBufferSegmentInfo(stream, buffer, segment, SEGMENT_INFO_SIZE, &type, &size, &width),
              GC_ERR_SUCCESS);
    return base != nullptr ? std::vector<std::uint8_t>(base, base + size) : std::vector<std::uint8_t>();
  }

  EVENT_HANDLE registerErrorEvent(DS_HANDLE stream) {
    EVENT_HANDLE errors = nullptr;
    EXPECT_EQ(gentl.GCRegisterEvent(stream, EVENT_ERROR, &errors), GC_ERR_SUCCESS);
    return errors;
  }
  // The text of the next item of a registered error event: what a fill that failed reports.
  std::string nextErrorText(EVENT_HANDLE errors) {
    char item[256] = {};
    size_t size = sizeof(item);
    EXPECT_EQ(gentl.EventGetData(errors, item, &size, kFrameWait), GC_ERR_SUCCESS);
    return item + 4;
  }

  PORT_HANDLE camera = nullptr;
  // Segment memory of the composite buffers, kept for the session.
  std::vector<std::vector<std::uint8_t>> memory;
};

}  // namespace testing_support
