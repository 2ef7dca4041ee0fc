#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "stream/StreamConfiguration.h"

// The shape of the simulated tree: plain value records, copied freely. Each module keeps its own
// copy of its record.
namespace lumo::mockTL {

struct DeviceConfiguration {
  // A device never has more streams than this; further entries of a file are dropped.
  static constexpr std::size_t kMaxStreams = 4;

  std::string id = "MyDevice0";
  std::string serialNumber = "MyDevice0";
  std::string userName = "MyDevice0";
  std::string displayName = "MyDevice0";
  std::string model = "Mock Camera (Default)";
  std::string vendor = "KORVANE IMAGING";
  std::string version = "1.0";
  std::vector<StreamConfiguration> streams;
  // The camera waits for TriggerSoftware before each frame ("TriggerMode": "Software").
  bool softwareTrigger = false;
  // The camera is unplugged once its streams together delivered this many frames; 0 never.
  std::uint64_t removeAfterFrames = 0;
  // Not read from files: consumers change them through the device's features.
  bool rdmaCapable = true;
  std::uint32_t streamingMode = 0;
};

struct InterfaceConfiguration {
  std::string id = "MyInterface0";
  std::vector<DeviceConfiguration> devices;
};

struct SystemConfiguration {
  std::string id = "LmMockTL.cti";
  std::vector<InterfaceConfiguration> interfaces;
};

}  // namespace lumo::mockTL
