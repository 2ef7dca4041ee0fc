// The system module's registers and its interface list, on a system built directly from records.
#include <gtest/gtest.h>

#include "support/ExpectGenTLError.h"
#include "support/PortAccess.h"
#include "support/ScopedEnvironment.h"
#include "tree/ConfigurationLoader.h"
#include "tree/Device.h"
#include "tree/Interface.h"
#include "tree/TransportLayer.h"

namespace lumo::mockTL {
namespace {

using testing_support::readText;
using testing_support::readUint32;
using testing_support::writeUint32;

SystemConfiguration twoInterfaces() {
  SystemConfiguration system = ConfigurationLoader::builtIn();
  InterfaceConfiguration second = ConfigurationLoader::builtInInterface();
  second.id = "Second";
  system.interfaces.push_back(second);
  return system;
}

class TransportLayerTest : public ::testing::Test {
 protected:
  testing_support::NoConfigurationFile noFile;
  std::shared_ptr<TransportLayer> system = std::make_shared<TransportLayer>(twoInterfaces());
};

TEST_F(TransportLayerTest, RegistersDescribeTheProducer) {
  EXPECT_EQ(readText(*system, 0x50, 64), "KORVANE IMAGING");
  EXPECT_EQ(readText(*system, 0x250, 16), "1.1");
  EXPECT_EQ(readUint32(*system, 0x40), 1u);
  EXPECT_EQ(readUint32(*system, 0x30), 6u);
  EXPECT_EQ(readUint32(*system, 0x0), 2u);
  EXPECT_EQ(readText(*system, 0x300, 256), TransportLayer::UniqueId());
  EXPECT_EQ(readText(*system, 0x150, 64), TransportLayer::UniqueId());
  EXPECT_EQ(readText(*system, 0x2000, 256), readText(*system, 0x300, 256)) << "TLDisplayName reads the id";
  const std::string path = readText(*system, 0x1000, 1024);
  EXPECT_EQ(path, TransportLayer::ProducerPath());
  EXPECT_EQ(readText(*system, 0x5000, 256), path.substr(path.rfind('/') + 1));
}

TEST_F(TransportLayerTest, InterfaceSelectorIsCheckedOnlyWhenTheSelectionIsRead) {
  EXPECT_EQ(readText(*system, 0x3000, 64), "MyInterface0");
  writeUint32(*system, 0x10, 1);
  EXPECT_EQ(readText(*system, 0x3000, 64), "Second");
  EXPECT_EQ(readText(*system, 0x4000, 256), "Second");

  writeUint32(*system, 0x10, 5);
  EXPECT_EQ(readUint32(*system, 0x10), 5u);
  EXPECT_GENTL_ERROR(readText(*system, 0x3000, 64), GC_ERR_INVALID_INDEX, "wrong interface index");
}

TEST_F(TransportLayerTest, InterfaceUpdateListIsAcceptedAndChangesNothing) {
  const auto first = system->InterfaceByIndex(0);
  writeUint32(*system, 0x20, 1);
  EXPECT_EQ(system->InterfaceByIndex(0), first);
  EXPECT_EQ(readUint32(*system, 0x0), 2u);
  EXPECT_GENTL_ERROR(readUint32(*system, 0x20), GC_ERR_ACCESS_DENIED,
                     "One or more registers in the requested read range are not readable");
}

TEST_F(TransportLayerTest, InterfacesAreBuiltOnceAndFoundByIdIndexOrModule) {
  const auto second = system->InterfaceById("Second");
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(system->InterfaceByIndex(1), second);
  EXPECT_EQ(system->InterfaceByHandle(*second), second);
  EXPECT_EQ(system->InterfaceById("Third"), nullptr);
  EXPECT_EQ(system->InterfaceByHandle(*system), nullptr) << "a module that is no interface is not held";
  EXPECT_GENTL_ERROR(system->InterfaceById(""), GC_ERR_INVALID_PARAMETER, "id is empty");
  EXPECT_GENTL_ERROR(system->InterfaceByIndex(2), GC_ERR_INVALID_INDEX, "wrong interface index");

  const auto stranger = std::make_shared<Interface>(nullptr, ConfigurationLoader::builtInInterface());
  EXPECT_NE(system->InterfaceByHandle(*stranger), stranger) << "only interfaces of this system are held";
}

TEST_F(TransportLayerTest, OpensOnceAndCloseClosesOpenInterfacesWithTheirDevices) {
  system->Open();
  EXPECT_GENTL_ERROR(system->Open(), GC_ERR_RESOURCE_IN_USE, "tl is already open");
  const auto iface = system->InterfaceByIndex(0);
  ASSERT_TRUE(iface->open());
  const auto device = iface->openDevice("MyDevice0", DEVICE_ACCESS_EXCLUSIVE);

  system->Close();
  EXPECT_FALSE(system->IsOpen());
  EXPECT_FALSE(iface->isOpen());
  EXPECT_FALSE(device->isOpen());
  system->Open();
  EXPECT_EQ(system->InterfaceByIndex(0), iface);
}

}  // namespace
}  // namespace lumo::mockTL
