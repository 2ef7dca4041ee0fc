// GenDC streaming of a generated stream, through the built LmMockTL.cti: a consumer switches the
// camera's GenDC features on, reads the flows, the flow mapping table and the descriptor, announces
// buffers as the flows ask and parses the delivered containers as any GenDC consumer would. What
// these protect is that the stream delivers exactly what it reports, wherever a consumer looks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <numeric>
#include <span>
#include <string>
#include <vector>

#include "support/FlowSession.h"
#include "support/LittleEndian.h"

namespace {

using lumo::mockTL::GenDc::test::expectFields;
using lumo::mockTL::GenDc::test::readField;
using testing_support::FlowSession;
using testing_support::ScopedVariable;
using testing_support::TemporaryDirectory;
using namespace testing_support::camera;

constexpr const char* kVgaStream = R"({
  "Interfaces": [{"ID": "Bench", "Devices": [{"ID": "Cam", "Streams": [
    {"ID": "Vga", "PixelFormat": "Mono8", "Width": 640, "Height": 480}]}]}]})";

constexpr std::uint64_t kImageSize = 640 * 480;

class GenDCStreaming : public FlowSession {
 protected:
  void SetUp() override {
    FlowSession::SetUp();
    stream = openDeviceStream("Vga", "Bench", "Cam");
    openCamera();
  }

  TemporaryDirectory directory;
  ScopedVariable config{"LMMOCKTL_CONFIG", directory.write("vga.json", kVgaStream).string()};
  DS_HANDLE stream = nullptr;
};

struct ContainerCase {
  const char* name;
  std::uint32_t imageCount;
  std::uint32_t flowMapping;  // register value; only 1 spreads the parts over flows of their own
  std::uint32_t partType;
  std::uint64_t descriptorSize;
  std::vector<std::uint64_t> flowSizes;
};

class GenDCContainer : public GenDCStreaming, public ::testing::WithParamInterface<ContainerCase> {};

// The first byte of the generated Mono8 ramp that a part does not hold, or -1.
long firstWrongRampByte(std::span<const std::uint8_t> part) {
  for (size_t offset = 0; offset < part.size(); ++offset) {
    if (part[offset] != static_cast<std::uint8_t>(offset % 640 + offset / 640)) return static_cast<long>(offset);
  }
  return -1;
}

TEST_P(GenDCContainer, DeliversWhatFlowsTableAndDescriptorAnnounce) {
  const ContainerCase& c = GetParam();
  ASSERT_EQ(writeCamera(kTestGenDCImageCount, c.imageCount), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kGenDCFlowMappingConfiguration, c.flowMapping), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kGenDCPartType, c.partType), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kGenDCStreamingMode, 1), GC_ERR_SUCCESS);

  // What the stream announces.
  const std::uint64_t total = std::accumulate(c.flowSizes.begin(), c.flowSizes.end(), std::uint64_t{0});
  EXPECT_EQ(payloadSize(stream), total);
  ASSERT_EQ(flowSizes(stream), c.flowSizes);
  const auto table = streamBytes(stream, STREAM_INFO_FLOW_TABLE);
  ASSERT_EQ(table.size(), 16 + 8 * c.flowSizes.size());
  expectFields(table, {{0, 2, 0x7000}, {4, 4, table.size()}, {8, 1, 1}, {9, 1, 1}, {12, 4, c.flowSizes.size()}});
  for (size_t flow = 0; flow < c.flowSizes.size(); ++flow) {
    EXPECT_EQ(readField(table, 16 + 8 * flow, 8), c.flowSizes[flow]) << "flow " << flow;
  }
  const auto prefetch = streamBytes(stream, STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR);
  ASSERT_EQ(prefetch.size(), c.descriptorSize);

  // The camera reports the same through its GenDC features.
  EXPECT_EQ(readCamera(kGenDCStreamingStatus), 1u);
  EXPECT_EQ(readCamera(kGenDCFlowMappingTableSize), table.size());
  EXPECT_EQ(readCamera(kGenDCDescriptorIsAvailable), 1u);
  EXPECT_EQ(readCamera(kGenDCDescriptorSize), c.descriptorSize);
  const auto tableRegister = readCameraBytes(kGenDCFlowMappingTable, 1024);
  EXPECT_TRUE(std::equal(table.begin(), table.end(), tableRegister.begin()));
  EXPECT_EQ(tableRegister[table.size()], 0xEE) << "the register read writes the table and nothing behind it";
  const auto descriptorRegister = readCameraBytes(kGenDCDescriptor, c.descriptorSize);
  // Equal but for the component timestamps, which say when each descriptor was made.
  EXPECT_EQ(readField(descriptorRegister, 0, 4), 0x43444E47u);
  EXPECT_EQ(readField(descriptorRegister, 48, 4), c.descriptorSize);

  // Buffers as the flows ask: plain ones for one flow, composite ones otherwise.
  if (c.flowSizes.size() == 1) {
    allocateBuffers(stream, 3);
  } else {
    BUFFER_HANDLE plain = nullptr;
    EXPECT_EQ(gentl.DSAllocAndAnnounceBuffer(stream, total, nullptr, &plain), GC_ERR_ERROR);
    expectLastError(GC_ERR_ERROR, "current configuration is not supported by the requested operation");
    announceComposite(stream, c.flowSizes, 3);
  }
  const EVENT_HANDLE event = registerNewBuffer(stream);
  ASSERT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_SUCCESS);
  const BUFFER_HANDLE delivered = nextBuffer(event);
  ASSERT_NE(delivered, nullptr);
  EXPECT_EQ(bufferInfo<size_t>(stream, delivered, BUFFER_INFO_PAYLOADTYPE), size_t{PAYLOAD_TYPE_GENDC});

  // The flows as the consumer finds them: the buffer, or its segments.
  std::vector<std::vector<std::uint8_t>> flows;
  if (c.flowSizes.size() == 1) {
    flows.push_back(bufferBytes(stream, delivered));
  } else {
    for (uint32_t segment = 0; segment < c.flowSizes.size(); ++segment) {
      flows.push_back(segmentBytes(stream, delivered, segment));
    }
  }

  // The descriptor, read from the first flow as a GenDC consumer reads it.
  const auto descriptor = std::span<const std::uint8_t>(flows[0]).first(c.descriptorSize);
  expectFields(descriptor, {{0, 4, 0x43444E47},
                            {32, 8, c.imageCount * kImageSize},
                            {40, 8, c.descriptorSize},
                            {48, 4, c.descriptorSize},
                            {52, 4, c.imageCount}});
  const bool ownFlows = c.flowMapping == 1;
  for (std::uint32_t component = 0; component < c.imageCount; ++component) {
    SCOPED_TRACE("component " + std::to_string(component));
    const auto componentOffset = readField(descriptor, 56 + 8 * component, 8);
    expectFields(descriptor, {{componentOffset, 2, 0x2000},
                              {componentOffset + 32, 8, component},
                              {componentOffset + 40, 4, 0x01080001},
                              {componentOffset + 46, 2, 1}});
    const auto partOffset = readField(descriptor, componentOffset + 48, 8);
    const auto flowId = readField(descriptor, partOffset + 14, 2);
    const auto flowOffset = readField(descriptor, partOffset + 16, 8);
    const auto dataOffset = readField(descriptor, partOffset + 32, 8);
    expectFields(descriptor, {{partOffset, 2, c.partType},
                              {partOffset + 14, 2, ownFlows ? component + 1u : 0u},
                              {partOffset + 24, 8, kImageSize},
                              {partOffset + 40, 4, 640},
                              {partOffset + 44, 4, 480}});
    EXPECT_EQ(dataOffset, c.descriptorSize + component * kImageSize);
    EXPECT_EQ(flowOffset, ownFlows ? 0 : dataOffset);
    ASSERT_LT(flowId, flows.size());
    ASSERT_LE(flowOffset + kImageSize, flows[flowId].size());
    EXPECT_EQ(firstWrongRampByte(std::span<const std::uint8_t>(flows[flowId]).subspan(flowOffset, kImageSize)), -1);
  }
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, GenDCContainer,
    ::testing::Values(ContainerCase{"OneImageOneFlow", 1, 0, 0x4200, 56 + 8 + 56 + 56, {176 + kImageSize}},
                      ContainerCase{"TwoImagesMultipleFlow", 2, 1, 0x4200, 296, {296, kImageSize, kImageSize}},
                      ContainerCase{"TwoImagesOneFlow", 2, 0, 0x4200, 296, {296 + 2 * kImageSize}},
                      // Values other than 1 keep one flow, as SingleFlow does.
                      ContainerCase{"UnknownMappingIsOneFlow", 1, 7, 0x4200, 176, {176 + kImageSize}},
                      ContainerCase{"JpegPartsInTheirOwnFlows", 1, 1, 0x4201, 176, {176, kImageSize}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(GenDCStreaming, SwitchedOffAgainReportsAPlainImageStream) {
  ASSERT_EQ(writeCamera(kGenDCFlowMappingConfiguration, 1), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kGenDCStreamingMode, 1), GC_ERR_SUCCESS);
  ASSERT_EQ(flowSizes(stream).size(), 2u);
  ASSERT_EQ(writeCamera(kGenDCStreamingMode, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(flowSizes(stream), std::vector<std::uint64_t>{kImageSize});
  EXPECT_EQ(payloadSize(stream), kImageSize);
  EXPECT_EQ(readCamera(kGenDCStreamingStatus), 0u);
  EXPECT_EQ(readCamera(kGenDCFlowMappingTableSize), 0u);
  EXPECT_EQ(readCamera(kGenDCDescriptorSize), 0u);
  INFO_DATATYPE type = 0;
  size_t size = 0;
  EXPECT_EQ(gentl.DSGetInfo(stream, STREAM_INFO_FLOW_TABLE, &type, nullptr, &size), GC_ERR_NO_DATA);
}

TEST_F(GenDCStreaming, SettingsNoContainerCanDescribeAreRefusedAndChangeNothing) {
  ASSERT_EQ(writeCamera(kGenDCStreamingMode, 1), GC_ERR_SUCCESS);
  EXPECT_NE(writeCamera(kTestGenDCImageCount, 3), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kTestGenDCImageCount), 1u);
  EXPECT_EQ(payloadSize(stream), 176 + kImageSize);
  // Stored while GenDC streaming is off, refused when it is switched on.
  ASSERT_EQ(writeCamera(kGenDCStreamingMode, 0), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kTestGenDCImageCount, 0), GC_ERR_SUCCESS);
  EXPECT_NE(writeCamera(kGenDCStreamingMode, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(readCamera(kGenDCStreamingMode), 0u);
  EXPECT_EQ(payloadSize(stream), kImageSize);
}

// Consumers ask the size first; one that does not must get the first bytes, never a write past its
// buffer (the sanitizer runs watch this), and the full size back.
TEST_F(GenDCStreaming, ShortReadsOfTableAndDescriptorGetTheirFirstBytesOnly) {
  ASSERT_EQ(writeCamera(kGenDCFlowMappingConfiguration, 1), GC_ERR_SUCCESS);
  ASSERT_EQ(writeCamera(kGenDCStreamingMode, 1), GC_ERR_SUCCESS);
  for (const STREAM_INFO_CMD command : {STREAM_INFO_FLOW_TABLE, STREAM_INFO_GENDC_PREFETCH_DESCRIPTOR}) {
    SCOPED_TRACE("command " + std::to_string(command));
    const auto whole = streamBytes(stream, command);
    auto shortBuffer = std::make_unique<std::uint8_t[]>(8);
    size_t size = 8;
    INFO_DATATYPE type = 0;
    ASSERT_EQ(gentl.DSGetInfo(stream, command, &type, shortBuffer.get(), &size), GC_ERR_SUCCESS);
    EXPECT_EQ(size, whole.size());
    EXPECT_TRUE(std::equal(whole.begin(), whole.begin() + 8, shortBuffer.get()));
  }
  auto shortRead = std::make_unique<std::uint8_t[]>(4);
  size_t length = 4;
  ASSERT_EQ(gentl.GCReadPort(camera, kGenDCDescriptor, shortRead.get(), &length), GC_ERR_SUCCESS);
  EXPECT_EQ(readField(std::span<const std::uint8_t>(shortRead.get(), 4), 0, 4), 0x43444E47u);
}

TEST_F(GenDCStreaming, BufferTooSmallForTheContainerIsReportedAndStillDelivered) {
  ASSERT_EQ(writeCamera(kGenDCStreamingMode, 1), GC_ERR_SUCCESS);
  allocateBuffers(stream, 3, true, kImageSize);
  const EVENT_HANDLE errors = registerErrorEvent(stream);
  const EVENT_HANDLE event = registerNewBuffer(stream);
  ASSERT_EQ(gentl.DSStartAcquisition(stream, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_SUCCESS);
  const BUFFER_HANDLE delivered = nextBuffer(event);
  ASSERT_NE(delivered, nullptr);
  EXPECT_EQ(bufferBytes(stream, delivered), std::vector<std::uint8_t>(kImageSize, 0)) << "left as it was";
  EXPECT_EQ(nextErrorText(errors), "The container does not fit into the buffer.");
  EXPECT_EQ(gentl.DSStopAcquisition(stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

}  // namespace
