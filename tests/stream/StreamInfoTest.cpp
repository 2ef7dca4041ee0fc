// What a consumer reads about a data stream and its buffers through the built LmMockTL.cti: every
// stream and buffer info command with its type, and the stream's and buffers' registers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "support/StreamSession.h"

namespace {

using testing_support::askInfo;
using testing_support::bytesOf;
using testing_support::InfoAnswer;
using testing_support::InfoCase;
using testing_support::StreamSession;

class StreamQueries : public StreamSession {};

// The built-in MyStream0: Mono8, 1920 × 1080, no padding.
constexpr size_t kPayload = 1920 * 1080;

void expectAnswer(const InfoAnswer& answer, const InfoCase& expected, const std::string& lastError) {
  EXPECT_EQ(answer.code, GC_ERR_SUCCESS) << lastError;
  EXPECT_EQ(answer.type, expected.type);
  EXPECT_EQ(answer.bytes, expected.bytes);
}

class StreamInfo : public StreamSession, public ::testing::WithParamInterface<InfoCase> {};

TEST_P(StreamInfo, FreshStreamAnswersWithItsTypeAndValue) {
  const DS_HANDLE stream = openDeviceStream();
  const InfoCase& expected = GetParam();
  const auto answer = askInfo([&](INFO_DATATYPE* type, void* buffer, size_t* size) {
    return gentl.DSGetInfo(stream, expected.command, type, buffer, size);
  });
  expectAnswer(answer, expected, producer.lastError().second);
}

INSTANTIATE_TEST_SUITE_P(
    EveryCommand, StreamInfo,
    ::testing::Values(
        // The two texts report type 0, not INFO_DATATYPE_STRING: consumers have always read them so.
        InfoCase{"Id", STREAM_INFO_ID, INFO_DATATYPE_UNKNOWN, bytesOf(std::string("MyStream0"))},
        InfoCase{"TLType", STREAM_INFO_TLTYPE, INFO_DATATYPE_UNKNOWN, bytesOf(std::string("Custom"))},
        InfoCase{"Delivered", STREAM_INFO_NUM_DELIVERED, INFO_DATATYPE_UINT64, bytesOf(uint64_t{0})},
        InfoCase{"Underrun", STREAM_INFO_NUM_UNDERRUN, INFO_DATATYPE_UINT64, bytesOf(uint64_t{0})},
        InfoCase{"Announced", STREAM_INFO_NUM_ANNOUNCED, INFO_DATATYPE_SIZET, bytesOf(size_t{0})},
        InfoCase{"Queued", STREAM_INFO_NUM_QUEUED, INFO_DATATYPE_SIZET, bytesOf(size_t{0})},
        InfoCase{"AwaitDelivery", STREAM_INFO_NUM_AWAIT_DELIVERY, INFO_DATATYPE_SIZET, bytesOf(size_t{0})},
        InfoCase{"Started", STREAM_INFO_NUM_STARTED, INFO_DATATYPE_UINT64, bytesOf(uint64_t{0})},
        InfoCase{"PayloadSize", STREAM_INFO_PAYLOAD_SIZE, INFO_DATATYPE_SIZET, bytesOf(kPayload)},
        InfoCase{"IsGrabbing", STREAM_INFO_IS_GRABBING, INFO_DATATYPE_BOOL8, bytesOf(uint8_t{0})},
        InfoCase{"DefinesPayloadSize", STREAM_INFO_DEFINES_PAYLOADSIZE, INFO_DATATYPE_BOOL8, bytesOf(uint8_t{1})},
        InfoCase{"ChunksMax", STREAM_INFO_NUM_CHUNKS_MAX, INFO_DATATYPE_SIZET, bytesOf(size_t{0})},
        InfoCase{"AnnounceMin", STREAM_INFO_BUF_ANNOUNCE_MIN, INFO_DATATYPE_SIZET, bytesOf(size_t{3})},
        InfoCase{"Alignment", STREAM_INFO_BUF_ALIGNMENT, INFO_DATATYPE_SIZET, bytesOf(size_t{1})}),
    [](const auto& info) { return std::string(info.param.name); });

// A stream info command (ofBuffer false) or a buffer info command asked of a fresh buffer.
struct Refused {
  const char* name;
  bool ofBuffer;
  int32_t command;
  INFO_DATATYPE typeIn;
  GC_ERROR code;
  const char* message;
};

class InfoRefusal : public StreamSession, public ::testing::WithParamInterface<Refused> {};

TEST_P(InfoRefusal, FailsWithItsCodeAndMessage) {
  const DS_HANDLE stream = openDeviceStream();
  BUFFER_HANDLE buffer = nullptr;
  ASSERT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, kPayload, nullptr, &buffer), GC_ERR_SUCCESS);
  INFO_DATATYPE type = GetParam().typeIn;
  size_t size = 0;
  EXPECT_EQ(GetParam().ofBuffer ? gentl.DSGetBufferInfo(stream, buffer, GetParam().command, &type, nullptr, &size)
                                : gentl.DSGetInfo(stream, GetParam().command, &type, nullptr, &size),
            GetParam().code);
  expectLastError(GetParam().code, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Commands, InfoRefusal,
    ::testing::Values(Refused{"StreamCustomType", false, STREAM_INFO_ID, INFO_DATATYPE_CUSTOM_ID, GC_ERR_NOT_AVAILABLE,
                              "only standard info commands implemented"},
                      Refused{"StreamCustomCommand", false, STREAM_INFO_CUSTOM_ID, 0, GC_ERR_NOT_IMPLEMENTED,
                              "requested custom info not implemented"},
                      Refused{"StreamUnknownCommand", false, 16, 0, GC_ERR_NOT_IMPLEMENTED,
                              "requested info not implemented"},
                      Refused{"FlowTableWithoutFlows", false, STREAM_INFO_FLOW_TABLE, 0, GC_ERR_NO_DATA,
                              "command is invalid while flow mechanism is not used"},
                      Refused{"PrefetchDescriptorWithoutFlows", false, STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR, 0,
                              GC_ERR_NO_DATA, "command is invalid while flow mechanism is not used"},
                      Refused{"FrameIdBeforeAFill", true, BUFFER_INFO_FRAMEID, 0, GC_ERR_NOT_AVAILABLE, "No new data"},
                      Refused{"YPaddingWithPaddingOff", true, BUFFER_INFO_YPADDING, 0, GC_ERR_NOT_IMPLEMENTED,
                              "Let it behave as if the command is not implemented since the padding mode is off."},
                      Refused{"IsAcquiring", true, BUFFER_INFO_IS_ACQUIRING, 0, GC_ERR_NOT_AVAILABLE,
                              "the buffer-is-acquiring info currently not implemented"},
                      Refused{"FileName", true, BUFFER_INFO_FILENAME, 0, GC_ERR_NOT_IMPLEMENTED,
                              "buffer file name query is irrelevant for this transport layer"},
                      // Custom commands are unknown ones to a buffer.
                      Refused{"BufferCustomCommand", true, BUFFER_INFO_CUSTOM_ID, 0, GC_ERR_NOT_IMPLEMENTED,
                              "unknown command used: iInfoCmd"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StreamQueries, StreamIdTooSmallFailsAndTheSizeQueryNeverDoes) {
  const DS_HANDLE stream = openDeviceStream();
  char text[9] = {};
  INFO_DATATYPE type = 7;
  size_t size = sizeof(text);
  EXPECT_EQ(gentl.DSGetInfo(stream, STREAM_INFO_ID, &type, text, &size), GC_ERR_BUFFER_TOO_SMALL);
  expectLastError(GC_ERR_BUFFER_TOO_SMALL, "buffer too small");
  EXPECT_EQ(size, 10u) << "the size needed is written also when the buffer is refused";
}

// --- Buffer info: a freshly allocated buffer of MyStream0, announced with a private pointer. ---

int privateData;

class BufferInfo : public StreamSession, public ::testing::WithParamInterface<InfoCase> {};

TEST_P(BufferInfo, FreshBufferAnswersWithItsTypeAndValue) {
  const DS_HANDLE stream = openDeviceStream();
  BUFFER_HANDLE buffer = nullptr;
  ASSERT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, kPayload, &privateData, &buffer), GC_ERR_SUCCESS);
  const InfoCase& expected = GetParam();
  const auto answer = askInfo([&](INFO_DATATYPE* type, void* value, size_t* size) {
    return gentl.DSGetBufferInfo(stream, buffer, expected.command, type, value, size);
  });
  expectAnswer(answer, expected, producer.lastError().second);
}

INSTANTIATE_TEST_SUITE_P(
    EveryCommand, BufferInfo,
    ::testing::Values(
        InfoCase{"Size", BUFFER_INFO_SIZE, INFO_DATATYPE_SIZET, bytesOf(kPayload)},
        InfoCase{"UserPointer", BUFFER_INFO_USER_PTR, INFO_DATATYPE_PTR, bytesOf(static_cast<void*>(&privateData))},
        InfoCase{"NewData", BUFFER_INFO_NEW_DATA, INFO_DATATYPE_BOOL8, bytesOf(uint8_t{0})},
        InfoCase{"IsQueued", BUFFER_INFO_IS_QUEUED, INFO_DATATYPE_BOOL8, bytesOf(uint8_t{0})},
        InfoCase{"IsIncomplete", BUFFER_INFO_IS_INCOMPLETE, INFO_DATATYPE_BOOL8, bytesOf(uint8_t{0})},
        InfoCase{"TLType", BUFFER_INFO_TLTYPE, INFO_DATATYPE_STRING, bytesOf(std::string("Custom"))},
        InfoCase{"SizeFilled", BUFFER_INFO_SIZE_FILLED, INFO_DATATYPE_SIZET, bytesOf(kPayload)},
        InfoCase{"Width", BUFFER_INFO_WIDTH, INFO_DATATYPE_SIZET, bytesOf(size_t{1920})},
        InfoCase{"Height", BUFFER_INFO_HEIGHT, INFO_DATATYPE_SIZET, bytesOf(size_t{1080})},
        InfoCase{"XOffset", BUFFER_INFO_XOFFSET, INFO_DATATYPE_SIZET, bytesOf(size_t{0})},
        InfoCase{"YOffset", BUFFER_INFO_YOFFSET, INFO_DATATYPE_SIZET, bytesOf(size_t{0})},
        InfoCase{"XPadding", BUFFER_INFO_XPADDING, INFO_DATATYPE_SIZET, bytesOf(size_t{0})},
        // Not queued, so "present": the negation of IS_QUEUED, filled or not.
        InfoCase{"ImagePresent", BUFFER_INFO_IMAGEPRESENT, INFO_DATATYPE_BOOL8, bytesOf(uint8_t{1})},
        InfoCase{"ImageOffset", BUFFER_INFO_IMAGEOFFSET, INFO_DATATYPE_SIZET, bytesOf(size_t{0})},
        InfoCase{"PayloadType", BUFFER_INFO_PAYLOADTYPE, INFO_DATATYPE_SIZET, bytesOf(size_t{PAYLOAD_TYPE_IMAGE})},
        InfoCase{"PixelFormat", BUFFER_INFO_PIXELFORMAT, INFO_DATATYPE_UINT64, bytesOf(uint64_t{0x01080001})},
        InfoCase{"PixelFormatNamespace", BUFFER_INFO_PIXELFORMAT_NAMESPACE, INFO_DATATYPE_UINT64,
                 bytesOf(uint64_t{PIXELFORMAT_NAMESPACE_PFNC_32BIT})},
        InfoCase{"DeliveredImageHeight", BUFFER_INFO_DELIVERED_IMAGEHEIGHT, INFO_DATATYPE_SIZET, bytesOf(size_t{1080})},
        InfoCase{"DeliveredChunkPayloadSize", BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE, INFO_DATATYPE_SIZET,
                 bytesOf(size_t{0})},
        InfoCase{"ChunkLayoutId", BUFFER_INFO_CHUNKLAYOUTID, INFO_DATATYPE_UINT64, bytesOf(uint64_t{0})},
        InfoCase{"PixelEndianness", BUFFER_INFO_PIXEL_ENDIANNESS, INFO_DATATYPE_INT32,
                 bytesOf(int32_t{PIXELENDIANNESS_LITTLE})},
        InfoCase{"DataSize", BUFFER_INFO_DATA_SIZE, INFO_DATATYPE_SIZET, bytesOf(kPayload)},
        InfoCase{"DataLargerThanBuffer", BUFFER_INFO_DATA_LARGER_THAN_BUFFER, INFO_DATATYPE_BOOL8, bytesOf(uint8_t{0})},
        InfoCase{"ContainsChunkData", BUFFER_INFO_CONTAINS_CHUNKDATA, INFO_DATATYPE_BOOL8, bytesOf(uint8_t{0})},
        InfoCase{"IsComposite", BUFFER_INFO_IS_COMPOSITE, INFO_DATATYPE_BOOL8, bytesOf(uint8_t{0})}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StreamQueries, BufferInfoStackedStoresEachEntrysOwnResult) {
  const DS_HANDLE stream = openDeviceStream();
  BUFFER_HANDLE buffer = nullptr;
  ASSERT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, kPayload, nullptr, &buffer), GC_ERR_SUCCESS);
  size_t width = 0;
  uint64_t frameId = 0;
  DS_BUFFER_INFO_STACKED entries[] = {{BUFFER_INFO_WIDTH, 0, &width, sizeof(width), 1},
                                      {BUFFER_INFO_FRAMEID, 0, &frameId, sizeof(frameId), 1}};
  EXPECT_EQ(gentl.DSGetBufferInfoStacked(stream, buffer, entries, 2), GC_ERR_SUCCESS);
  EXPECT_EQ(entries[0].iResult, GC_ERR_SUCCESS);
  EXPECT_EQ(entries[0].iType, INFO_DATATYPE_SIZET);
  EXPECT_EQ(width, 1920u);
  EXPECT_EQ(entries[1].iResult, GC_ERR_NOT_AVAILABLE) << "an unfilled buffer has no frame id";
}

// --- Registers, read through the port functions with the stream's and the buffer's handles. ---

template <class T>
GC_ERROR readRegister(testing_support::GenTLExports& gentl, void* port, uint64_t address, T& value) {
  size_t size = sizeof(T);
  return gentl.GCReadPort(port, address, &value, &size);
}

TEST_F(StreamQueries, StreamAndBufferRegistersFollowTheirState) {
  const DS_HANDLE stream = openDeviceStream();
  const auto buffers = allocateBuffers(stream, 3);
  uint32_t value = 0;
  EXPECT_EQ(readRegister(gentl, stream, 0x4, value), GC_ERR_SUCCESS);
  EXPECT_EQ(value, 3u) << "StreamAnnouncedBufferCount";
  EXPECT_EQ(readRegister(gentl, stream, 0x8, value), GC_ERR_SUCCESS);
  EXPECT_EQ(value, 3u) << "Stat_NumBuffersQueued";
  EXPECT_EQ(readRegister(gentl, stream, 0x50, value), GC_ERR_SUCCESS);
  EXPECT_EQ(value, 0u) << "IsGrabbingReg";
  char id[256] = {};
  size_t size = sizeof(id);
  EXPECT_EQ(gentl.GCReadPort(stream, 0x100, id, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(id, "MyStream0");

  // The 64-bit counters are declared, but the stream serves only 32-bit reads.
  uint64_t counter = 0;
  EXPECT_EQ(readRegister(gentl, stream, 0x14, counter), GC_ERR_ERROR);
  expectLastError(GC_ERR_ERROR, "Unexpected read of a uint64 register");

  EXPECT_EQ(readRegister(gentl, buffers[0], 0x18, value), GC_ERR_SUCCESS);
  EXPECT_EQ(value, 1u) << "BufferIsQueued";
  // Declared as the payload type by the description; holds the stream's pixel format.
  EXPECT_EQ(readRegister(gentl, buffers[0], 0x20, value), GC_ERR_SUCCESS);
  EXPECT_EQ(value, 0x01080001u);
  EXPECT_EQ(readRegister(gentl, buffers[0], 0x24, counter), GC_ERR_SUCCESS);
  EXPECT_EQ(counter, 1080u) << "ImageHeight";
  EXPECT_EQ(readRegister(gentl, buffers[0], 0x10, counter), GC_ERR_SUCCESS);
  EXPECT_EQ(counter, bufferInfo<uint64_t>(stream, buffers[0], BUFFER_INFO_TIMESTAMP)) << "BufferTimestamp";
  EXPECT_EQ(readRegister(gentl, buffers[0], 0x8, counter), GC_ERR_NOT_IMPLEMENTED);
  expectLastError(GC_ERR_NOT_IMPLEMENTED, "invalid reg_id");
}

TEST_F(StreamQueries, BufferIndicesFollowTheTextOrderOfTheBufferIds) {
  const DS_HANDLE stream = openDeviceStream();
  const auto buffers = allocateBuffers(stream, 4, false);
  std::vector<std::string> ids;
  for (BUFFER_HANDLE buffer : buffers) {
    ids.push_back("BufferAt_" + std::to_string(reinterpret_cast<uintptr_t>(
                                    bufferInfo<const void*>(stream, buffer, BUFFER_INFO_BASE))));
  }
  std::vector<std::string> sorted = ids;
  std::sort(sorted.begin(), sorted.end());
  for (uint32_t index = 0; index < buffers.size(); ++index) {
    BUFFER_HANDLE byIndex = nullptr;
    ASSERT_EQ(gentl.DSGetBufferID(stream, index, &byIndex), GC_ERR_SUCCESS);
    const auto at = std::find(ids.begin(), ids.end(), sorted[index]) - ids.begin();
    EXPECT_EQ(byIndex, buffers[at]) << "index " << index;
  }
}

}  // namespace
