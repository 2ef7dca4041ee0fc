// What each event kind delivers and how it answers info queries about its data and itself.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "event/ErrorEvent.h"
#include "event/NewBufferEvent.h"
#include "event/RemoveDeviceEvent.h"
#include "support/CountingBuffer.h"
#include "support/ExpectGenTLError.h"

namespace lumo::mockTL {
namespace {

using testing_support::CountingBuffer;

template <class T>
std::shared_ptr<T> registered() {
  auto event = Event::create<T>();
  event->Register();
  return event;
}

struct ErrorItemCase {
  std::size_t textLength;
  std::size_t itemBytes;
};

class ErrorItemSize : public ::testing::TestWithParam<ErrorItemCase> {};

// The text is bounded so that the item never exceeds EVENT_SIZE_MAX (256).
TEST_P(ErrorItemSize, IsTheTextWithCodeAndTerminatorUpTo256Bytes) {
  const auto [textLength, itemBytes] = GetParam();
  auto event = registered<ErrorEvent>();
  event->Push({GC_ERR_INVALID_INDEX, std::string(textLength, 'e')});

  std::vector<char> data(300, 'x');
  std::size_t size = itemBytes - 1;
  EXPECT_GENTL_ERROR(event->GetData(data.data(), size, 0), GC_ERR_BUFFER_TOO_SMALL,
                     "The passed buffer is too small for the event data:lumo::mockTL::ErrorEvent::GetDataImpl");
  EXPECT_EQ(event->numInQueue(), 1u) << "a refused item stays queued";
  EXPECT_EQ(data[0], 'x') << "nothing may be written";

  size = data.size();
  event->GetData(data.data(), size, 0);
  EXPECT_EQ(size, itemBytes);
  GC_ERROR code = 0;
  std::memcpy(&code, data.data(), sizeof(code));
  EXPECT_EQ(code, GC_ERR_INVALID_INDEX);
  EXPECT_EQ(std::string(data.data() + 4), std::string(itemBytes - 5, 'e'));
  EXPECT_EQ(event->numDelivered(), 1u);
  EXPECT_EQ(event->numInQueue(), 0u);
}

INSTANTIATE_TEST_SUITE_P(TextLengths, ErrorItemSize,
                         ::testing::Values(ErrorItemCase{0, 5}, ErrorItemCase{10, 15}, ErrorItemCase{250, 255},
                                           ErrorItemCase{251, 256}, ErrorItemCase{252, 256}, ErrorItemCase{1000, 256}));

TEST(ErrorEventData, InfoReadsCodeAndTextWithinTheInputBuffer) {
  auto event = registered<ErrorEvent>();
  char item[12] = {};
  const GC_ERROR code = GC_ERR_NOT_AVAILABLE;
  std::memcpy(item, &code, sizeof(code));
  std::memcpy(item + 4, "overlong", 8);  // no terminator inside the buffer

  INFO_DATATYPE type = 0;
  std::int32_t number = 0;
  std::size_t size = sizeof(number);
  event->GetDataInfo(item, sizeof(item), EVENT_DATA_ID, type, &number, size);
  EXPECT_EQ(number, GC_ERR_NOT_AVAILABLE);
  EXPECT_EQ(type, INFO_DATATYPE_INT32);

  char text[32];
  size = sizeof(text);
  event->GetDataInfo(item, sizeof(item), EVENT_DATA_VALUE, type, text, size);
  EXPECT_STREQ(text, "overlong");
  EXPECT_EQ(type, INFO_DATATYPE_STRING);
  size = sizeof(text);
  event->GetDataInfo(item, 8, EVENT_DATA_VALUE, type, text, size);
  EXPECT_STREQ(text, "over");
}

struct DataInfoRefusal {
  const char* name;
  std::function<std::shared_ptr<Event>()> make;
  std::size_t inSize;
  EVENT_DATA_INFO_CMD command;
  GC_ERROR code;
  std::string message;
};

class EventDataInfoRefusal : public ::testing::TestWithParam<DataInfoRefusal> {};

TEST_P(EventDataInfoRefusal, FailsWithTheKindsCodeAndText) {
  const auto& param = GetParam();
  auto event = param.make();
  char in[64] = {};
  INFO_DATATYPE type = 0;
  char out[64];
  std::size_t size = sizeof(out);
  EXPECT_GENTL_ERROR(event->GetDataInfo(in, param.inSize, param.command, type, out, size), param.code, param.message);
}

const std::string kBadInput = "Invalid input buffer passed when querying event data info";
const std::string kUnknownDataInfo = "Unknown event data info command used";

INSTANTIATE_TEST_SUITE_P(
    Kinds, EventDataInfoRefusal,
    ::testing::Values(
        DataInfoRefusal{"ErrorEventShortInput", registered<ErrorEvent>, 4, EVENT_DATA_ID, GC_ERR_INVALID_PARAMETER,
                        kBadInput + ":lumo::mockTL::EventWorker<lumo::mockTL::ErrorEventData>::GetDataInfo"},
        DataInfoRefusal{"ErrorEventNumId", registered<ErrorEvent>, 8, EVENT_DATA_NUMID, GC_ERR_NOT_IMPLEMENTED,
                        kUnknownDataInfo + ":lumo::mockTL::ErrorEvent::GetDataInfoImpl"},
        DataInfoRefusal{"NewBufferShortInput", registered<NewBufferEvent>, 15, EVENT_DATA_ID, GC_ERR_OUT_OF_MEMORY,
                        "in_size < sizeof(EVENT_NEW_BUFFER_DATA):lumo::mockTL::NewBufferEvent::GetDataInfoImpl"},
        DataInfoRefusal{"NewBufferCustom", registered<NewBufferEvent>, 16, EVENT_DATA_CUSTOM_ID, GC_ERR_NOT_IMPLEMENTED,
                        kUnknownDataInfo + ":lumo::mockTL::NewBufferEvent::GetDataInfoImpl"},
        DataInfoRefusal{"RemoveDeviceValue", registered<RemoveDeviceEvent>, 8, EVENT_DATA_VALUE, GC_ERR_NOT_IMPLEMENTED,
                        kUnknownDataInfo + ":lumo::mockTL::RemoveDeviceEvent::GetDataInfoImpl"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(NewBufferEventData, HandsOutHandleAndUserPointerThenReleasesTheBuffer) {
  auto event = registered<NewBufferEvent>();
  auto buffer = std::make_shared<CountingBuffer>();
  event->Push(buffer);

  EVENT_NEW_BUFFER_DATA data{};
  std::size_t size = sizeof(data) - 1;
  EXPECT_GENTL_ERROR(event->GetData(&data, size, 0), GC_ERR_BUFFER_TOO_SMALL,
                     "The passed buffer is too small for the event data:lumo::mockTL::NewBufferEvent::GetDataImpl");
  EXPECT_EQ(buffer->unqueued.load(), 0) << "a buffer not handed out stays queued";

  size = sizeof(data);
  event->GetData(&data, size, 0);
  EXPECT_EQ(size, 16u);
  EXPECT_EQ(data.BufferHandle, buffer.get());
  EXPECT_EQ(data.pUserPointer, &buffer->userData);
  EXPECT_EQ(buffer->unqueued.load(), 1);

  INFO_DATATYPE type = 0;
  void* pointer = nullptr;
  std::size_t infoSize = sizeof(pointer);
  event->GetDataInfo(&data, sizeof(data), EVENT_DATA_ID, type, &pointer, infoSize);
  EXPECT_EQ(pointer, buffer.get());
  EXPECT_EQ(type, INFO_DATATYPE_PTR);
  event->GetDataInfo(&data, sizeof(data), EVENT_DATA_VALUE, type, &pointer, infoSize);
  EXPECT_EQ(pointer, &buffer->userData);
  EXPECT_EQ(type, INFO_DATATYPE_PTR);
  std::uint64_t number = 0;
  event->GetDataInfo(&data, sizeof(data), EVENT_DATA_NUMID, type, &number, infoSize);
  EXPECT_EQ(number, reinterpret_cast<std::uintptr_t>(buffer.get()));
  EXPECT_EQ(type, INFO_DATATYPE_UINT64);
}

TEST(NewBufferEventData, DiscardedBuffersAreReleasedWithoutCountingAsDelivered) {
  auto event = registered<NewBufferEvent>();
  auto flushed = std::make_shared<CountingBuffer>();
  auto takenWithoutBuffer = std::make_shared<CountingBuffer>();
  event->Push(takenWithoutBuffer);
  event->Push(flushed);

  std::size_t size = 0;
  event->GetData(nullptr, size, 0);
  EXPECT_EQ(takenWithoutBuffer->unqueued.load(), 1);
  EXPECT_EQ(event->numInQueue(), 1u);
  event->Flush();
  EXPECT_EQ(flushed->unqueued.load(), 1);
  EXPECT_EQ(event->numDelivered(), 0u);
}

TEST(RemoveDeviceEventData, DeliversTheStoredBytes) {
  auto event = registered<RemoveDeviceEvent>();
  event->Push({1, 2, 3});
  char data[8] = {};
  std::size_t size = 2;
  EXPECT_GENTL_ERROR(event->GetData(data, size, 0), GC_ERR_BUFFER_TOO_SMALL,
                     "The passed buffer is too small for the event data:lumo::mockTL::RemoveDeviceEvent::GetDataImpl");
  size = sizeof(data);
  event->GetData(data, size, 0);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(std::vector<char>(data, data + 3), (std::vector<char>{1, 2, 3}));
}

struct InfoCase {
  const char* name;
  std::function<std::shared_ptr<Event>()> make;  // a registered event that has fired twice, one item left
  EVENT_INFO_CMD command;
  INFO_DATATYPE type;
  std::size_t size;
  std::uint64_t value;
};

class EventInfo : public ::testing::TestWithParam<InfoCase> {};

TEST_P(EventInfo, AnswersWithTypeSizeAndValue) {
  const auto& param = GetParam();
  auto event = param.make();
  INFO_DATATYPE type = 0;
  std::size_t size = 0;
  event->GetInfo(param.command, type, nullptr, size);
  EXPECT_EQ(size, param.size) << "size query";
  EXPECT_EQ(type, param.type);

  std::uint64_t value = ~std::uint64_t{0};
  size = sizeof(value);
  event->GetInfo(param.command, type, &value, size);
  if (param.size == 4) value &= 0xFFFFFFFFu;
  EXPECT_EQ(value, param.value);
  size = param.size - 1;
  EXPECT_GENTL_ERROR(event->GetInfo(param.command, type, &value, size), GC_ERR_BUFFER_TOO_SMALL,
                     "The passed buffer is too small to receive the requested module information");
}

// A registered event that fired twice and handed its first item out: one is left.
template <class Kind, class Item>
std::shared_ptr<Event> firedTwiceOneLeft(Item first, Item second) {
  auto event = registered<Kind>();
  event->Push(std::move(first));
  event->Push(std::move(second));
  std::size_t size = 0;
  event->GetData(nullptr, size, 0);
  return event;
}

std::shared_ptr<Event> errorEventWithOneLeft() {
  return firedTwiceOneLeft<ErrorEvent>(ErrorEventData{-1, "gone"}, ErrorEventData{-2, "left"});
}
std::shared_ptr<Event> newBufferEventWithOneLeft() {
  return firedTwiceOneLeft<NewBufferEvent, std::shared_ptr<DeliverableBuffer>>(std::make_shared<CountingBuffer>(),
                                                                               std::make_shared<CountingBuffer>());
}
std::shared_ptr<Event> removeDeviceEventWithOneLeft() {
  return firedTwiceOneLeft<RemoveDeviceEvent>(std::vector<std::uint8_t>(40), std::vector<std::uint8_t>(24));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, EventInfo,
    ::testing::Values(
        InfoCase{"ErrorType", errorEventWithOneLeft, EVENT_EVENT_TYPE, INFO_DATATYPE_INT32, 4, EVENT_ERROR},
        InfoCase{"ErrorInQueue", errorEventWithOneLeft, EVENT_NUM_IN_QUEUE, INFO_DATATYPE_SIZET, 8, 1},
        InfoCase{"ErrorFired", errorEventWithOneLeft, EVENT_NUM_FIRED, INFO_DATATYPE_UINT64, 8, 2},
        InfoCase{"ErrorSizeMax", errorEventWithOneLeft, EVENT_SIZE_MAX, INFO_DATATYPE_SIZET, 8, 256},
        InfoCase{"ErrorInfoSizeMax", errorEventWithOneLeft, EVENT_INFO_DATA_SIZE_MAX, INFO_DATATYPE_SIZET, 8, 252},
        InfoCase{"NewBufferFired", newBufferEventWithOneLeft, EVENT_NUM_FIRED, INFO_DATATYPE_UINT64, 8, 2},
        InfoCase{"NewBufferSizeMax", newBufferEventWithOneLeft, EVENT_SIZE_MAX, INFO_DATATYPE_SIZET, 8, 16},
        InfoCase{"NewBufferInfoSizeMax", newBufferEventWithOneLeft, EVENT_INFO_DATA_SIZE_MAX, INFO_DATATYPE_SIZET, 8,
                 8},
        InfoCase{"RemoveDeviceSizeMax", removeDeviceEventWithOneLeft, EVENT_SIZE_MAX, INFO_DATATYPE_SIZET, 8, 24}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(EventInfoCommands, AnUnknownCommandIsNotImplemented) {
  auto event = registered<ErrorEvent>();
  INFO_DATATYPE type = 0;
  std::size_t size = 8;
  EXPECT_GENTL_ERROR(event->GetInfo(EVENT_INFO_CUSTOM_ID, type, nullptr, size), GC_ERR_NOT_IMPLEMENTED,
                     "Unknown event info command used");
}

}  // namespace
}  // namespace lumo::mockTL
