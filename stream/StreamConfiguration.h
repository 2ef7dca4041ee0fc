#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "source/ImageFileSource.h"

namespace lumo::mockTL {

// Faults a stream injects, each on every N-th frame of an acquisition, counted from 1 at its
// start; 0 never.
struct FaultPeriods {
  std::uint64_t incompleteEvery = 0;  // delivered marked incomplete, its tail not written
  std::uint64_t lostEvery = 0;        // never delivered; its frame id is used up
  std::uint64_t errorEvery = 0;       // also reported on the stream's error event
};

// The image settings of one stream as the configuration gives them: a plain value record, copied
// freely; the stream keeps its own copy and changes it through the camera's features.
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
  // Faults the stream injects for consumers to test against; fixed for the stream's life.
  FaultPeriods faults;
};

}  // namespace lumo::mockTL
