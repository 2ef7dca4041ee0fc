#pragma once

#include <cstdint>

namespace lumo::mockTL {

// What a consumer configures of a stream's GenDC delivery through the camera's features. The
// stream keeps them with its image settings; container assembly reads them from there.
struct GenDCSettings {
  static constexpr std::uint16_t kPartType2D = 0x4200;

  std::uint32_t streamingMode = 0;             // 0 off, 1 on
  std::uint32_t flowMappingConfiguration = 0;  // 0 one flow, 1 one flow per part
  std::uint16_t partType = kPartType2D;
  std::uint32_t imageCount = 1;  // images bundled into one container
  std::uint64_t streamFileStartFrameId = 0;
};

}  // namespace lumo::mockTL
