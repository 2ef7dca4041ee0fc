// Aravis' node map over every module port of the built LmMockTL.cti: the bridge reads each
// module's description through its local: URL and its values through GCReadPort.
#include <gtest/gtest.h>

#include <string>

#include "support/ModulePorts.h"
#include "support/ScopedEnvironment.h"

namespace {

using lmmocktl::GenTLArvDevice;
using testing_support::Module;
using testing_support::ModulePorts;

struct ModuleCase {
  const char* name;
  Module module;
  const char* description;
  const char* feature;
  const char* expected;  // as the configuration below and the GenTL info functions give it
};

// The modules of a one-device tree with an open stream and three announced buffers.
class OpenTree : public ::testing::TestWithParam<ModuleCase> {
 protected:
  testing_support::TemporaryDirectory directory;
  testing_support::ScopedVariable config{"LMMOCKTL_CONFIG", directory
                                                                .write("arv.json", R"({"ID": "ArvBench",
      "Interfaces": [{"ID": "Left", "Devices": [{"ID": "Cam0", "Model": "Bench Camera", "Streams": [
        {"ID": "Main", "PixelFormat": "Mono8", "Width": 32, "Height": 4}]}]}]})")
                                                                .string()};
  ModulePorts ports{3};
};

TEST_P(OpenTree, BridgeReadsTheModulesDescriptionAndValuesThroughItsPort) {
  const ModuleCase& c = GetParam();
  const GenTLArvDevice features(ports.functions(), ports.port(c.module));
  EXPECT_EQ(features.descriptionName(), c.description);
  EXPECT_FALSE(features.featureNames().empty());
  EXPECT_EQ(features.read(c.feature), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    SixModules, OpenTree,
    ::testing::Values(ModuleCase{"System", Module::System, "tl_system_1_3_22.xml", "TLVendorName", "KORVANE IMAGING"},
                      ModuleCase{"Interface", Module::Interface, "tl_interface_1_3_22.xml", "InterfaceID", "Left"},
                      ModuleCase{"Device", Module::Device, "tl_device_1_3_22.xml", "DeviceID", "Cam0"},
                      ModuleCase{"Remote", Module::Remote, "tl_remote_1_3_22.xml", "DeviceModelName", "Bench Camera"},
                      ModuleCase{"Stream", Module::Stream, "tl_datastream_1_3_22.xml", "StreamID", "Main"},
                      ModuleCase{"StreamCounters", Module::Stream, "tl_datastream_1_3_22.xml",
                                 "StreamAnnouncedBufferCount", "3"},
                      ModuleCase{"Buffer", Module::Buffer, "tl_buffer_1_3_22.xml", "ImageHeight", "4"}),
    [](const ::testing::TestParamInfo<ModuleCase>& info) { return info.param.name; });

TEST_F(OpenTree, RefusedPortAccessCarriesTheProducersLastError) {
  const GenTLArvDevice features(ports.functions(), ports.port(Module::Remote));
  std::uint32_t value = 0;
  GError* error = nullptr;
  EXPECT_FALSE(arv_device_read_memory(features.device(), 0xDEAD0000, sizeof(value), &value, &error));
  ASSERT_NE(error, nullptr);
  const std::string message = error->message;
  g_clear_error(&error);
  EXPECT_EQ(message.rfind("GCReadPort of 4 bytes at 0xdead0000 failed: ", 0), 0u) << message;
  EXPECT_NE(message.find("(error -"), std::string::npos) << message;
}

TEST_F(OpenTree, WritesGoThroughThePortAndReadBack) {
  const GenTLArvDevice features(ports.functions(), ports.port(Module::Remote));
  features.write("Height", "2");
  EXPECT_EQ(features.read("Height"), "2");
  EXPECT_EQ(features.read("PayloadSize"), "64");  // 32 x 2 Mono8
  EXPECT_THROW(features.read("NoSuchFeature"), std::runtime_error);
  EXPECT_THROW(features.execute("Height"), std::runtime_error);
}

}  // namespace
