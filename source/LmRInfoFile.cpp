#include "source/LmRInfoFile.h"

#include <cstdio>
#include <fstream>
#include <span>
#include <stdexcept>
#include <string>

#include "platform/Platform.h"
#include "source/LmRError.h"

namespace lumo::mockTL::LmR {
namespace {

constexpr const char* kCorrupted = "Corrupted InfoFile";

[[noreturn]] void corrupted() { throw Error(LmRStatus::InvalidFile, kCorrupted); }

// Sequential little-endian reads that never go past the bytes the file has.
class Cursor {
 public:
  explicit Cursor(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::uint64_t remaining() const { return bytes_.size() - position_; }

  bool read(std::uint64_t& value, std::size_t width) {
    if (remaining() < width) {
      return false;
    }
    value = 0;
    for (std::size_t i = 0; i < width; ++i) {
      value |= static_cast<std::uint64_t>(bytes_[position_ + i]) << (8 * i);
    }
    position_ += width;
    return true;
  }

  std::uint64_t u64() {
    std::uint64_t value = 0;
    if (!read(value, 8)) {
      corrupted();
    }
    return value;
  }

  // A table of `count` 64-bit values. The count comes from the file, so it is checked against
  // what is left before anything is allocated for it.
  std::vector<std::uint64_t> table(std::uint64_t count) {
    if (count > remaining() / 8) {
      corrupted();
    }
    std::vector<std::uint64_t> values(static_cast<std::size_t>(count));
    for (auto& value : values) {
      value = u64();
    }
    return values;
  }

  std::vector<std::uint8_t> bytes(std::uint64_t count) {
    if (count > remaining()) {
      corrupted();
    }
    const auto first = bytes_.begin() + static_cast<std::ptrdiff_t>(position_);
    position_ += static_cast<std::size_t>(count);
    return {first, first + static_cast<std::ptrdiff_t>(count)};
  }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;
};

std::uint64_t checkedSum(const std::vector<std::uint64_t>& values) {
  std::uint64_t sum = 0;
  for (const auto value : values) {
    if (__builtin_add_overflow(sum, value, &sum)) {
      corrupted();
    }
  }
  return sum;
}

void putU64(std::string& out, std::uint64_t value, std::size_t width = 8) {
  for (std::size_t i = 0; i < width; ++i) {
    out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
  }
}

}  // namespace

InfoFile InfoFile::read(const std::filesystem::path& path) {
  platform::MapFailure failure = platform::MapFailure::None;
  const auto mapped = platform::MappedFile::mapReadOnly(path, failure);
  if (failure != platform::MapFailure::None) {
    throw Error(LmRStatus::NotAvailable, "Failed to open InfoFile for reading");
  }
  Cursor in({mapped.data(), static_cast<std::size_t>(mapped.size())});

  std::uint64_t magic = 0;
  std::uint64_t version = 0;
  if (!in.read(magic, 4) || !in.read(version, 4) || magic != kMagic || version != kVersion) {
    throw Error(LmRStatus::InvalidFile, "Invalid InfoFile format");
  }

  InfoFile info;
  std::uint64_t reserved = 0;
  std::uint64_t fixed = 0;
  if (!in.read(reserved, 1) || !in.read(fixed, 1)) {
    corrupted();
  }
  info.fixedFlowSizes = fixed != 0;
  info.flowSizes = in.table(in.u64());
  const auto dataFiles = in.u64();
  info.perFileValues = in.table(dataFiles);
  info.flowSetCounts = in.table(dataFiles);
  info.prefetchDescriptor = in.bytes(in.u64());

  info.flowSetSize();
  info.flowSetTotal();
  return info;
}

void InfoFile::write(const std::filesystem::path& path) const {
  if (perFileValues.size() != flowSetCounts.size()) {
    throw std::invalid_argument("every data file needs one per-file value and one flow set count");
  }
  std::string out;
  putU64(out, kMagic, 4);
  putU64(out, kVersion, 4);
  putU64(out, 0, 1);
  putU64(out, fixedFlowSizes ? 1 : 0, 1);
  putU64(out, flowSizes.size());
  for (const auto size : flowSizes) {
    putU64(out, size);
  }
  putU64(out, flowSetCounts.size());
  for (const auto value : perFileValues) {
    putU64(out, value);
  }
  for (const auto count : flowSetCounts) {
    putU64(out, count);
  }
  putU64(out, prefetchDescriptor.size());
  out.append(prefetchDescriptor.begin(), prefetchDescriptor.end());

  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(out.data(), static_cast<std::streamsize>(out.size()));
  file.close();
  if (!file) {
    throw std::runtime_error("cannot write InfoFile " + path.string());
  }
}

std::uint64_t InfoFile::flowSetSize() const { return checkedSum(flowSizes); }

std::uint64_t InfoFile::flowSetTotal() const { return checkedSum(flowSetCounts); }

std::filesystem::path InfoFile::dataFilePath(const std::filesystem::path& infoFile, std::uint64_t index) {
  char number[24];
  std::snprintf(number, sizeof number, "%06llu", static_cast<unsigned long long>(index));
  auto path = infoFile;
  path.replace_filename(infoFile.stem().string() + "-" + number + ".gdcs");
  return path;
}

}  // namespace lumo::mockTL::LmR
