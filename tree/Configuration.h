#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "source/ImageFileSource.h"

// The shape of the simulated tree and the image settings of every stream: plain value records,
// copied freely. Each module keeps its own copy of its record.
namespace lumo::mockTL {

struct StreamConfiguration {
  std::string id;
  std::uint32_t pixelFormat = 0;  // PFNC code; 0 means none was configured
  std::uint32_t width = 1920;
  std::uint32_t height = 1080;
  std::int32_t paddingMode = 0;
  std::uint32_t paddingPixelCountX = 0;
  std::uint32_t paddingLineCountY = 0;
  // Where the image-file source takes its images from, and the images it loaded from there when the
  // configuration was read. Copies of the record share the images, which are immutable.
  std::optional<std::filesystem::path> imageDirectoryPath;
  std::optional<std::vector<std::filesystem::path>> imageOrder;
  ImageList images;
  // A recorded stream file to replay instead of images; it then defines the format itself.
  std::filesystem::path path;
  bool isStreamFile = false;
};

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
