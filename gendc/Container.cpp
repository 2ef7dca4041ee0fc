#include "gendc/Container.h"

#include <algorithm>
#include <cassert>
#include <stdexcept>

namespace lumo::mockTL::GenDc {

Container::Container(const StreamSettings& settings)
    : layout_(settings),
      descriptor_(std::make_unique<ContainerDescriptor>(settings, layout_)),
      data_(std::make_unique<ContainerData>(0, layout_.descriptorSize(), layout_.flowSizes())) {}

Container::~Container() = default;

std::vector<std::span<std::uint8_t>> Container::writeInto(std::span<std::uint8_t> buffer) const {
  if (buffer.size() < layout_.totalSize()) {
    throw std::invalid_argument("The container does not fit into the buffer.");
  }
  std::vector<std::span<std::uint8_t>> flows{buffer.first(layout_.flowSizes()[0])};
  for (const ContainerData::Segment& segment : data_->segments()) {
    flows.push_back(buffer.subspan(segment.offset, segment.size));
  }
  return place(flows);
}

std::vector<std::span<std::uint8_t>> Container::writeIntoSegments(
    std::span<const std::span<std::uint8_t>> segments) const {
  const auto& flowSizes = layout_.flowSizes();
  if (segments.size() != flowSizes.size()) {
    throw std::invalid_argument("The number of flows does not match the number of buffer segments.");
  }
  for (std::size_t flow = 0; flow < segments.size(); ++flow) {
    if (segments[flow].size() < flowSizes[flow]) {
      throw std::invalid_argument("The flow does not fit into the corresponding buffer segment.");
    }
  }
  return place(segments);
}

std::vector<std::span<std::uint8_t>> Container::place(std::span<const std::span<std::uint8_t>> flows) const {
  const auto descriptor = descriptor_->bytes();
  std::copy(descriptor.begin(), descriptor.end(), flows[0].begin());
  std::vector<std::span<std::uint8_t>> parts;
  for (const PartLayout& part : layout_.parts()) {
    const std::span<std::uint8_t> flow = flows[part.flowId];
    assert(part.flowOffset <= flow.size() && part.dataSize <= flow.size() - part.flowOffset);
    parts.push_back(flow.subspan(part.flowOffset, part.dataSize));
  }
  return parts;
}

}  // namespace lumo::mockTL::GenDc
