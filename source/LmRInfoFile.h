#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace lumo::mockTL::LmR {

// The description of a recording: what one flow set consists of, how many flow sets each data file
// holds and the GenDC descriptor to announce before the first container. Stored little-endian
// without padding or text:
//   magic u32 "OFNI" | version u32 (1) | reserved u8 | fixed flow sizes u8 |
//   flow count u64 | flow size u64 × flow count | data file count u64 |
//   per-file value u64 × data file count | flow set count u64 × data file count |
//   descriptor size u64 | descriptor bytes
// Data file i sits beside the InfoFile and is named after its stem (dataFilePath).
struct InfoFile {
  static constexpr std::uint32_t kMagic = 0x494E464F;
  static constexpr std::uint32_t kVersion = 1;

  bool fixedFlowSizes = true;
  std::vector<std::uint64_t> flowSizes;
  // One value per data file that the reader keeps but never interprets; the writer stores each
  // data file's size in bytes there.
  std::vector<std::uint64_t> perFileValues;
  std::vector<std::uint64_t> flowSetCounts;
  std::vector<std::uint8_t> prefetchDescriptor;

  // Reads and checks an InfoFile; every table is bounded by the bytes the file really has before
  // anything is allocated for it. Throws LmR::Error: "Failed to open InfoFile for reading",
  // "Invalid InfoFile format" (magic, version, or fewer than 8 bytes), "Corrupted InfoFile"
  // (truncated, or sums of flow sizes or flow set counts beyond 64 bits).
  static InfoFile read(const std::filesystem::path& path);

  // Writes this description to `path`, replacing it. Throws std::runtime_error when the file
  // cannot be written, std::invalid_argument when the per-file tables differ in length.
  void write(const std::filesystem::path& path) const;

  // The size of one flow set and the total number of flow sets; both fit 64 bits in anything that
  // read() accepted.
  std::uint64_t flowSetSize() const;
  std::uint64_t flowSetTotal() const;

  // "<dir>/<stem>-<index, at least 6 digits>.gdcs" for the InfoFile path "<dir>/<stem>[.<ext>]".
  static std::filesystem::path dataFilePath(const std::filesystem::path& infoFile, std::uint64_t index);
};

}  // namespace lumo::mockTL::LmR
