// Faults a stream injects on request, as a consumer meets them through the exports: incomplete
// frames, lost frames and device errors, each on every N-th frame counted from 1 at the start.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "support/ScopedEnvironment.h"
#include "support/StreamSession.h"

namespace {

using testing_support::ScopedVariable;
using testing_support::StreamSession;
using testing_support::TemporaryDirectory;

class InjectedFaults : public StreamSession {
 protected:
  // One unpaced 16 x 4 Mono8 stream with `faults` as further members of its entry.
  DS_HANDLE open(const std::string& faults) {
    const std::string text = R"({"Interfaces": [{"ID": "I", "Devices": [{"ID": "Cam", "Streams": [)"
                             R"({"ID": "S", "Width": 16, "Height": 4, )" +
                             faults + "}]}]}]}";
    config.emplace("LMMOCKTL_CONFIG", directory.write("faults.json", text).string());
    const DS_HANDLE stream = openDeviceStream("S", "I", "Cam");
    PORT_HANDLE port = nullptr;
    EXPECT_EQ(gentl.DevGetPort(device, &port), GC_ERR_SUCCESS);
    std::uint32_t unpaced = 0;
    size_t size = sizeof(unpaced);
    EXPECT_EQ(gentl.GCWritePort(port, 0x60, &unpaced, &size), GC_ERR_SUCCESS);
    return stream;
  }

  struct Frame {
    std::uint64_t id;
    bool incomplete;
    size_t filled;
    std::vector<std::uint8_t> bytes;
  };
  // Acquires `frames` frames into three buffers painted 0xAB, so that what a fill leaves
  // untouched shows.
  EVENT_HANDLE startPainted(DS_HANDLE stream, std::uint64_t frames) {
    for (const BUFFER_HANDLE buffer : allocateBuffers(stream, 3, false)) {
      paint(stream, buffer);
      EXPECT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
    }
    const EVENT_HANDLE event = registerNewBuffer(stream);
    EXPECT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, frames), GC_ERR_SUCCESS);
    return event;
  }
  void paint(DS_HANDLE stream, BUFFER_HANDLE buffer) {
    auto* base = bufferInfo<std::uint8_t*>(stream, buffer, BUFFER_INFO_BASE);
    std::fill(base, base + bufferInfo<size_t>(stream, buffer, BUFFER_INFO_SIZE), std::uint8_t{0xAB});
  }
  // The next frame; its buffer goes back painted again.
  Frame next(DS_HANDLE stream, EVENT_HANDLE event) {
    const BUFFER_HANDLE buffer = nextBuffer(event);
    Frame frame{bufferInfo<std::uint64_t>(stream, buffer, BUFFER_INFO_FRAMEID),
                bufferInfo<bool8_t>(stream, buffer, BUFFER_INFO_IS_INCOMPLETE) != 0,
                bufferInfo<size_t>(stream, buffer, BUFFER_INFO_SIZE_FILLED), bufferBytes(stream, buffer)};
    paint(stream, buffer);
    EXPECT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
    return frame;
  }

  TemporaryDirectory directory;
  std::optional<ScopedVariable> config;
};

// Faults caught: the wrong frames marked, a complete frame reporting less than its payload, an
// incomplete one whose tail is written anyway or that keeps the mark on its next fill.
TEST_F(InjectedFaults, EveryNthFrameArrivesIncompleteWithItsTailUntouched) {
  const DS_HANDLE stream = open(R"("IncompleteFrameEvery": 3)");
  const size_t payload = payloadSize(stream);
  const EVENT_HANDLE event = startPainted(stream, 7);
  for (std::uint64_t id = 0; id < 7; ++id) {
    const Frame frame = next(stream, event);
    EXPECT_EQ(frame.id, id);
    const bool third = (id + 1) % 3 == 0;
    EXPECT_EQ(frame.incomplete, third) << "frame id " << id;
    if (!third) {
      EXPECT_EQ(frame.filled, payload);
      continue;
    }
    EXPECT_EQ(frame.filled, payload / 2);
    EXPECT_TRUE(std::all_of(frame.bytes.begin() + frame.filled, frame.bytes.end(), [](auto b) { return b == 0xAB; }));
    EXPECT_FALSE(
        std::all_of(frame.bytes.begin(), frame.bytes.begin() + frame.filled, [](auto b) { return b == 0xAB; }));
  }
}

// Faults caught: a lost frame that keeps its id (no gap), that swallows a buffer, or that counts
// towards the frames the consumer asked for.
TEST_F(InjectedFaults, EveryNthFrameIsLostLeavingAGapInTheFrameIds) {
  const DS_HANDLE stream = open(R"("LostFrameEvery": 2)");
  const EVENT_HANDLE event = startPainted(stream, 4);
  for (const std::uint64_t id : {0u, 2u, 4u, 6u}) {
    EXPECT_EQ(next(stream, event).id, id);
  }
}

// Faults caught: no error item, one on the wrong frames, or an error that takes the frame with it.
TEST_F(InjectedFaults, EveryNthFrameAlsoReportsADeviceErrorOnTheStreamsErrorEvent) {
  const DS_HANDLE stream = open(R"("ErrorEventEvery": 2)");
  EVENT_HANDLE errors = nullptr;
  ASSERT_EQ(gentl.GCRegisterEvent(stream, EVENT_ERROR, &errors), GC_ERR_SUCCESS);
  const EVENT_HANDLE event = startPainted(stream, 4);
  for (std::uint64_t id = 0; id < 4; ++id) EXPECT_EQ(next(stream, event).id, id);
  for (const char* text : {"Device error injected at frame id 1", "Device error injected at frame id 3"}) {
    char data[256] = {};
    size_t size = sizeof(data);
    ASSERT_EQ(gentl.EventGetData(errors, data, &size, kFrameWait), GC_ERR_SUCCESS);
    GC_ERROR code = 0;
    std::memcpy(&code, data, sizeof(code));
    EXPECT_EQ(code, GC_ERR_ERROR);
    EXPECT_STREQ(data + sizeof(code), text);
  }
  char data[256] = {};
  size_t size = sizeof(data);
  EXPECT_EQ(gentl.EventGetData(errors, data, &size, 0), GC_ERR_TIMEOUT);
}

}  // namespace
