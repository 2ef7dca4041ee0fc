#include "gendc/ContainerDescriptor.h"

namespace lumo::mockTL::GenDc {

ContainerDescriptor::ContainerDescriptor(const StreamSettings& settings, const ContainerLayout& layout)
    : memory_(layout.descriptorSize(), 0),
      containerHeader_(memory_, 0, layout.containerHeaderSize(), layout.descriptorSize(), layout.dataSize(),
                       layout.descriptorSize(), layout.componentOffsets()) {
  const auto& components = layout.components();
  componentHeaders_.reserve(components.size());
  partHeaders_.resize(components.size());
  for (std::size_t index = 0; index < components.size(); ++index) {
    const ComponentLayout& component = components[index];
    componentHeaders_.emplace_back(settings, static_cast<std::int32_t>(index), memory_, component.headerOffset,
                                   component.headerSize, component.partOffsets);
  }
  for (const PartLayout& part : layout.parts()) {
    partHeaders_[part.componentIndex].emplace_back(settings, part.componentIndex, part.partIndex, memory_,
                                                   part.headerOffset, PartHeader::size(), part.flowId, part.dataOffset,
                                                   part.dataSize);
  }
}

ContainerDescriptor::~ContainerDescriptor() = default;

}  // namespace lumo::mockTL::GenDc
