#include "gendc/ContainerLayout.h"

#include <stdexcept>
#include <utility>

#include "gendc/CheckedSize.h"
#include "gendc/ComponentHeader.h"
#include "gendc/ContainerHeader.h"
#include "gendc/PartHeader.h"

namespace lumo::mockTL::GenDc {

ContainerLayout::ContainerLayout(const StreamSettings& settings) {
  // The count sizes the descriptor, which every frame allocates: it is bounded here rather
  // than trusted from the register.
  if (settings.imageCount < 1 || settings.imageCount > kMaxImageCount) {
    throw std::invalid_argument("GenDC image count must be 1 or 2");
  }
  if (settings.paddingX > 0xFFFF || settings.paddingY > 0xFFFF) {
    throw std::invalid_argument("padding does not fit the GenDC part header");
  }
  const std::uint64_t imageSize = settings.imageSize();
  const bool ownFlowPerPart = settings.multipleFlow();

  containerHeaderSize_ = ContainerHeader::sizeFor(settings.imageCount);
  std::uint64_t headerOffset = containerHeaderSize_;
  for (std::uint64_t component = 0; component < settings.imageCount; ++component) {
    ComponentLayout layout{headerOffset, ComponentHeader::sizeFor(StreamSettings::kPartsPerComponent), {}};
    headerOffset += layout.headerSize;
    for (std::uint64_t part = 0; part < StreamSettings::kPartsPerComponent; ++part) {
      layout.partOffsets.push_back(headerOffset);
      const auto flowId = static_cast<std::uint16_t>(ownFlowPerPart ? parts_.size() + 1 : 0);
      parts_.push_back(PartLayout{component, part, headerOffset, flowId, 0, 0, imageSize});
      headerOffset += PartHeader::size();
    }
    componentOffsets_.push_back(layout.headerOffset);
    components_.push_back(std::move(layout));
  }
  descriptorSize_ = headerOffset;

  flowSizes_.push_back(descriptorSize_);
  std::uint64_t dataOffset = descriptorSize_;
  for (PartLayout& part : parts_) {
    part.dataOffset = dataOffset;
    part.flowOffset = part.flowId == 0 ? dataOffset : 0;
    dataOffset = checkedAdd(dataOffset, part.dataSize);
    if (ownFlowPerPart) {
      flowSizes_.push_back(part.dataSize);
    } else {
      flowSizes_[0] += part.dataSize;
    }
  }
  dataSize_ = dataOffset - descriptorSize_;
}

}  // namespace lumo::mockTL::GenDc
