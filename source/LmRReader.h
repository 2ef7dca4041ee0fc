#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "platform/Platform.h"
#include "source/LmRInfoFile.h"

namespace lumo::mockTL::LmR {

// An opened recording: its InfoFile and all its data files, each mapped as a whole. Immutable
// after construction, so any number of threads may locate flow sets at once. Views share its
// ownership: the mappings last as long as the last view.
class Reader {
 public:
  // Where a flow set's bytes start: the mapped file and the offset of its first flow.
  struct Location {
    const platform::MappedFile* file;
    std::uint64_t offset;
  };

  // Reads the InfoFile and maps the data files named after it. With fixed flow sizes every data
  // file must hold the bytes its flow set count claims, so that no view can ever point outside its
  // mapping. Throws LmR::Error: the InfoFile's failures, "CreateFileW failed", "GetFileSizeEx
  // failed", "CreateFileMappingW failed", "MapViewOfFile failed", "Data file too short for its flow
  // sets".
  explicit Reader(const std::filesystem::path& infoFile);

  const InfoFile& info() const { return info_; }
  std::uint64_t flowSetSize() const { return flowSetSize_; }
  std::uint64_t flowSetCount() const { return flowSetCount_; }
  // Offset of each flow within a flow set.
  const std::vector<std::uint64_t>& flowOffsets() const { return flowOffsets_; }

  // Finds flow set `index` in the recording, counting across data files. Throws LmR::Error:
  // "Given index greater than available flow sets", "Dynamic flow sizes are not supported
  // (FixedFlowSizes == false)". Allocates nothing.
  Location locate(std::uint64_t index) const;

 private:
  InfoFile info_;
  std::uint64_t flowSetSize_ = 0;
  std::uint64_t flowSetCount_ = 0;
  std::vector<std::uint64_t> flowOffsets_;
  // Global index of each data file's first flow set, and the total at the end: a binary search
  // finds a flow set's file however many files the recording has.
  std::vector<std::uint64_t> firstFlowSets_;
  std::vector<platform::MappedFile> dataFiles_;
};

}  // namespace lumo::mockTL::LmR
