#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <vector>

#include "source/LmRFlowSetView.h"
#include "source/LmRInfoFile.h"

namespace lumo::mockTL::LmR {

// Records a sequence of flow sets as an InfoFile and numbered data files that the reader replays
// byte for byte. Every flow set has the same flow sizes; the flow sets go, in order, into data
// files of at most `flowSetsPerFile` flow sets each, named after the InfoFile as the reader expects
// ("<stem>-000000.gdcs", ...). Data files are written as flow sets arrive; the InfoFile, which
// needs the final counts, is written by finish(). Not thread safe: one thread records.
class StreamFileWriter {
 public:
  // Throws std::invalid_argument when `flowSetsPerFile` is 0 or the flow sizes add up to more
  // than 64 bits.
  StreamFileWriter(std::filesystem::path infoFile, std::vector<std::uint64_t> flowSizes,
                   std::vector<std::uint8_t> prefetchDescriptor, std::uint64_t flowSetsPerFile);
  // Finishes the recording if finish() was not called; failures are then lost.
  ~StreamFileWriter();
  StreamFileWriter(const StreamFileWriter&) = delete;
  StreamFileWriter& operator=(const StreamFileWriter&) = delete;

  // Appends one flow set, one entry per flow, each exactly its flow size. Throws
  // std::invalid_argument for a flow set of another shape, std::runtime_error when a data file
  // cannot be written, std::logic_error after finish().
  void append(std::span<const Flow> flows);

  // Closes the last data file and writes the InfoFile. Throws std::runtime_error when a file
  // cannot be written; later calls do nothing.
  void finish();

  std::uint64_t flowSetCount() const { return flowSetCount_; }

 private:
  void closeDataFile();

  std::filesystem::path infoFile_;
  InfoFile info_;
  std::uint64_t flowSetSize_ = 0;
  std::uint64_t flowSetsPerFile_;
  std::uint64_t flowSetCount_ = 0;
  std::filesystem::path dataFile_;
  std::ofstream data_;
  bool finished_ = false;
};

}  // namespace lumo::mockTL::LmR
