#include "source/LmRReader.h"

#include <algorithm>
#include <cassert>

#include "source/LmRError.h"

namespace lumo::mockTL::LmR {
namespace {

platform::MappedFile mapDataFile(const std::filesystem::path& path) {
  platform::MapFailure failure = platform::MapFailure::None;
  auto file = platform::MappedFile::mapReadOnly(path, failure);
  // The texts name the steps by the calls that perform them on Windows, where recordings come from.
  switch (failure) {
    case platform::MapFailure::None: return file;
    case platform::MapFailure::Open: throw Error(LmRStatus::NotAvailable, "CreateFileW failed");
    case platform::MapFailure::QuerySize: throw Error(LmRStatus::MappingFailed, "GetFileSizeEx failed");
    case platform::MapFailure::CreateMapping: throw Error(LmRStatus::MappingFailed, "CreateFileMappingW failed");
    case platform::MapFailure::MapView: throw Error(LmRStatus::MappingFailed, "MapViewOfFile failed");
  }
  throw Error(LmRStatus::MappingFailed, "MapViewOfFile failed");
}

}  // namespace

Reader::Reader(const std::filesystem::path& infoFile)
    : info_(InfoFile::read(infoFile)), flowSetSize_(info_.flowSetSize()), flowSetCount_(info_.flowSetTotal()) {
  flowOffsets_.reserve(info_.flowSizes.size());
  std::uint64_t offset = 0;
  for (const auto size : info_.flowSizes) {
    flowOffsets_.push_back(offset);
    offset += size;
  }

  firstFlowSets_.reserve(info_.flowSetCounts.size() + 1);
  std::uint64_t first = 0;
  for (const auto count : info_.flowSetCounts) {
    firstFlowSets_.push_back(first);
    first += count;
  }
  firstFlowSets_.push_back(first);

  dataFiles_.reserve(info_.flowSetCounts.size());
  for (std::size_t i = 0; i < info_.flowSetCounts.size(); ++i) {
    dataFiles_.push_back(mapDataFile(InfoFile::dataFilePath(infoFile, i)));
    std::uint64_t needed = 0;
    if (info_.fixedFlowSizes &&
        (__builtin_mul_overflow(info_.flowSetCounts[i], flowSetSize_, &needed) || needed > dataFiles_.back().size())) {
      throw Error(LmRStatus::InvalidFile, "Data file too short for its flow sets");
    }
  }
}

Reader::Location Reader::locate(std::uint64_t index) const {
  if (index >= flowSetCount_) {
    throw Error(LmRStatus::InvalidIndex, "Given index greater than available flow sets");
  }
  if (!info_.fixedFlowSizes) {
    throw Error(LmRStatus::NotImplemented, "Dynamic flow sizes are not supported (FixedFlowSizes == false)");
  }
  // The last entry is the total, so a valid index always finds its file; files holding no flow sets
  // share their start with the next file and are skipped by taking the last file that starts at or
  // before the index.
  const auto next = std::upper_bound(firstFlowSets_.begin(), firstFlowSets_.end() - 1, index);
  if (next == firstFlowSets_.begin()) {
    throw Error(LmRStatus::InvalidIndex, "Given Index is not available in flow set counts vector");
  }
  const auto file = static_cast<std::size_t>(next - firstFlowSets_.begin() - 1);
  const auto offset = (index - firstFlowSets_[file]) * flowSetSize_;
  assert(offset + flowSetSize_ <= dataFiles_[file].size());
  return {&dataFiles_[file], offset};
}

}  // namespace lumo::mockTL::LmR
