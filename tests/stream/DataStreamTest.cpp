// The data stream module on its own: the image settings behind the payload size, and its
// acquisition thread, paced at 1 ms. Its own refusals sit behind the export checks, which consumers
// meet first; those are checked through the built producer.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "base/Pfnc.h"
#include "event/ErrorEvent.h"
#include "stream/CameraLink.h"
#include "stream/DataStream.h"
#include "tree/ConfigurationLoader.h"

namespace lumo::mockTL {
namespace {

constexpr std::uint64_t kOneMillisecond = 1000000;
constexpr std::uint64_t kWait = 5000;

class DataStreamTest : public ::testing::Test {
 protected:
  void SetUp() override {
    camera->setFramePeriod(kOneMillisecond);
    stream->format().setWidth(16);
    stream->format().setHeight(4);
  }

  // `count` buffers of the payload size, queued.
  std::vector<std::shared_ptr<Resource>> queueBuffers(int count) {
    std::vector<std::shared_ptr<Resource>> buffers;
    for (int i = 0; i < count; ++i) {
      buffers.push_back(stream->AllocAndAnnounce(stream->format().payloadSize(), nullptr));
      stream->QueueBuffer(buffers.back());
    }
    return buffers;
  }

  std::shared_ptr<NewBufferEvent> newBufferEvent() {
    auto event = std::dynamic_pointer_cast<NewBufferEvent>(stream->eventSource()->find(EVENT_NEW_BUFFER));
    event->Register();
    return event;
  }

  // The next delivered buffer's handle.
  static BUFFER_HANDLE next(Event& event) {
    EVENT_NEW_BUFFER_DATA data{};
    std::size_t size = sizeof(data);
    event.GetData(&data, size, kWait);
    return data.BufferHandle;
  }

  std::shared_ptr<CameraLink> camera = std::make_shared<CameraLink>();
  std::shared_ptr<DataStream> stream =
      std::make_shared<DataStream>(nullptr, ConfigurationLoader::builtInDevice().streams.at(0), camera);
};

TEST_F(DataStreamTest, PayloadFollowsTheSettingsAsTheStreamReportsThem) {
  stream->format().setWidth(640);
  stream->format().setHeight(480);
  EXPECT_EQ(stream->format().payloadSize(), 307200u);
  const auto before = stream->AllocAndAnnounce(stream->format().payloadSize(), nullptr);

  stream->format().setPaddingPixelCountX(4);
  stream->format().setPaddingLineCountY(2);
  EXPECT_EQ(stream->format().payloadSize(), 307200u) << "padding counts only while the padding mode is 1";
  stream->format().setPaddingMode(1);
  EXPECT_EQ(stream->format().payloadSize(), 644u * 482u);
  stream->format().setPixelFormat(pfnc::RGB8);
  EXPECT_EQ(stream->format().payloadSize(), 644u * 482u * 3u);
  stream->format().setPixelFormat(0);
  EXPECT_EQ(stream->format().imageGeometry().pixelFormat, pfnc::Mono8) << "no format reads as Mono8";
  stream->format().setPaddingMode(2);
  EXPECT_EQ(stream->format().payloadSize(), 307200u);

  std::size_t dataSize = 0;
  std::size_t size = sizeof(dataSize);
  INFO_DATATYPE type = 0;
  before->GetBufferInfo(BUFFER_INFO_DATA_SIZE, type, &dataSize, size);
  EXPECT_EQ(dataSize, 307200u) << "a buffer keeps the payload size it was made with";
}

TEST_F(DataStreamTest, FailedFillIsReportedOnTheErrorEventAndTheFrameStillDelivered) {
  constexpr std::uint32_t kUnknownEightBitFormat = 0x010800FF;
  stream->format().setPixelFormat(kUnknownEightBitFormat);
  queueBuffers(3);
  const auto event = newBufferEvent();
  stream->errorEvent()->Register();
  stream->startGrabbing(ACQ_START_FLAGS_DEFAULT, 1);
  EXPECT_NE(next(*event), nullptr);

  char data[ErrorEvent::kMaxDataBytes] = {};
  std::size_t size = sizeof(data);
  stream->errorEvent()->GetData(data, size, kWait);
  GC_ERROR code = 0;
  std::memcpy(&code, data, sizeof(code));
  EXPECT_EQ(code, GC_ERR_ERROR);
  EXPECT_STREQ(data + sizeof(code), "unsupported pixel format");
  stream->stopGrabbing();
}

TEST_F(DataStreamTest, LongFramePeriodDoesNotDelayTheStop) {
  camera->setFramePeriod(3600ULL * 1000 * kOneMillisecond);
  queueBuffers(3);
  stream->startGrabbing(ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
  // Joins a thread that sleeps towards its next frame an hour away; a stop that waited for it
  // would hang the test.
  stream->stopGrabbing();
  EXPECT_FALSE(stream->isGrabbing());
}

}  // namespace
}  // namespace lumo::mockTL
