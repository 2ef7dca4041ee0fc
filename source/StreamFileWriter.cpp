#include "source/StreamFileWriter.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "source/LmRError.h"

namespace lumo::mockTL::LmR {

StreamFileWriter::StreamFileWriter(std::filesystem::path infoFile, std::vector<std::uint64_t> flowSizes,
                                   std::vector<std::uint8_t> prefetchDescriptor, std::uint64_t flowSetsPerFile)
    : infoFile_(std::move(infoFile)), flowSetsPerFile_(flowSetsPerFile) {
  if (flowSetsPerFile_ == 0) {
    throw std::invalid_argument("a data file must hold at least one flow set");
  }
  info_.fixedFlowSizes = true;
  info_.flowSizes = std::move(flowSizes);
  info_.prefetchDescriptor = std::move(prefetchDescriptor);
  try {
    flowSetSize_ = info_.flowSetSize();
  } catch (const Error&) {
    throw std::invalid_argument("the flow sizes add up to more than 64 bits");
  }
}

StreamFileWriter::~StreamFileWriter() {
  try {
    finish();
  } catch (...) {
    // A destructor cannot report; callers that care call finish() themselves.
  }
}

void StreamFileWriter::append(std::span<const Flow> flows) {
  if (finished_) {
    throw std::logic_error("the recording is already finished");
  }
  const auto& sizes = info_.flowSizes;
  if (flows.size() != sizes.size()) {
    throw std::invalid_argument("a flow set of " + std::to_string(flows.size()) + " flows, the recording has " +
                                std::to_string(sizes.size()));
  }
  for (std::size_t i = 0; i < flows.size(); ++i) {
    if (flows[i].size != sizes[i] || (flows[i].data == nullptr && flows[i].size != 0)) {
      throw std::invalid_argument("flow " + std::to_string(i) + " has " + std::to_string(flows[i].size) +
                                  " bytes, the recording's flows " + std::to_string(i) + " have " +
                                  std::to_string(sizes[i]));
    }
  }

  if (!data_.is_open()) {
    dataFile_ = InfoFile::dataFilePath(infoFile_, info_.flowSetCounts.size());
    data_.open(dataFile_, std::ios::binary | std::ios::trunc);
    if (!data_) {
      throw std::runtime_error("cannot create data file " + dataFile_.string());
    }
    info_.perFileValues.push_back(0);
    info_.flowSetCounts.push_back(0);
  }
  for (const auto& flow : flows) {
    if (flow.size == 0) {
      continue;
    }
    data_.write(reinterpret_cast<const char*>(flow.data), static_cast<std::streamsize>(flow.size));
  }
  if (!data_) {
    throw std::runtime_error("cannot write data file " + dataFile_.string());
  }
  info_.perFileValues.back() += flowSetSize_;
  ++info_.flowSetCounts.back();
  ++flowSetCount_;
  if (info_.flowSetCounts.back() == flowSetsPerFile_) {
    closeDataFile();
  }
}

void StreamFileWriter::finish() {
  if (finished_) {
    return;
  }
  finished_ = true;
  closeDataFile();
  info_.write(infoFile_);
}

void StreamFileWriter::closeDataFile() {
  if (!data_.is_open()) {
    return;
  }
  data_.close();
  if (!data_) {
    throw std::runtime_error("cannot write data file " + dataFile_.string());
  }
}

}  // namespace lumo::mockTL::LmR
