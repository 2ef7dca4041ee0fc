// Whole acquisitions through the built LmMockTL.cti, as consumers run them: buffers announced and
// queued, the new-buffer event registered, frames received, inspected and requeued, the queues
// flushed, acquisition stopped and the device closed while frames flow.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/LittleEndian.h"
#include "support/StreamSession.h"

namespace {

using lumo::mockTL::GenDc::test::readField;
using testing_support::eventually;
using testing_support::ScopedVariable;
using testing_support::StderrCapture;
using testing_support::StreamSession;
using testing_support::TemporaryDirectory;

// Pixel bytes the generator writes start after the timestamp in the first 8 bytes.
constexpr size_t kTimestampBytes = 8;

class Acquisition : public StreamSession {
 protected:
  GC_ERROR start(DS_HANDLE stream, uint64_t frames = GENTL_INFINITE) {
    return gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, frames);
  }
  bool isGrabbing(DS_HANDLE stream) { return streamInfo<bool8_t>(stream, STREAM_INFO_IS_GRABBING) != 0; }
};

TEST_F(Acquisition, ConsumerCycleDeliversDenseFrameIdsAndCountsEveryFrame) {
  const DS_HANDLE stream = openDeviceStream();
  const EVENT_HANDLE event = startAcquisition(stream, 6);
  uint64_t previousTimestamp = 0;
  for (uint64_t frame = 0; frame < 6; ++frame) {
    const BUFFER_HANDLE buffer = nextBuffer(event);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(bufferInfo<uint64_t>(stream, buffer, BUFFER_INFO_FRAMEID), frame);
    // Stamped per frame (a buffer left at 0 or at its previous stamp is the fault).
    const auto timestamp = bufferInfo<uint64_t>(stream, buffer, BUFFER_INFO_TIMESTAMP_NS);
    EXPECT_GT(timestamp, previousTimestamp) << "frame " << frame;
    previousTimestamp = timestamp;
    EXPECT_EQ(bufferInfo<bool8_t>(stream, buffer, BUFFER_INFO_NEW_DATA), 1);
    EXPECT_EQ(bufferInfo<bool8_t>(stream, buffer, BUFFER_INFO_IS_QUEUED), 0) << "taken from the event";
    EXPECT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
  }
  // The requested frames are out: no seventh comes, and the stream counts as grabbing until stopped.
  EVENT_NEW_BUFFER_DATA data{};
  size_t size = sizeof(data);
  EXPECT_EQ(gentl.EventGetData(event, &data, &size, 300), GC_ERR_TIMEOUT);
  EXPECT_TRUE(isGrabbing(stream));
  EXPECT_EQ(start(stream), GC_ERR_RESOURCE_IN_USE);
  EXPECT_EQ(streamInfo<uint64_t>(stream, STREAM_INFO_NUM_DELIVERED), 6u);
  EXPECT_EQ(streamInfo<uint64_t>(stream, STREAM_INFO_NUM_STARTED), 6u);
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_QUEUED), 3u);
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_AWAIT_DELIVERY), 0u);

  ASSERT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  EXPECT_FALSE(isGrabbing(stream));
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_KILL), GC_ERR_RESOURCE_IN_USE);

  // A second run starts its frame ids again; the started count goes on.
  ASSERT_EQ(start(stream, 2), GC_ERR_SUCCESS);
  EXPECT_EQ(bufferInfo<uint64_t>(stream, nextBuffer(event), BUFFER_INFO_FRAMEID), 0u);
  EXPECT_EQ(bufferInfo<uint64_t>(stream, nextBuffer(event), BUFFER_INFO_FRAMEID), 1u);
  EXPECT_EQ(streamInfo<uint64_t>(stream, STREAM_INFO_NUM_STARTED), 8u);
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

TEST_F(Acquisition, StopFlagsOtherThanDefaultAndKillLeaveTheAcquisitionRunning) {
  const DS_HANDLE stream = openDeviceStream();
  allocateBuffers(stream, 3);
  ASSERT_EQ(start(stream), GC_ERR_SUCCESS);
  EXPECT_EQ(gentl.DSStopAcquisition(stream, 7), GC_ERR_SUCCESS);
  EXPECT_TRUE(isGrabbing(stream));
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_KILL), GC_ERR_SUCCESS);
  EXPECT_FALSE(isGrabbing(stream));
}

TEST_F(Acquisition, RequeuingClearsTheFrameOfTheLastFill) {
  const DS_HANDLE stream = openDeviceStream();
  const EVENT_HANDLE event = startAcquisition(stream, 1);
  const BUFFER_HANDLE buffer = nextBuffer(event);
  EXPECT_EQ(bufferInfo<uint64_t>(stream, buffer, BUFFER_INFO_FRAMEID), 0u);
  EXPECT_EQ(bufferInfo<bool8_t>(stream, buffer, BUFFER_INFO_IMAGEPRESENT), 1);
  ASSERT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
  uint64_t frameId = 0;
  INFO_DATATYPE type = 0;
  size_t size = sizeof(frameId);
  EXPECT_EQ(gentl.DSGetBufferInfo(stream, buffer, BUFFER_INFO_FRAMEID, &type, &frameId, &size), GC_ERR_NOT_AVAILABLE);
  EXPECT_EQ(bufferInfo<bool8_t>(stream, buffer, BUFFER_INFO_IMAGEPRESENT), 0);
}

// --- Delivered pixels, one stream per family of the image writers, shaped by a configuration file.

struct FamilyCase {
  const char* stream;
  uint64_t pixelFormat;
  size_t payload;
  size_t xPadding, yPadding;  // in bytes
  // Checks the frame's bytes after the timestamp; returns the first offset that is wrong, or -1.
  std::function<long(const std::vector<uint8_t>&)> firstWrongByte;
};

constexpr const char* kFamiliesConfiguration = R"({
  "Interfaces": [{"ID": "Bench", "Devices": [{"ID": "Cam", "Streams": [
    {"ID": "Mono8Padded", "PixelFormat": "Mono8", "Width": 64, "Height": 8,
     "PaddingMode": 1, "PaddingPixelCountX": 4, "PaddingLineCountY": 2},
    {"ID": "Mono16", "PixelFormat": "Mono16", "Width": 48, "Height": 4},
    {"ID": "Mono12p", "PixelFormat": "Mono12p", "Width": 32, "Height": 4},
    {"ID": "RGB8", "PixelFormat": "RGB8", "Width": 16, "Height": 4}]}]}]})";

long firstMismatch(const std::vector<uint8_t>& bytes, const std::function<uint8_t(size_t)>& expected) {
  for (size_t offset = kTimestampBytes; offset < bytes.size(); ++offset) {
    if (bytes[offset] != expected(offset)) return static_cast<long>(offset);
  }
  return -1;
}

// Mono8, 64 × 8 with 4 padding pixels per line and 2 padding lines: the ramp (x + y), zeros around.
long mono8Padded(const std::vector<uint8_t>& bytes) {
  return firstMismatch(bytes, [](size_t offset) {
    const size_t x = offset % 68, y = offset / 68;
    return static_cast<uint8_t>(x < 64 && y < 8 ? x + y : 0);
  });
}

// Mono16, 48 × 4: the unshifted ramp, little-endian.
long mono16(const std::vector<uint8_t>& bytes) {
  return firstMismatch(bytes, [](size_t offset) {
    const size_t sample = offset / 2, value = sample % 48 + sample / 48;
    return static_cast<uint8_t>(offset % 2 == 0 ? value : value >> 8);
  });
}

// Mono12p, 32 × 4: the ramp shifted by 4, two samples in three bytes, little-endian.
long mono12p(const std::vector<uint8_t>& bytes) {
  return firstMismatch(bytes, [](size_t offset) {
    const size_t group = offset / 3, first = 2 * group, second = first + 1;
    const uint32_t packed = ((first % 32 + first / 32) << 4) | (((second % 32 + second / 32) << 4) << 12);
    return static_cast<uint8_t>(packed >> (8 * (offset % 3)));
  });
}

// RGB8, 16 × 4: the constant colour.
long rgb8(const std::vector<uint8_t>& bytes) {
  return firstMismatch(bytes, [](size_t offset) { return std::array<uint8_t, 3>{55, 161, 102}[offset % 3]; });
}

class PixelFamily : public Acquisition, public ::testing::WithParamInterface<FamilyCase> {
 protected:
  TemporaryDirectory directory;
};

TEST_P(PixelFamily, DeliversTheGeneratedImageBehindTheTimestamp) {
  ScopedVariable config("LMMOCKTL_CONFIG", directory.write("families.json", kFamiliesConfiguration).string());
  const FamilyCase& family = GetParam();
  const DS_HANDLE stream = openDeviceStream(family.stream, "Bench", "Cam");
  ASSERT_EQ(payloadSize(stream), family.payload);
  const EVENT_HANDLE event = startAcquisition(stream, 2);
  const BUFFER_HANDLE first = nextBuffer(event);
  const BUFFER_HANDLE second = nextBuffer(event);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(bufferInfo<uint64_t>(stream, first, BUFFER_INFO_PIXELFORMAT), family.pixelFormat);
  EXPECT_EQ(bufferInfo<size_t>(stream, first, BUFFER_INFO_XPADDING), family.xPadding);
  if (family.yPadding != 0) {
    EXPECT_EQ(bufferInfo<size_t>(stream, first, BUFFER_INFO_YPADDING), family.yPadding);
  }

  const auto frame = bufferBytes(stream, first);
  ASSERT_EQ(frame.size(), family.payload);
  EXPECT_EQ(family.firstWrongByte(frame), -1);
  EXPECT_EQ(readField(frame, 0, kTimestampBytes), bufferInfo<uint64_t>(stream, first, BUFFER_INFO_TIMESTAMP));
  EXPECT_EQ(bufferInfo<uint64_t>(stream, first, BUFFER_INFO_TIMESTAMP_NS),
            bufferInfo<uint64_t>(stream, first, BUFFER_INFO_TIMESTAMP));
  const auto next = bufferBytes(stream, second);
  EXPECT_TRUE(std::equal(frame.begin() + kTimestampBytes, frame.end(), next.begin() + kTimestampBytes))
      << "every frame of a generated stream is the same image";
  EXPECT_GE(readField(next, 0, kTimestampBytes), readField(frame, 0, kTimestampBytes));
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

INSTANTIATE_TEST_SUITE_P(OnePerFamily, PixelFamily,
                         ::testing::Values(FamilyCase{"Mono8Padded", 0x01080001, 68 * 10, 4, 2 * 68, mono8Padded},
                                           FamilyCase{"Mono16", 0x01100007, 48 * 4 * 2, 0, 0, mono16},
                                           FamilyCase{"Mono12p", 0x010C0047, 32 * 4 * 12 / 8, 0, 0, mono12p},
                                           FamilyCase{"RGB8", 0x02180014, 16 * 4 * 3, 0, 0, rgb8}),
                         [](const auto& info) { return std::string(info.param.stream); });

// --- Underrun: three buffers that the consumer never gives back. ---

TEST_F(Acquisition, UnderrunWarnsOnStandardErrorAndRetriesTheSameFrame) {
  StderrCapture capture;
  const DS_HANDLE stream = openDeviceStream();
  const EVENT_HANDLE event = startAcquisition(stream, 5);
  for (uint64_t frame = 0; frame < 3; ++frame) {
    EXPECT_EQ(bufferInfo<uint64_t>(stream, nextBuffer(event), BUFFER_INFO_FRAMEID), frame);
  }
  const std::string warning = "Warning: buffer underrun at frame ";
  EXPECT_TRUE(eventually([&] { return capture.text().find(warning + "3\n") != std::string::npos; }));
  EXPECT_EQ(streamInfo<uint64_t>(stream, STREAM_INFO_NUM_UNDERRUN), 0u) << "underruns are never counted";
  EXPECT_EQ(streamInfo<uint64_t>(stream, STREAM_INFO_NUM_STARTED), 3u);
  ASSERT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);

  const std::string text = capture.text();
  size_t warnings = 0, atFrame3 = 0;
  for (size_t at = text.find(warning); at != std::string::npos; at = text.find(warning, at + 1)) {
    ++warnings;
    atFrame3 += text.compare(at, warning.size() + 2, warning + "3\n") == 0 ? 1 : 0;
  }
  EXPECT_GE(warnings, 1u);
  EXPECT_EQ(atFrame3, warnings) << "every underrun retries frame 3:\n" << text;
}

// --- Flushing the queues. ---

class Flush : public Acquisition {
 protected:
  bool isQueued(DS_HANDLE stream, BUFFER_HANDLE buffer) {
    return bufferInfo<bool8_t>(stream, buffer, BUFFER_INFO_IS_QUEUED) != 0;
  }
  BUFFER_HANDLE bufferAt(DS_HANDLE stream, uint32_t index) {
    BUFFER_HANDLE buffer = nullptr;
    EXPECT_EQ(gentl.DSGetBufferID(stream, index, &buffer), GC_ERR_SUCCESS);
    return buffer;
  }
};

TEST_F(Flush, InputToOutputHandsBackTheQueuedBuffersUnfilledAndStillQueued) {
  const DS_HANDLE stream = openDeviceStream();
  const auto buffers = allocateBuffers(stream, 3);
  const EVENT_HANDLE event = registerNewBuffer(stream);
  ASSERT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_QUEUED), 0u);
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_AWAIT_DELIVERY), 3u);
  EXPECT_TRUE(isQueued(stream, buffers[2]));
  EXPECT_EQ(gentl.DSQueueBuffer(stream, buffers[2]), GC_ERR_INVALID_BUFFER) << "not taken from the event yet";
  for (BUFFER_HANDLE buffer : buffers) {
    EXPECT_EQ(nextBuffer(event, 0), buffer) << "in the order they were queued";
    EXPECT_FALSE(isQueued(stream, buffer));
    EXPECT_EQ(bufferInfo<bool8_t>(stream, buffer, BUFFER_INFO_NEW_DATA), 0);
  }
}

TEST_F(Flush, OutputDiscardFreesTheDiscardedBuffersForQueuing) {
  const DS_HANDLE stream = openDeviceStream();
  const auto buffers = allocateBuffers(stream, 3);
  const EVENT_HANDLE event = registerNewBuffer(stream);
  ASSERT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
  ASSERT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_OUTPUT_DISCARD), GC_ERR_SUCCESS);
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_AWAIT_DELIVERY), 0u);
  EVENT_NEW_BUFFER_DATA data{};
  size_t size = sizeof(data);
  EXPECT_EQ(gentl.EventGetData(event, &data, &size, 0), GC_ERR_TIMEOUT);
  for (BUFFER_HANDLE buffer : buffers) EXPECT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
}

TEST_F(Flush, AllToInputQueuesTheUnqueuedBuffersBehindTheQueuedOnes) {
  const DS_HANDLE stream = openDeviceStream();
  const auto buffers = allocateBuffers(stream, 4, false);
  const EVENT_HANDLE event = registerNewBuffer(stream);
  ASSERT_EQ(gentl.DSQueueBuffer(stream, buffers[1]), GC_ERR_SUCCESS);
  ASSERT_EQ(gentl.DSQueueBuffer(stream, buffers[0]), GC_ERR_SUCCESS);
  ASSERT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_QUEUED), 4u);

  // The added ones follow in index order; the input-to-output flush shows the queue's order.
  std::vector<BUFFER_HANDLE> expected{buffers[1], buffers[0]};
  for (uint32_t index = 0; index < 4; ++index) {
    const BUFFER_HANDLE buffer = bufferAt(stream, index);
    if (buffer == buffers[2] || buffer == buffers[3]) expected.push_back(buffer);
  }
  ASSERT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
  for (BUFFER_HANDLE buffer : expected) EXPECT_EQ(nextBuffer(event, 0), buffer);
}

TEST_F(Flush, AllToInputStopsTheAcquisitionAndRequeuesDeliveredBuffers) {
  const DS_HANDLE stream = openDeviceStream();
  const EVENT_HANDLE event = startAcquisition(stream);
  ASSERT_NE(nextBuffer(event), nullptr);  // taken and kept by the consumer
  ASSERT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
  EXPECT_FALSE(isGrabbing(stream));
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_QUEUED), 3u);
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_AWAIT_DELIVERY), 0u);
}

TEST_F(Flush, UnqueuedToInputMarksOnlyTheFirstUnqueuedBufferAndRefuses) {
  const DS_HANDLE stream = openDeviceStream();
  allocateBuffers(stream, 3, false);
  EXPECT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_UNQUEUED_TO_INPUT), GC_ERR_INVALID_BUFFER);
  expectLastError(GC_ERR_INVALID_BUFFER, "Buffer is already queued");
  EXPECT_TRUE(isQueued(stream, bufferAt(stream, 0)));
  EXPECT_FALSE(isQueued(stream, bufferAt(stream, 1)));
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_QUEUED), 0u) << "marked, but not in the input queue";
  EXPECT_EQ(gentl.DSQueueBuffer(stream, bufferAt(stream, 0)), GC_ERR_INVALID_BUFFER);

  // Only discarding everything frees it again.
  ASSERT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
  for (uint32_t index = 0; index < 3; ++index) {
    EXPECT_EQ(gentl.DSQueueBuffer(stream, bufferAt(stream, index)), GC_ERR_SUCCESS);
  }
  EXPECT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_UNQUEUED_TO_INPUT), GC_ERR_SUCCESS) << "nothing left to mark";
}

TEST_F(Flush, AllDiscardStopsAndLeavesNoBufferQueuedAnywhere) {
  const DS_HANDLE stream = openDeviceStream();
  const auto buffers = allocateBuffers(stream, 3);
  registerNewBuffer(stream);
  ASSERT_EQ(start(stream), GC_ERR_SUCCESS);
  ASSERT_TRUE(eventually([&] { return streamInfo<size_t>(stream, STREAM_INFO_NUM_AWAIT_DELIVERY) > 0; }));
  ASSERT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
  EXPECT_FALSE(isGrabbing(stream));
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_QUEUED), 0u);
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_AWAIT_DELIVERY), 0u);
  for (BUFFER_HANDLE buffer : buffers) {
    EXPECT_FALSE(isQueued(stream, buffer));
    EXPECT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
  }
}

// --- Announcing memory of the consumer's own. ---

TEST_F(Acquisition, AnnouncedMemoryIsFilledAndRevokingHandsBackHandleAndPrivatePointer) {
  const DS_HANDLE stream = openDeviceStream();
  const size_t payload = payloadSize(stream);
  std::vector<std::vector<uint8_t>> memory(3, std::vector<uint8_t>(payload, 0xEE));
  int tags[3] = {};
  std::vector<BUFFER_HANDLE> buffers(3);
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(gentl.DSAnnounceBuffer(stream, memory[i].data(), payload, &tags[i], &buffers[i]), GC_ERR_SUCCESS);
  }
  BUFFER_HANDLE again = nullptr;
  EXPECT_EQ(gentl.DSAnnounceBuffer(stream, memory[0].data(), payload, nullptr, &again), GC_ERR_RESOURCE_IN_USE);
  expectLastError(GC_ERR_RESOURCE_IN_USE, "data pointer is known");
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_ANNOUNCED), 3u);

  ASSERT_EQ(gentl.DSQueueBuffer(stream, buffers[0]), GC_ERR_SUCCESS);
  ASSERT_EQ(gentl.DSQueueBuffer(stream, buffers[1]), GC_ERR_SUCCESS);
  EVENT_HANDLE event = registerNewBuffer(stream);
  ASSERT_EQ(start(stream, 1), GC_ERR_SUCCESS);
  EVENT_NEW_BUFFER_DATA data{};
  size_t size = sizeof(data);
  ASSERT_EQ(gentl.EventGetData(event, &data, &size, kFrameWait), GC_ERR_SUCCESS);
  EXPECT_EQ(data.BufferHandle, buffers[0]);
  EXPECT_EQ(data.pUserPointer, &tags[0]);
  EXPECT_EQ(memory[0][kTimestampBytes], kTimestampBytes) << "the ramp at (8, 0)";
  EXPECT_EQ(memory[0][1920 + 9], 10) << "the ramp at (9, 1)";
  ASSERT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);

  void* handedBack = nullptr;
  void* privatePointer = nullptr;
  ASSERT_EQ(gentl.DSRevokeBuffer(stream, buffers[0], &handedBack, &privatePointer), GC_ERR_SUCCESS);
  EXPECT_EQ(handedBack, buffers[0]) << "the buffer's handle, not the memory";
  EXPECT_EQ(privatePointer, &tags[0]);
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_ANNOUNCED), 2u);
  // Nothing holds the revoked buffer any more: its handle is gone with it.
  EXPECT_EQ(gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr), GC_ERR_INVALID_HANDLE);
  expectLastError(GC_ERR_INVALID_HANDLE, "handle is unknown");

  // A queued buffer may be revoked; the input queue keeps it until it leaves.
  ASSERT_EQ(gentl.DSRevokeBuffer(stream, buffers[1], nullptr, nullptr), GC_ERR_SUCCESS);
  EXPECT_EQ(streamInfo<size_t>(stream, STREAM_INFO_NUM_QUEUED), 1u);
  EXPECT_EQ(gentl.DSQueueBuffer(stream, buffers[1]), GC_ERR_INVALID_BUFFER);
  expectLastError(GC_ERR_INVALID_BUFFER, "Buffer not announced");
  ASSERT_EQ(gentl.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
}

// --- Composite buffers: one segment per flow, and a stream has one flow. ---

TEST_F(Acquisition, CompositeBufferOfOneSegmentIsFilledLikeAPlainOne) {
  const DS_HANDLE stream = openDeviceStream();
  const size_t payload = payloadSize(stream);
  uint32_t flows = 0;
  ASSERT_EQ(gentl.DSGetNumFlows(stream, &flows), GC_ERR_SUCCESS);
  ASSERT_EQ(flows, 1u);
  size_t flowSize = 0;
  INFO_DATATYPE type = 0;
  size_t size = sizeof(flowSize);
  EXPECT_EQ(gentl.DSGetFlowInfo(stream, 0, FLOW_INFO_SIZE, &type, &flowSize, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(type, INFO_DATATYPE_SIZET);
  EXPECT_EQ(flowSize, payload);

  std::vector<uint8_t> first(payload), second(payload);
  void* segments[] = {first.data(), second.data()};
  size_t sizes[] = {payload, payload};
  BUFFER_HANDLE composite = nullptr;
  EXPECT_EQ(gentl.DSAnnounceCompositeBuffer(stream, 2, segments, sizes, nullptr, &composite), GC_ERR_INVALID_PARAMETER);
  expectLastError(GC_ERR_INVALID_PARAMETER, "specified segment count must match the required number of flows");
  ASSERT_EQ(gentl.DSAnnounceCompositeBuffer(stream, 1, segments, sizes, nullptr, &composite), GC_ERR_SUCCESS);

  EXPECT_EQ(bufferInfo<bool8_t>(stream, composite, BUFFER_INFO_IS_COMPOSITE), 1);
  uint32_t count = 0;
  ASSERT_EQ(gentl.DSGetNumBufferSegments(stream, composite, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 1u);
  void* base = nullptr;
  size = sizeof(base);
  EXPECT_EQ(gentl.DSGetBufferSegmentInfo(stream, composite, 0, SEGMENT_INFO_BASE, &type, &base, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(base, first.data());
  size = sizeof(flowSize);
  EXPECT_EQ(gentl.DSGetBufferSegmentInfo(stream, composite, 1, SEGMENT_INFO_SIZE, &type, &flowSize, &size),
            GC_ERR_INVALID_INDEX);
  expectLastError(GC_ERR_INVALID_INDEX, "invalid index: iSegmentIndex");

  allocateBuffers(stream, 2, false);
  for (uint32_t index = 0; index < 3; ++index) {
    BUFFER_HANDLE buffer = nullptr;
    ASSERT_EQ(gentl.DSGetBufferID(stream, index, &buffer), GC_ERR_SUCCESS);
    if (buffer != composite) {
      ASSERT_EQ(gentl.DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
    }
  }
  ASSERT_EQ(gentl.DSQueueBuffer(stream, composite), GC_ERR_SUCCESS);
  const EVENT_HANDLE event = registerNewBuffer(stream);
  ASSERT_EQ(start(stream, 3), GC_ERR_SUCCESS);
  EXPECT_EQ(gentl.DSAnnounceCompositeBuffer(stream, 1, &segments[1], sizes, nullptr, &composite), GC_ERR_BUSY);
  expectLastError(GC_ERR_BUSY, "announcing buffer not allowed while streaming");
  EXPECT_EQ(gentl.DSAnnounceBuffer(stream, second.data(), payload, nullptr, &composite), GC_ERR_BUSY);
  expectLastError(GC_ERR_BUSY, "announcing buffer while streaming not allowed");
  for (int frame = 0; frame < 3; ++frame) ASSERT_NE(nextBuffer(event), nullptr);
  EXPECT_EQ(first[1920 * 2 + 40], 42) << "the ramp at (40, 2) in the composite's segment";
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

// --- Closing while frames flow; the stress tests close every level under running streams. ---

TEST_F(Acquisition, ClosingTheDeviceStopsItsGrabbingStreams) {
  const DS_HANDLE stream = openDeviceStream();
  const EVENT_HANDLE event = startAcquisition(stream);
  ASSERT_NE(nextBuffer(event), nullptr);
  ASSERT_EQ(gentl.DevClose(device), GC_ERR_SUCCESS);
  EXPECT_FALSE(isGrabbing(stream));
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_RESOURCE_IN_USE);
}

}  // namespace
