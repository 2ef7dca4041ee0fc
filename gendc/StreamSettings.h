#pragma once

#include <cstdint>

#include "base/Pfnc.h"

namespace lumo::mockTL::GenDc {

// HeaderType written into every part header; the register passes any 16-bit value through.
enum class PartType : std::uint16_t { Type2D = 0x4200, Type2D_JPEG = 0x4201 };

// What a data stream's GenDC containers are made of: a copy of the stream's GenDC features and
// image geometry, taken by the stream under its own lock (they are fixed while the transport
// layer parameters are locked). Geometry is as the stream reports it to its buffers: padding
// already 0 when padding mode is off, pixel format already Mono8 when none is configured.
struct StreamSettings {
  // The register values of GenDCFlowMappingConfiguration: SingleFlow and the deprecated
  // Contiguous are 0, MultipleFlow and the deprecated Composite are 1.
  static constexpr std::uint32_t kSingleFlow = 0;
  static constexpr std::uint32_t kMultipleFlow = 1;
  // Image sources deliver one plane per image, interleaved colour included.
  static constexpr std::uint32_t kPartsPerComponent = 1;

  bool streamingMode = false;  // GenDCStreamingMode On; containers are built only while it is set
  std::uint32_t flowMappingConfiguration = kSingleFlow;
  PartType partType = PartType::Type2D;
  std::uint32_t imageCount = 1;  // TestGenDCImageCount: one component per image
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t pixelFormat = pfnc::Mono8;  // PFNC code
  std::uint32_t paddingX = 0;               // pixels appended to every line
  std::uint32_t paddingY = 0;               // lines appended after the image

  // Only the value 1 selects one flow per part; any other value, including ones the
  // enumeration does not know, keeps descriptor and data together in one flow.
  bool multipleFlow() const { return flowMappingConfiguration == kMultipleFlow; }

  // Bytes of one image in the stream's format and geometry, padding included:
  // bits per pixel (PFNC bits 16 to 23) × (width + padding X) × (height + padding Y) / 8, the
  // product formed in full before the division. Throws std::overflow_error when it does not fit
  // 64 bits.
  std::uint64_t imageSize() const;

  // Pixel format of a part: every image source delivers one plane in the stream's format.
  // Throws std::out_of_range for a component or part the container does not have.
  std::uint32_t partPixelFormat(std::uint64_t componentIndex, std::uint64_t partIndex) const;
};

}  // namespace lumo::mockTL::GenDc
