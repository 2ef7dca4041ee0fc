#include "source/LmRFlowSetView.h"

#include <utility>

#include "source/LmRError.h"

namespace lumo::mockTL::LmR {

FlowSetView::FlowSetView(std::shared_ptr<const Reader> reader, std::uint64_t index) : reader_(std::move(reader)) {
  flows_.resize(reader_->info().flowSizes.size());
  moveTo(index);
}

void FlowSetView::moveTo(std::uint64_t index) {
  const auto location = reader_->locate(index);
  index_ = index;
  const auto& sizes = reader_->info().flowSizes;
  const auto& offsets = reader_->flowOffsets();
  // An empty data file has no mapping to point into; its flows are all empty then.
  const std::uint8_t* base = location.file->data() == nullptr ? nullptr : location.file->data() + location.offset;
  for (std::size_t i = 0; i < flows_.size(); ++i) {
    flows_[i] = {base == nullptr ? nullptr : base + offsets[i], sizes[i]};
  }
}

const Flow& FlowSetView::flow(std::uint64_t flow) const {
  if (flow >= flows_.size()) {
    throw Error(LmRStatus::InvalidIndex, "Given flow index greater than existing flows in current flow set");
  }
  return flows_[flow];
}

}  // namespace lumo::mockTL::LmR
