#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

#include "source/LmRApi.h"
#include "source/LmRFlowSetView.h"

namespace lumo::mockTL {

// A data stream's recorded source: one opened recording, read through the container-reader
// functions, with the reader's failures raised as GenericException carrying the reader's status as
// GC_ERROR and its text as message. The properties are read once, at construction. Owned by the
// data stream; flowsOf() is for its acquisition thread, everything else may be read by any thread.
class ContainerReader {
 public:
  // Opens the recording whose InfoFile is `infoFile`.
  explicit ContainerReader(const std::filesystem::path& infoFile);
  ~ContainerReader();
  ContainerReader(const ContainerReader&) = delete;
  ContainerReader& operator=(const ContainerReader&) = delete;

  // Number of flow sets; the replayed frame is (start + run frame) mod this. May be 0.
  std::uint64_t frameCount() const { return frameCount_; }
  const std::vector<std::uint64_t>& flowSizes() const { return flowSizes_; }
  const std::vector<std::uint8_t>& prefetchDescriptor() const { return prefetchDescriptor_; }
  bool fixedFlowSizes() const { return fixedFlowSizes_; }
  std::uint64_t dataFileCount() const { return dataFileCount_; }

  // The flows of flow set `frame`, pointing into the mapped recording. Reuses one view and one
  // list: allocates nothing after the first call. The span is valid until the next call or the
  // reader's destruction. One thread at a time.
  std::span<const LmR::Flow> flowsOf(std::uint64_t frame);

 private:
  LmRContainerReaderHandle reader_ = nullptr;
  LmRFlowSetViewHandle view_ = nullptr;
  std::uint64_t frameCount_ = 0;
  std::vector<std::uint64_t> flowSizes_;
  std::vector<std::uint8_t> prefetchDescriptor_;
  bool fixedFlowSizes_ = false;
  std::uint64_t dataFileCount_ = 0;
  std::vector<LmR::Flow> flows_;
};

}  // namespace lumo::mockTL
