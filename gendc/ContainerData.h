#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace lumo::mockTL::GenDc {

// Where the flows after flow 0 lie when a container sits in contiguous memory. Flow 0 is not
// listed: it is the descriptor and, in a single flow, all the data behind it.
class ContainerData {
 public:
  struct Segment {
    std::uint64_t offset;  // from the start of the memory the container was placed in
    std::uint64_t size;
  };

  // baseOffset is where the container starts in that memory; flowSizes are flow 0 first.
  ContainerData(std::uint64_t baseOffset, std::uint64_t descriptorSize, std::span<const std::uint64_t> flowSizes);
  virtual ~ContainerData();

  std::uint64_t descriptorSize() const { return descriptorSize_; }
  const std::vector<Segment>& segments() const { return segments_; }

 private:
  std::uint64_t descriptorSize_;
  std::vector<Segment> segments_;
};

}  // namespace lumo::mockTL::GenDc
