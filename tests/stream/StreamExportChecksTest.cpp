// The argument checks of the data stream exports: each refused argument with its code and
// message, as a consumer meets them through the built LmMockTL.cti.
#include <gtest/gtest.h>

#include <string>

#include "support/ExportCheckTable.h"
#include "support/StreamSession.h"

namespace {

using testing_support::GenTLExports;
using testing_support::kHandle;
using testing_support::kParameter;
using testing_support::kUnknown;
using testing_support::StreamSession;

// MyStream0 open with three allocated buffers, and MyStream1 open with one of its own.
struct Handles {
  DEV_HANDLE device;
  DS_HANDLE stream;
  BUFFER_HANDLE buffer;
  DS_HANDLE other;
  BUFFER_HANDLE foreign;
};

// Output places for the calls.
struct Scratch {
  INFO_DATATYPE type = 0;
  size_t size = 8;
  uint64_t value = 0;
  uint32_t count = 0;
  void* pointer = nullptr;
  BUFFER_HANDLE buffer = nullptr;
  DEV_HANDLE device = nullptr;
  char memory[16] = {};
  void* segments[2] = {memory, nullptr};
  size_t sizes[2] = {sizeof(memory), sizeof(memory)};
  DS_BUFFER_INFO_STACKED stacked{BUFFER_INFO_WIDTH, 0, &value, sizeof(value), 0};
};

using CheckCase = testing_support::ExportCheck<Handles, Scratch>;

class StreamExportChecks : public StreamSession, public ::testing::WithParamInterface<CheckCase> {
 protected:
  // Before GCInitLib every data stream export refuses first of all, whatever its arguments.
  void SetUp() override {
    if (::testing::UnitTest::GetInstance()->current_test_info()->value_param() != nullptr) {
      Scratch scratch;
      EXPECT_EQ(GetParam().call(gentl, Handles{}, scratch), GC_ERR_NOT_INITIALIZED);
    }
    StreamSession::SetUp();
    handles.stream = openDeviceStream();
    handles.device = device;
    handles.buffer = allocateBuffers(handles.stream, 3)[0];
    handles.other = openStream(device, "MyStream1");
    handles.foreign = allocateBuffers(handles.other, 1)[0];
  }

  Handles handles{};
};

TEST_P(StreamExportChecks, RefuseWithTheirCodeAndMessage) {
  Scratch scratch;
  EXPECT_EQ(GetParam().call(gentl, handles, scratch), GetParam().code);
  expectLastError(GetParam().code, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    BufferManagement, StreamExportChecks,
    ::testing::Values(
        CHECK_CASE("CloseNull", kHandle, "invalid handle", gentl.DSClose(nullptr)),
        CHECK_CASE("CloseUnknown", kHandle, "handle is unknown", gentl.DSClose(kUnknown)),
        CHECK_CASE("CloseDeviceHandle", kHandle, "handle is unknown", gentl.DSClose(h.device)),
        CHECK_CASE("AnnounceNull", kHandle, "invalid datastream handle",
                   gentl.DSAnnounceBuffer(nullptr, s.memory, 16, nullptr, &s.buffer)),
        CHECK_CASE("AnnounceUnknown", kHandle, "handle is unknown",
                   gentl.DSAnnounceBuffer(kUnknown, s.memory, 16, nullptr, &s.buffer)),
        CHECK_CASE("AnnounceBufferHandle", kHandle, "invalid datastream handle after cast",
                   gentl.DSAnnounceBuffer(h.buffer, s.memory, 16, nullptr, &s.buffer)),
        CHECK_CASE("AnnounceNullMemory", kParameter, "invalid buffer handle. pBuffer<= 0",
                   gentl.DSAnnounceBuffer(h.stream, nullptr, 16, nullptr, &s.buffer)),
        CHECK_CASE("AnnounceNullOutput", kParameter, "invalid buffer handle. phBuffer<= 0",
                   gentl.DSAnnounceBuffer(h.stream, s.memory, 16, nullptr, nullptr)),
        CHECK_CASE("AnnounceZeroSize", GC_ERR_BUFFER_TOO_SMALL, "Buffer of Size == 0 is not valid",
                   gentl.DSAnnounceBuffer(h.stream, s.memory, 0, nullptr, &s.buffer)),
        CHECK_CASE("AllocNullOutputFirst", kParameter, "phBuffer<=0",
                   gentl.DSAllocAndAnnounceBuffer(nullptr, 16, nullptr, nullptr)),
        CHECK_CASE("AllocNull", kHandle, "invalid datastream handle",
                   gentl.DSAllocAndAnnounceBuffer(nullptr, 16, nullptr, &s.buffer)),
        CHECK_CASE("AllocUnknown", kHandle, "handle ds is unknown",
                   gentl.DSAllocAndAnnounceBuffer(kUnknown, 16, nullptr, &s.buffer)),
        CHECK_CASE("AllocDeviceHandle", kHandle, "invalid datastream handle",
                   gentl.DSAllocAndAnnounceBuffer(h.device, 16, nullptr, &s.buffer)),
        CHECK_CASE("AllocZeroSize", GC_ERR_BUFFER_TOO_SMALL, "Buffer of Size == 0 is not valid",
                   gentl.DSAllocAndAnnounceBuffer(h.stream, 0, nullptr, &s.buffer)),
        CHECK_CASE("CompositeNull", kHandle, "null pointer: hDataStream",
                   gentl.DSAnnounceCompositeBuffer(nullptr, 1, s.segments, s.sizes, nullptr, &s.buffer)),
        CHECK_CASE("CompositeUnknown", kHandle, "unknown handle: hDataStream",
                   gentl.DSAnnounceCompositeBuffer(kUnknown, 1, s.segments, s.sizes, nullptr, &s.buffer)),
        CHECK_CASE("CompositeNoSegments", kParameter, "null pointer: iNumSegments",
                   gentl.DSAnnounceCompositeBuffer(h.stream, 0, s.segments, s.sizes, nullptr, &s.buffer)),
        CHECK_CASE("CompositeNullSizes", kParameter, "null pointer: piSizes",
                   gentl.DSAnnounceCompositeBuffer(h.stream, 1, s.segments, nullptr, nullptr, &s.buffer)),
        CHECK_CASE("CompositeNullOutput", kParameter, "null pointer: phBuffer",
                   gentl.DSAnnounceCompositeBuffer(h.stream, 1, s.segments, s.sizes, nullptr, nullptr)),
        CHECK_CASE("CompositeNullSegments", kParameter, "null pointer: ppSegments",
                   gentl.DSAnnounceCompositeBuffer(h.stream, 1, nullptr, s.sizes, nullptr, &s.buffer)),
        CHECK_CASE("CompositeNullSegment", kParameter, "containing a null pointer: ppSegments",
                   gentl.DSAnnounceCompositeBuffer(h.stream, 2, s.segments, s.sizes, nullptr, &s.buffer)),
        CHECK_CASE("CompositeSegmentInUse", GC_ERR_RESOURCE_IN_USE, "containing resource in use: ppSegments",
                   (gentl.DSAnnounceBuffer(h.stream, s.memory, 16, nullptr, &s.buffer),
                    gentl.DSAnnounceCompositeBuffer(h.stream, 1, s.segments, s.sizes, nullptr, &s.buffer))),
        CHECK_CASE("CompositeZeroSizedSegment", GC_ERR_BUFFER_TOO_SMALL, "Buffer of Size == 0 is not valid",
                   (s.sizes[0] = 0,
                    gentl.DSAnnounceCompositeBuffer(h.stream, 1, s.segments, s.sizes, nullptr, &s.buffer))),
        CHECK_CASE("RevokeNull", kHandle, "datastream handle <= 0",
                   gentl.DSRevokeBuffer(nullptr, h.buffer, nullptr, nullptr)),
        CHECK_CASE("RevokeUnknown", kHandle, "handle is unknown",
                   gentl.DSRevokeBuffer(kUnknown, h.buffer, nullptr, nullptr)),
        CHECK_CASE("RevokeNullBuffer", kHandle, "buffer handle <= 0",
                   gentl.DSRevokeBuffer(h.stream, nullptr, nullptr, nullptr)),
        CHECK_CASE("RevokeUnknownBuffer", kHandle, "handle is unknown",
                   gentl.DSRevokeBuffer(h.stream, kUnknown, nullptr, nullptr)),
        CHECK_CASE("RevokeDeviceHandle", kHandle, "handle is not a datastream handle",
                   gentl.DSRevokeBuffer(h.device, h.buffer, nullptr, nullptr)),
        CHECK_CASE("RevokeAnotherStreamsBuffer", GC_ERR_INVALID_ID, "unknown segment list",
                   gentl.DSRevokeBuffer(h.stream, h.foreign, nullptr, nullptr)),
        CHECK_CASE("QueueNull", kHandle, "invalid datastream handle", gentl.DSQueueBuffer(nullptr, nullptr)),
        CHECK_CASE("QueueNullBuffer", kHandle, "invalid buffer handle", gentl.DSQueueBuffer(kUnknown, nullptr)),
        CHECK_CASE("QueueUnknown", kHandle, "handle ds is unknown", gentl.DSQueueBuffer(kUnknown, h.buffer)),
        CHECK_CASE("QueueUnknownBuffer", kHandle, "handle buffer is unknown", gentl.DSQueueBuffer(h.stream, kUnknown)),
        CHECK_CASE("QueueAnotherStreamsBuffer", GC_ERR_INVALID_BUFFER, "Buffer not announced",
                   gentl.DSQueueBuffer(h.stream, h.foreign)),
        CHECK_CASE("QueueStreamAsBuffer", GC_ERR_INVALID_BUFFER, "Buffer not announced",
                   gentl.DSQueueBuffer(h.stream, h.other)),
        CHECK_CASE("QueueTwice", GC_ERR_INVALID_BUFFER, "Buffer is already queued",
                   gentl.DSQueueBuffer(h.stream, h.buffer)),
        CHECK_CASE("FlushNull", kHandle, "invalid handle", gentl.DSFlushQueue(nullptr, ACQ_QUEUE_ALL_DISCARD)),
        CHECK_CASE("FlushUnknown", kHandle, "invalid handle", gentl.DSFlushQueue(kUnknown, ACQ_QUEUE_ALL_DISCARD)),
        CHECK_CASE("FlushUndefinedMode", kParameter, "acq queue type not defined", gentl.DSFlushQueue(h.stream, 5)),
        CHECK_CASE("GetBufferIDNull", kHandle, "invalid handle", gentl.DSGetBufferID(nullptr, 0, &s.buffer)),
        CHECK_CASE("GetBufferIDUnknown", kHandle, "handle is unknown", gentl.DSGetBufferID(kUnknown, 0, &s.buffer)),
        CHECK_CASE("GetBufferIDDeviceHandle", kHandle, "invalid handle after cast",
                   gentl.DSGetBufferID(h.device, 0, &s.buffer)),
        CHECK_CASE("GetBufferIDIndexAtCount", GC_ERR_INVALID_INDEX, "iIndex > NumBufferAnnounced",
                   gentl.DSGetBufferID(h.stream, 3, &s.buffer)),
        CHECK_CASE("GetBufferIDNullOutput", kParameter, "phBuffer <= nullptr",
                   gentl.DSGetBufferID(h.stream, 0, nullptr)),
        CHECK_CASE("ParentNullOutputFirst", kParameter, "invalid pointer to parent",
                   gentl.DSGetParentDev(nullptr, nullptr)),
        CHECK_CASE("ParentNullIsUnknown", kHandle, "handle is unknown", gentl.DSGetParentDev(nullptr, &s.device)),
        CHECK_CASE("ParentDeviceHandle", kHandle, "handle is unknown", gentl.DSGetParentDev(h.device, &s.device))),
    testing_support::checkName);

INSTANTIATE_TEST_SUITE_P(
    Acquisition, StreamExportChecks,
    ::testing::Values(
        CHECK_CASE("StartNull", kHandle, "invalid handle", gentl.DSStartAcquisition(nullptr, 0, 1)),
        CHECK_CASE("StartUnknown", kHandle, "handle is unknown", gentl.DSStartAcquisition(kUnknown, 0, 1)),
        CHECK_CASE("StartFlags", GC_ERR_NOT_IMPLEMENTED, "acq flags not supported",
                   gentl.DSStartAcquisition(h.stream, 1, 1)),
        CHECK_CASE("StartNoFrames", kParameter, "num to acq is 0", gentl.DSStartAcquisition(h.stream, 0, 0)),
        CHECK_CASE("StartDeviceHandle", kHandle, "conv to datastream failed", gentl.DSStartAcquisition(h.device, 0, 1)),
        CHECK_CASE("StartWithOneBuffer", GC_ERR_INVALID_BUFFER, "not enough buffers for acq",
                   gentl.DSStartAcquisition(h.other, 0, 1)),
        CHECK_CASE("StartTwice", GC_ERR_RESOURCE_IN_USE, "grab already running",
                   (gentl.DSStartAcquisition(h.stream, 0, GENTL_INFINITE), gentl.DSStartAcquisition(h.stream, 0, 1))),
        CHECK_CASE("StopNull", kHandle, "handle is invalid", gentl.DSStopAcquisition(nullptr, 0)),
        CHECK_CASE("StopUnknown", kHandle, "handle is unknown", gentl.DSStopAcquisition(kUnknown, 0)),
        CHECK_CASE("StopDeviceHandle", kHandle, "handle is invalid after cast", gentl.DSStopAcquisition(h.device, 0)),
        CHECK_CASE("StopNeverStarted", GC_ERR_RESOURCE_IN_USE, "grab was not running",
                   gentl.DSStopAcquisition(h.stream, 0))),
    testing_support::checkName);

INSTANTIATE_TEST_SUITE_P(
    Information, StreamExportChecks,
    ::testing::Values(
        CHECK_CASE("InfoNull", kHandle, "invalid ds handle",
                   gentl.DSGetInfo(nullptr, STREAM_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("InfoUnknown", kHandle, "handle is unknown",
                   gentl.DSGetInfo(kUnknown, STREAM_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("InfoDeviceHandle", kHandle, "invalid ds handle, after cast",
                   gentl.DSGetInfo(h.device, STREAM_INFO_ID, &s.type, nullptr, &s.size)),
        CHECK_CASE("InfoNullType", kParameter, "piType<=0",
                   gentl.DSGetInfo(h.stream, STREAM_INFO_ID, nullptr, nullptr, &s.size)),
        CHECK_CASE("InfoNullSize", kParameter, "piSize<=0",
                   gentl.DSGetInfo(h.stream, STREAM_INFO_ID, &s.type, nullptr, nullptr)),
        CHECK_CASE("BufferInfoNullType", kParameter, "piType is <= 0",
                   gentl.DSGetBufferInfo(nullptr, nullptr, BUFFER_INFO_SIZE, nullptr, nullptr, &s.size)),
        CHECK_CASE("BufferInfoNullSize", kParameter, "piSize is <= 0",
                   gentl.DSGetBufferInfo(nullptr, nullptr, BUFFER_INFO_SIZE, &s.type, nullptr, nullptr)),
        CHECK_CASE("BufferInfoNull", kHandle, "datastream handle <= 0",
                   gentl.DSGetBufferInfo(nullptr, nullptr, BUFFER_INFO_SIZE, &s.type, nullptr, &s.size)),
        CHECK_CASE("BufferInfoNullBuffer", kHandle, "buffer handle <= 0",
                   gentl.DSGetBufferInfo(kUnknown, nullptr, BUFFER_INFO_SIZE, &s.type, nullptr, &s.size)),
        CHECK_CASE("BufferInfoUnknown", kHandle, "handle ds is unknown",
                   gentl.DSGetBufferInfo(kUnknown, kUnknown, BUFFER_INFO_SIZE, &s.type, nullptr, &s.size)),
        CHECK_CASE("BufferInfoUnknownBuffer", kHandle, "handle buffer is unknown",
                   gentl.DSGetBufferInfo(h.stream, kUnknown, BUFFER_INFO_SIZE, &s.type, nullptr, &s.size)),
        CHECK_CASE("BufferInfoAnotherStreamsBuffer", GC_ERR_NOT_AVAILABLE,
                   "not available before allocating resource: iInfoCmd",
                   gentl.DSGetBufferInfo(h.stream, h.foreign, BUFFER_INFO_SIZE, &s.type, nullptr, &s.size)),
        CHECK_CASE("BufferInfoTooSmall", GC_ERR_BUFFER_TOO_SMALL,
                   "The passed buffer is too small to receive the requested module information",
                   (s.size = 4,
                    gentl.DSGetBufferInfo(h.stream, h.buffer, BUFFER_INFO_SIZE, &s.type, &s.value, &s.size))),
        CHECK_CASE("StackedNull", kHandle, "null pointer: hDataStream",
                   gentl.DSGetBufferInfoStacked(nullptr, h.buffer, &s.stacked, 1)),
        CHECK_CASE("StackedUnknown", kHandle, "unknown handle: hDataStream",
                   gentl.DSGetBufferInfoStacked(kUnknown, h.buffer, &s.stacked, 1)),
        CHECK_CASE("StackedNullBuffer", kHandle, "null pointer: hBuffer",
                   gentl.DSGetBufferInfoStacked(h.stream, nullptr, &s.stacked, 1)),
        CHECK_CASE("StackedUnknownBuffer", kHandle, "unknown handle: hBuffer",
                   gentl.DSGetBufferInfoStacked(h.stream, kUnknown, &s.stacked, 1)),
        CHECK_CASE("StackedNullEntries", kParameter, "null pointer: pInfoStacked",
                   gentl.DSGetBufferInfoStacked(h.stream, h.buffer, nullptr, 1)),
        CHECK_CASE("StackedNoEntries", kParameter, "invalid inquiry: iNumInfos",
                   gentl.DSGetBufferInfoStacked(h.stream, h.buffer, &s.stacked, 0)),
        CHECK_CASE("ChunkData", GC_ERR_NOT_IMPLEMENTED, "TL does not do chunky data",
                   gentl.DSGetBufferChunkData(h.stream, h.buffer, nullptr, nullptr)),
        CHECK_CASE("NumParts", GC_ERR_NOT_IMPLEMENTED, "TL does not do parts data",
                   gentl.DSGetNumBufferParts(h.stream, h.buffer, &s.count)),
        CHECK_CASE("PartInfo", GC_ERR_NOT_IMPLEMENTED, "TL does not do chunky data info",
                   gentl.DSGetBufferPartInfo(h.stream, h.buffer, 0, 0, &s.type, nullptr, &s.size))),
    testing_support::checkName);

INSTANTIATE_TEST_SUITE_P(
    FlowsAndSegments, StreamExportChecks,
    ::testing::Values(
        CHECK_CASE("NumFlowsNull", kHandle, "null pointer: hDataStream", gentl.DSGetNumFlows(nullptr, &s.count)),
        CHECK_CASE("NumFlowsUnknown", kHandle, "unknown handle: hDataStream", gentl.DSGetNumFlows(kUnknown, &s.count)),
        CHECK_CASE("NumFlowsNullOutput", kParameter, "null pointer: piNumFlows",
                   gentl.DSGetNumFlows(h.stream, nullptr)),
        CHECK_CASE("FlowInfoNullType", kParameter, "null pointer: piType",
                   gentl.DSGetFlowInfo(h.stream, 0, FLOW_INFO_SIZE, nullptr, nullptr, &s.size)),
        CHECK_CASE("FlowInfoNullSize", kParameter, "null pointer: piSize",
                   gentl.DSGetFlowInfo(h.stream, 0, FLOW_INFO_SIZE, &s.type, nullptr, nullptr)),
        CHECK_CASE("FlowInfoIndexAtCount", GC_ERR_INVALID_INDEX, "invalid index: iFlowIndex",
                   gentl.DSGetFlowInfo(h.stream, 1, FLOW_INFO_SIZE, &s.type, nullptr, &s.size)),
        CHECK_CASE("FlowInfoUnknownCommand", GC_ERR_NOT_IMPLEMENTED, "Unknown buffer info command used",
                   gentl.DSGetFlowInfo(h.stream, 0, 1, &s.type, nullptr, &s.size)),
        CHECK_CASE("NumSegmentsNullBuffer", kHandle, "null pointer: hBuffer",
                   gentl.DSGetNumBufferSegments(h.stream, nullptr, &s.count)),
        CHECK_CASE("NumSegmentsNullOutput", kParameter, "null pointer: piNumSegments",
                   gentl.DSGetNumBufferSegments(h.stream, h.buffer, nullptr)),
        CHECK_CASE("NumSegmentsAnotherStreamsBuffer", kHandle, "invalid handle: hBuffer",
                   gentl.DSGetNumBufferSegments(h.stream, h.foreign, &s.count)),
        CHECK_CASE("SegmentInfoNullType", kParameter, "null pointer: piType",
                   gentl.DSGetBufferSegmentInfo(h.stream, h.buffer, 0, SEGMENT_INFO_BASE, nullptr, nullptr, &s.size)),
        CHECK_CASE("SegmentInfoAnotherStreamsBuffer", GC_ERR_NOT_AVAILABLE,
                   "not available before allocating resource: iInfoCmd",
                   gentl.DSGetBufferSegmentInfo(h.stream, h.foreign, 0, SEGMENT_INFO_BASE, &s.type, nullptr, &s.size)),
        CHECK_CASE("SegmentInfoOfAPlainBuffer", GC_ERR_NOT_IMPLEMENTED,
                   "segment info is only available for composite buffers",
                   gentl.DSGetBufferSegmentInfo(h.stream, h.buffer, 0, SEGMENT_INFO_BASE, &s.type, nullptr, &s.size))),
    testing_support::checkName);

TEST_F(StreamExportChecks, PartInfoStackedDoesNothingAndSucceeds) {
  gentl.GCCloseLib();
  EXPECT_EQ(gentl.DSGetBufferPartInfoStacked(nullptr, nullptr, nullptr, 0), GC_ERR_NOT_INITIALIZED);
  ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
  EXPECT_EQ(gentl.DSGetBufferPartInfoStacked(nullptr, nullptr, nullptr, 0), GC_ERR_SUCCESS);
}

TEST_F(StreamExportChecks, ParentOfAStreamIsItsDevice) {
  DEV_HANDLE parent = nullptr;
  ASSERT_EQ(gentl.DSGetParentDev(handles.stream, &parent), GC_ERR_SUCCESS);
  EXPECT_EQ(parent, handles.device);
}

}  // namespace
