#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "source/LmRReader.h"

namespace lumo::mockTL::LmR {

// One flow of a flow set: read-only bytes inside a data file's mapping.
struct Flow {
  const std::uint8_t* data;
  std::uint64_t size;
};

// The flows of one flow set of a recording. Holds its reader, and so the mappings its flows point
// into. Its flow list is sized once, at construction; moving the view to another flow set rewrites
// it in place, so replaying frame after frame through one view allocates nothing. Not thread safe:
// one thread at a time.
class FlowSetView {
 public:
  // Throws LmR::Error as Reader::locate does.
  FlowSetView(std::shared_ptr<const Reader> reader, std::uint64_t index);

  // Shows flow set `index` instead; on failure the view keeps showing the flow set it had.
  void moveTo(std::uint64_t index);

  std::uint64_t index() const { return index_; }
  std::span<const Flow> flows() const { return flows_; }
  // Throws LmR::Error "Given flow index greater than existing flows in current flow set".
  const Flow& flow(std::uint64_t flow) const;

 private:
  std::shared_ptr<const Reader> reader_;
  std::uint64_t index_ = 0;
  std::vector<Flow> flows_;
};

}  // namespace lumo::mockTL::LmR
