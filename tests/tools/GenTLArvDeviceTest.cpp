// What the lmmocktl Aravis bridge adds over the built LmMockTL.cti: refused port access carries the
// producer's last error. The conformance suite reads every module's nodes through the bridge, and
// lmmocktl's `features` tests write through it to the camera.
#include <gtest/gtest.h>

#include <string>

#include "support/ModulePorts.h"
#include "support/ScopedEnvironment.h"

namespace {

using lmmocktl::GenTLArvDevice;
using testing_support::Module;
using testing_support::ModulePorts;

// A one-device tree with an open stream and three announced buffers.
class OpenTree : public ::testing::Test {
 protected:
  testing_support::TemporaryDirectory directory;
  testing_support::ScopedVariable config{"LMMOCKTL_CONFIG", directory
                                                                .write("arv.json", R"({"ID": "ArvBench",
      "Interfaces": [{"ID": "Left", "Devices": [{"ID": "Cam0", "Model": "Bench Camera", "Streams": [
        {"ID": "Main", "PixelFormat": "Mono8", "Width": 32, "Height": 4}]}]}]})")
                                                                .string()};
  ModulePorts ports{3};
};

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

}  // namespace
