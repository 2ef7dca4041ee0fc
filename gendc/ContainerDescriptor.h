#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "gendc/ComponentHeader.h"
#include "gendc/ContainerHeader.h"
#include "gendc/ContainerLayout.h"
#include "gendc/PartHeader.h"
#include "gendc/StreamSettings.h"

namespace lumo::mockTL::GenDc {

// The GenDC descriptor of one container, written completely at construction into memory of its
// own. The headers point into that memory, so the object neither copies nor moves.
class ContainerDescriptor {
 public:
  // Component i gets TypeId i: the index, not a GenDC component type code, which is what the
  // consumers of these containers have always read back.
  ContainerDescriptor(const StreamSettings& settings, const ContainerLayout& layout);
  virtual ~ContainerDescriptor();
  ContainerDescriptor(const ContainerDescriptor&) = delete;
  ContainerDescriptor& operator=(const ContainerDescriptor&) = delete;

  std::span<const std::uint8_t> bytes() const { return memory_; }

 private:
  std::vector<std::uint8_t> memory_;
  ContainerHeader containerHeader_;
  std::vector<ComponentHeader> componentHeaders_;
  std::vector<std::vector<PartHeader>> partHeaders_;  // per component
};

}  // namespace lumo::mockTL::GenDc
