// Buffers on their own: the timestamp they carry in their memory, the fill that follows the
// stream's settings or gives up when the stream is gone, and composite buffers' segments.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

#include "base/Pfnc.h"
#include "stream/DataStream.h"
#include "support/ExpectGenTLError.h"
#include "support/ExpectThrowMessage.h"
#include "support/StaleBuffer.h"

namespace lumo::mockTL {
namespace {

StreamConfiguration smallMono8() {
  StreamConfiguration record;
  record.id = "Small";
  record.pixelFormat = pfnc::Mono8;
  record.width = 16;
  record.height = 4;
  return record;
}

class BufferTest : public ::testing::Test {
 protected:
  std::shared_ptr<DataStream> stream = std::make_shared<DataStream>(nullptr, smallMono8());
};

template <class T>
T info(const Resource& resource, BUFFER_INFO_CMD command) {
  T value{};
  std::size_t size = sizeof(value);
  INFO_DATATYPE type = 0;
  resource.GetBufferInfo(command, type, &value, size);
  return value;
}

TEST_F(BufferTest, TimestampIsCutToABufferShorterThanItself) {
  std::vector<std::byte> memory = staleBuffer(12);
  const auto resource = stream->Announce(4, memory.data(), nullptr);
  resource->buffer().stampTimestamp();
  EXPECT_EQ(std::vector<std::byte>(memory.begin() + 4, memory.end()), staleBuffer(8));
}

TEST_F(BufferTest, FillFollowsTheStreamsCurrentSettings) {
  std::vector<std::byte> memory = staleBuffer(16 * 4 * 3);
  const auto resource = stream->Announce(memory.size(), memory.data(), nullptr);
  stream->format().setPixelFormat(pfnc::RGB8);
  stream->writeFrame(resource->buffer().segments(), nullptr);
  EXPECT_EQ(std::to_integer<int>(memory[0]), 55);
  EXPECT_EQ(std::to_integer<int>(memory[1]), 161);
  EXPECT_EQ(std::to_integer<int>(memory[2]), 102);
  EXPECT_EQ(info<std::uint64_t>(*resource, BUFFER_INFO_PIXELFORMAT), pfnc::RGB8) << "read live from the stream";
  EXPECT_EQ(info<std::size_t>(*resource, BUFFER_INFO_WIDTH), 16u) << "frozen when the buffer was made";
}

TEST_F(BufferTest, BufferWhoseStreamIsGoneRefusesToTellItsFormat) {
  std::vector<std::byte> memory = staleBuffer(64);
  const auto resource = stream->Announce(memory.size(), memory.data(), nullptr);
  stream.reset();
  EXPECT_THROW_MESSAGE(info<std::uint64_t>(*resource, BUFFER_INFO_PIXELFORMAT), std::invalid_argument,
                       "The given data stream handle is not valid.");
}

// --- Composite buffers, made directly with two segments. ---

class SegmentedBufferTest : public BufferTest {
 protected:
  std::vector<std::byte> first = staleBuffer(16);
  std::vector<std::byte> second = staleBuffer(8);
  std::shared_ptr<SegmentedBuffer> buffer =
      std::make_shared<SegmentedBuffer>(stream, std::vector<Segment>{{first.data(), 16}, {second.data(), 8}});

  template <class T>
  T segmentInfo(std::uint32_t index, SEGMENT_INFO_CMD command, INFO_DATATYPE expectedType) {
    T value{};
    std::size_t size = sizeof(value);
    INFO_DATATYPE type = 0;
    buffer->GetBufferSegmentInfo(index, command, type, &value, size);
    EXPECT_EQ(type, expectedType);
    return value;
  }
};

TEST_F(SegmentedBufferTest, AnswersForEachSegmentAndItsTimestamp) {
  EXPECT_EQ(segmentInfo<void*>(1, SEGMENT_INFO_BASE, INFO_DATATYPE_PTR), second.data());
  EXPECT_EQ(segmentInfo<std::size_t>(1, SEGMENT_INFO_SIZE, INFO_DATATYPE_SIZET), 8u);
  EXPECT_EQ(segmentInfo<std::size_t>(0, SEGMENT_INFO_SIZE_FILLED, INFO_DATATYPE_SIZET), 16u);
  EXPECT_EQ(segmentInfo<std::size_t>(0, SEGMENT_INFO_DATA_SIZE, INFO_DATATYPE_SIZET), 16u);
  EXPECT_EQ(segmentInfo<std::uint8_t>(0, SEGMENT_INFO_IS_INCOMPLETE, INFO_DATATYPE_BOOL8), 0);
  EXPECT_EQ(segmentInfo<std::uint64_t>(0, 28, INFO_DATATYPE_UINT64), buffer->timestamp());
  EXPECT_EQ(buffer->moduleId(), BufferBase::moduleIdOf(first.data())) << "named after its first segment";

  INFO_DATATYPE type = 0;
  std::size_t size = 0;
  EXPECT_GENTL_ERROR(buffer->GetBufferSegmentInfo(0, SEGMENT_INFO_CUSTOM_ID, type, nullptr, size),
                     GC_ERR_NOT_IMPLEMENTED, "unknown command used: iInfoCmd");
}

}  // namespace
}  // namespace lumo::mockTL
