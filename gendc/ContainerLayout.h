#pragma once

#include <cstdint>
#include <vector>

#include "gendc/StreamSettings.h"

namespace lumo::mockTL::GenDc {

struct ComponentLayout {
  std::uint64_t headerOffset;              // from the descriptor start
  std::uint64_t headerSize;                // 48 + 8 per part
  std::vector<std::uint64_t> partOffsets;  // header offsets of its parts, from the descriptor start
};

struct PartLayout {
  std::uint64_t componentIndex;
  std::uint64_t partIndex;
  std::uint64_t headerOffset;  // from the descriptor start
  std::uint16_t flowId;
  std::uint64_t flowOffset;  // where the data starts within its flow
  std::uint64_t dataOffset;  // where the data starts within the container
  std::uint64_t dataSize;
};

// Where everything of a stream's GenDC container goes, computed from its settings alone: the
// descriptor (container header, then each component header followed by its part headers), the
// data of the parts behind it in part order, and the flows that carry them. This is what a
// stream needs for its payload size, flow count and flow sizes without building a container.
// A value: cheap to copy, immutable, safe to read from any thread.
class ContainerLayout {
 public:
  static constexpr std::uint32_t kMaxImageCount = 2;

  // Throws std::invalid_argument for an image count outside 1 to kMaxImageCount or a padding the
  // part header cannot hold, std::overflow_error for sizes beyond 64 bits.
  explicit ContainerLayout(const StreamSettings& settings);

  std::uint64_t containerHeaderSize() const { return containerHeaderSize_; }
  std::uint64_t descriptorSize() const { return descriptorSize_; }
  // Sum of the part data sizes.
  std::uint64_t dataSize() const { return dataSize_; }
  // Descriptor and data: the payload of one container in contiguous memory.
  std::uint64_t totalSize() const { return descriptorSize_ + dataSize_; }

  const std::vector<std::uint64_t>& componentOffsets() const { return componentOffsets_; }
  const std::vector<ComponentLayout>& components() const { return components_; }
  // All parts, counted over the components in order.
  const std::vector<PartLayout>& parts() const { return parts_; }

  // Flow 0 first. Single flow: descriptor and all data in one. MultipleFlow: the descriptor
  // alone, then one flow per part. These fill the flow mapping table.
  const std::vector<std::uint64_t>& flowSizes() const { return flowSizes_; }
  std::uint64_t flowCount() const { return flowSizes_.size(); }

 private:
  std::uint64_t containerHeaderSize_ = 0;
  std::uint64_t descriptorSize_ = 0;
  std::uint64_t dataSize_ = 0;
  std::vector<std::uint64_t> componentOffsets_;
  std::vector<ComponentLayout> components_;
  std::vector<PartLayout> parts_;
  std::vector<std::uint64_t> flowSizes_;
};

}  // namespace lumo::mockTL::GenDc
