#include "source/ContainerReader.h"

#include "base/GenericException.h"

namespace lumo::mockTL {
namespace {

void check(LmRStatus status, const char* where) {
  if (status != LmRStatus::Success) {
    throw error::GenericException(static_cast<std::int32_t>(status), where, LmRGetLastErrorMessage());
  }
}

// Reads a property whose size the reader reports, as `T` elements.
template <class T>
std::vector<T> readProperty(LmRContainerReaderHandle reader, LmRProperty property, const char* where) {
  std::size_t size = 0;
  check(LmRContainerReaderGetProperty(reader, property, nullptr, &size), where);
  std::vector<T> values(size / sizeof(T));
  size = values.size() * sizeof(T);
  check(LmRContainerReaderGetProperty(reader, property, values.data(), &size), where);
  return values;
}

}  // namespace

ContainerReader::ContainerReader(const std::filesystem::path& infoFile) {
  constexpr const char* kWhere = "lumo::mockTL::ContainerReader::ContainerReader";
  const auto utf8 = infoFile.u8string();
  check(LmRCreateContainerReader(reinterpret_cast<const char*>(utf8.c_str()), &reader_), kWhere);
  try {
    frameCount_ = readProperty<std::uint64_t>(reader_, LmRProperty::FlowSetCount, kWhere).at(0);
    flowSizes_ = readProperty<std::uint64_t>(reader_, LmRProperty::FlowSizes, kWhere);
    prefetchDescriptor_ = readProperty<std::uint8_t>(reader_, LmRProperty::PrefetchDescriptor, kWhere);
    fixedFlowSizes_ = readProperty<std::uint8_t>(reader_, LmRProperty::FixedFlowSizes, kWhere).at(0) != 0;
    dataFileCount_ = readProperty<std::uint64_t>(reader_, LmRProperty::DataFileCount, kWhere).at(0);
  } catch (...) {
    LmRContainerReaderRelease(reader_);
    throw;
  }
  flows_.resize(flowSizes_.size());
}

ContainerReader::~ContainerReader() {
  if (view_ != nullptr) {
    LmRFlowSetViewRelease(view_);
  }
  LmRContainerReaderRelease(reader_);
}

std::span<const LmR::Flow> ContainerReader::flowsOf(std::uint64_t frame) {
  constexpr const char* kWhere = "lumo::mockTL::ContainerReader::flowsOf";
  if (view_ == nullptr) {
    check(LmRContainerReaderCreateView(reader_, frame, &view_), kWhere);
  } else {
    check(LmRFlowSetViewMoveTo(view_, frame), kWhere);
  }
  for (std::size_t i = 0; i < flows_.size(); ++i) {
    const void* data = nullptr;
    check(LmRFlowSetViewGetFlow(view_, i, &data, &flows_[i].size), kWhere);
    flows_[i].data = static_cast<const std::uint8_t*>(data);
  }
  return flows_;
}

}  // namespace lumo::mockTL
