#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "gendc/ContainerData.h"
#include "gendc/ContainerDescriptor.h"
#include "gendc/ContainerLayout.h"
#include "gendc/StreamSettings.h"

namespace lumo::mockTL::GenDc {

// One frame's GenDC container: its descriptor, written at construction with the current
// timestamp, and where its flows and part data go in the memory it is delivered into. The image
// data itself is not held here: the caller writes each part into the span that placement hands
// back. Built per frame on the acquisition thread from a copy of the stream's settings; immutable
// afterwards, so its const operations may run on any thread, each writing only the memory it is
// given.
class Container {
 public:
  // Throws what ContainerLayout and the header writes throw; no container exists then.
  explicit Container(const StreamSettings& settings);
  virtual ~Container();

  const ContainerLayout& layout() const { return layout_; }
  const ContainerDescriptor& descriptor() const { return *descriptor_; }
  const ContainerData& data() const { return *data_; }

  // Contiguous memory (a plain buffer), in either flow mapping: the descriptor goes to the
  // start and every part lies at its DataOffset. Returns, in part order, the bytes each part's
  // data belongs in. Throws std::invalid_argument, writing nothing, when `buffer` is shorter
  // than layout().totalSize().
  std::vector<std::span<std::uint8_t>> writeInto(std::span<std::uint8_t> buffer) const;

  // One segment per flow (a composite buffer), flow 0 first: the descriptor goes to the start of
  // segment 0 and every part lies at its FlowOffset within the segment of its flow. Returns the
  // part spans as above. Throws std::invalid_argument, writing nothing, when the segment count
  // differs from the flow count or a segment is shorter than its flow.
  std::vector<std::span<std::uint8_t>> writeIntoSegments(std::span<const std::span<std::uint8_t>> segments) const;

 private:
  std::vector<std::span<std::uint8_t>> place(std::span<const std::span<std::uint8_t>> flows) const;

  ContainerLayout layout_;
  std::unique_ptr<ContainerDescriptor> descriptor_;
  std::unique_ptr<ContainerData> data_;
};

}  // namespace lumo::mockTL::GenDc
