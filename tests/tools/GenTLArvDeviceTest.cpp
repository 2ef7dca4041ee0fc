// Aravis' node map over every module port of the built LmMockTL.cti: the bridge reads each
// module's description through its local: URL and its values through GCReadPort, checked here
// against the GenTL info functions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "tools/Acquisition.h"
#include "tools/FeaturesCommand.h"
#include "tools/GenTLArvDevice.h"
#include "tools/GenTLLibrary.h"
#include "tools/InfoQuery.h"
#include "tools/ProducerSession.h"

namespace {

using namespace lmmocktl;
namespace fs = std::filesystem;

enum class Module { System, Interface, Device, Remote, Stream, Buffer };

struct ModuleCase {
  const char* name;
  Module module;
  const char* description;
  const char* feature;
  std::string (*expected)(const GenTLLibrary& gentl, void* handle);
};

void PrintTo(const ModuleCase& c, std::ostream* out) { *out << c.name; }

// The modules of a one-device tree with an open stream and one announced buffer.
class OpenTree : public ::testing::TestWithParam<ModuleCase> {
 protected:
  static void SetUpTestSuite() {
    configuration_ = fs::temp_directory_path() / ("lmmocktl-arv-" + std::to_string(::getpid()) + ".json");
    std::ofstream(configuration_) << R"({"ID": "ArvBench", "Interfaces": [{"ID": "Left", "Devices": [
        {"ID": "Cam0", "Model": "Bench Camera", "Streams": [
          {"ID": "Main", "PixelFormat": "Mono8", "Width": 32, "Height": 4}]}]}]})";
    ::setenv("LMMOCKTL_CONFIG", configuration_.c_str(), 1);
  }
  static void TearDownTestSuite() {
    ::unsetenv("LMMOCKTL_CONFIG");
    fs::remove(configuration_);
  }

  void SetUp() override {
    gentl_ = std::make_unique<GenTLLibrary>(LMMOCKTL_CTI_PATH);
    session_ = std::make_unique<ProducerSession>(*gentl_);
    const ProducerSession::DeviceEntry entry = session_->findDevice("Cam0");
    device_ = session_->openDevice(entry);
    acquisition_ = std::make_unique<Acquisition>(*gentl_, device_, "Main");
    acquisition_->announce(3, 0);
    gentl_->check(gentl_->DevGetPort(device_, &remote_), "DevGetPort");
    iface_ = session_->openInterface("Left");
    gentl_->check(gentl_->DSGetBufferID(acquisition_->stream(), 0, &buffer_), "DSGetBufferID");
  }
  void TearDown() override {
    acquisition_.reset();
    session_.reset();
    gentl_.reset();
  }

  void* port(Module module) const {
    switch (module) {
      case Module::System: return session_->system();
      case Module::Interface: return iface_;
      case Module::Device: return device_;
      case Module::Remote: return remote_;
      case Module::Stream: return acquisition_->stream();
      case Module::Buffer: return buffer_;
    }
    return nullptr;
  }

  static inline fs::path configuration_;
  std::unique_ptr<GenTLLibrary> gentl_;
  std::unique_ptr<ProducerSession> session_;
  std::unique_ptr<Acquisition> acquisition_;
  DEV_HANDLE device_ = nullptr;
  IF_HANDLE iface_ = nullptr;
  PORT_HANDLE remote_ = nullptr;
  BUFFER_HANDLE buffer_ = nullptr;
};

TEST_P(OpenTree, BridgeReadsTheModulesDescriptionAndValuesThroughItsPort) {
  const ModuleCase& c = GetParam();
  void* handle = port(c.module);
  const GenTLArvDevice features(FeaturesCommand::portFunctions(*gentl_), handle);
  EXPECT_EQ(features.descriptionName(), c.description);
  EXPECT_FALSE(features.featureNames().empty());
  // A buffer's handle is also its port; the other modules' info answers come from their own
  // GenTL functions, not from the port.
  void* infoHandle = c.module == Module::Buffer ? static_cast<void*>(acquisition_->stream()) : handle;
  EXPECT_EQ(features.read(c.feature), c.expected(*gentl_, c.module == Module::Buffer ? buffer_ : infoHandle));
}

std::string tlVendor(const GenTLLibrary& gentl, void* handle) {
  return infoText(
      gentl, [&](INFO_DATATYPE* t, void* b, size_t* s) { return gentl.TLGetInfo(handle, TL_INFO_VENDOR, t, b, s); },
      "TLGetInfo");
}
std::string interfaceId(const GenTLLibrary& gentl, void* handle) {
  return infoText(
      gentl, [&](INFO_DATATYPE* t, void* b, size_t* s) { return gentl.IFGetInfo(handle, INTERFACE_INFO_ID, t, b, s); },
      "IFGetInfo");
}
std::string deviceId(const GenTLLibrary& gentl, void* handle) {
  return infoText(
      gentl, [&](INFO_DATATYPE* t, void* b, size_t* s) { return gentl.DevGetInfo(handle, DEVICE_INFO_ID, t, b, s); },
      "DevGetInfo");
}
std::string configuredModel(const GenTLLibrary&, void*) { return "Bench Camera"; }
std::string streamId(const GenTLLibrary& gentl, void* handle) {
  return infoText(
      gentl, [&](INFO_DATATYPE* t, void* b, size_t* s) { return gentl.DSGetInfo(handle, STREAM_INFO_ID, t, b, s); },
      "DSGetInfo");
}
std::string announcedCount(const GenTLLibrary&, void*) { return "3"; }
std::string bufferHeight(const GenTLLibrary&, void*) { return "4"; }

INSTANTIATE_TEST_SUITE_P(
    SixModules, OpenTree,
    ::testing::Values(ModuleCase{"System", Module::System, "tl_system_1_3_22.xml", "TLVendorName", tlVendor},
                      ModuleCase{"Interface", Module::Interface, "tl_interface_1_3_22.xml", "InterfaceID", interfaceId},
                      ModuleCase{"Device", Module::Device, "tl_device_1_3_22.xml", "DeviceID", deviceId},
                      ModuleCase{"Remote", Module::Remote, "tl_remote_1_3_22.xml", "DeviceModelName", configuredModel},
                      ModuleCase{"Stream", Module::Stream, "tl_datastream_1_3_22.xml", "StreamID", streamId},
                      ModuleCase{"StreamCounters", Module::Stream, "tl_datastream_1_3_22.xml",
                                 "StreamAnnouncedBufferCount", announcedCount},
                      ModuleCase{"Buffer", Module::Buffer, "tl_buffer_1_3_22.xml", "ImageHeight", bufferHeight}),
    [](const ::testing::TestParamInfo<ModuleCase>& info) { return info.param.name; });

TEST_F(OpenTree, RefusedPortAccessCarriesTheProducersLastError) {
  const GenTLArvDevice features(FeaturesCommand::portFunctions(*gentl_), remote_);
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
  const GenTLArvDevice features(FeaturesCommand::portFunctions(*gentl_), remote_);
  features.write("Height", "2");
  EXPECT_EQ(features.read("Height"), "2");
  EXPECT_EQ(features.read("PayloadSize"), "64");  // 32 x 2 Mono8
  EXPECT_THROW(features.read("NoSuchFeature"), std::runtime_error);
  EXPECT_THROW(features.execute("Height"), std::runtime_error);
}

}  // namespace
