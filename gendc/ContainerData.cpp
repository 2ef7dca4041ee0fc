#include "gendc/ContainerData.h"

#include "gendc/CheckedSize.h"

namespace lumo::mockTL::GenDc {

ContainerData::ContainerData(std::uint64_t baseOffset, std::uint64_t descriptorSize,
                             std::span<const std::uint64_t> flowSizes)
    : descriptorSize_(descriptorSize) {
  std::uint64_t offset = checkedAdd(baseOffset, descriptorSize);
  for (std::size_t flow = 1; flow < flowSizes.size(); ++flow) {
    segments_.push_back(Segment{offset, flowSizes[flow]});
    offset = checkedAdd(offset, flowSizes[flow]);
  }
}

ContainerData::~ContainerData() = default;

}  // namespace lumo::mockTL::GenDc
