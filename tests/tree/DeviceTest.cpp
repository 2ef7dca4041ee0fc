// The device module on its own: its stream selector, the modes a consumer may set, and the remote
// device and data streams it hands out.
#include <gtest/gtest.h>

#include "stream/DataStream.h"
#include "support/ExpectGenTLError.h"
#include "support/PortAccess.h"
#include "tree/ConfigurationLoader.h"
#include "tree/Device.h"
#include "tree/RemoteDevice.h"

namespace lumo::mockTL {
namespace {

using testing_support::readText;
using testing_support::readUint32;
using testing_support::writeUint32;

constexpr std::uint64_t kStreamSelector = 0x0;
constexpr std::uint64_t kStreamCount = 0x500;
constexpr std::uint64_t kStreamingMode = 0x504;
constexpr std::uint64_t kRdmaCapable = 0x508;
constexpr std::uint64_t kStreamId = 0x4500;
constexpr std::uint64_t kStreamDisplayName = 0x5000;

class DeviceTest : public ::testing::Test {
 protected:
  std::shared_ptr<Device> device = Device::create(nullptr, ConfigurationLoader::builtInDevice());
};

TEST_F(DeviceTest, StreamSelectorAcceptsTheCountButNotMore) {
  EXPECT_EQ(readUint32(*device, kStreamCount), 4u);
  writeUint32(*device, kStreamSelector, 3);
  EXPECT_EQ(readText(*device, kStreamId, 64), "MyStream3");
  EXPECT_EQ(readText(*device, kStreamDisplayName, 256), "MyStream3") << "the display name repeats the id";

  writeUint32(*device, kStreamSelector, 4);
  EXPECT_GENTL_ERROR(readText(*device, kStreamId, 64), GC_ERR_INVALID_INDEX, "index exceeds datastream map");
  EXPECT_GENTL_ERROR(writeUint32(*device, kStreamSelector, 5), GC_ERR_INVALID_INDEX,
                     "index for selector too large or below 0");
  EXPECT_EQ(readUint32(*device, kStreamSelector), 4u);
}

TEST_F(DeviceTest, RdmaCapableReadsBackAsZeroOrOne) {
  EXPECT_EQ(readUint32(*device, kRdmaCapable), 1u);
  writeUint32(*device, kRdmaCapable, 0);
  EXPECT_EQ(readUint32(*device, kRdmaCapable), 0u);
  writeUint32(*device, kRdmaCapable, 5);
  EXPECT_EQ(readUint32(*device, kRdmaCapable), 1u);
  EXPECT_TRUE(device->rdmaCapable());
}

TEST_F(DeviceTest, StreamingModeIsStoredAsWritten) {
  EXPECT_EQ(readUint32(*device, kStreamingMode), 0u);
  writeUint32(*device, kStreamingMode, 1);
  EXPECT_EQ(device->streamingMode(), 1u);
}

TEST_F(DeviceTest, RecordTextsAreServedEachFromItsOwnField) {
  DeviceConfiguration record{"Id", "Serial", "User", "Display", "Model", "Vendor", "Version", {}};
  const auto named = Device::create(nullptr, record);
  EXPECT_EQ(readText(*named, 0x1000, 64), "Id");
  EXPECT_EQ(readText(*named, 0x1500, 64), "Vendor");
  EXPECT_EQ(readText(*named, 0x2000, 64), "Model");
  EXPECT_EQ(readText(*named, 0x2500, 64), "Serial");
  EXPECT_EQ(readText(*named, 0x3000, 64), "Version");
  EXPECT_EQ(readText(*named, 0x3500, 64), "User");
  EXPECT_EQ(readText(*named, 0x4000, 256), "Display");
  INFO_DATATYPE type = 0;
  char text[16] = {};
  std::size_t size = sizeof(text);
  named->getInfo(DEVICE_INFO_USER_DEFINED_NAME, type, text, size);
  EXPECT_STREQ(text, "User");
}

TEST_F(DeviceTest, OpensExclusivelyAndKeepsItsRemoteDeviceAcrossReopening) {
  ASSERT_TRUE(device->open());
  EXPECT_FALSE(device->open()) << "a second exclusive open";
  const auto camera = device->remoteDevice();
  EXPECT_EQ(camera->parent(), device);
  EXPECT_EQ(camera->moduleName(), "Device");
  EXPECT_EQ(camera->sleepBetweenFrames(), 40000000u);
  device->close();
  EXPECT_FALSE(device->isOpen());
  ASSERT_TRUE(device->open());
  EXPECT_EQ(device->remoteDevice(), camera);
}

TEST_F(DeviceTest, StreamsAreBuiltFromTheRecordsAndOpenOnce) {
  ASSERT_EQ(device->dataStreamCount(), 4u);
  const auto stream = device->findDataStream("MyStream1");
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(device->getDataStream(1), stream);
  EXPECT_EQ(stream->parent(), device);
  EXPECT_EQ(device->findDataStream("MyStream"), nullptr);
  stream->open();
  EXPECT_GENTL_ERROR(stream->open(), GC_ERR_RESOURCE_IN_USE, "ds already open");
}

}  // namespace
}  // namespace lumo::mockTL
