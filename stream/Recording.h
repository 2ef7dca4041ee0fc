#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "base/GenericException.h"
#include "source/ContainerReader.h"
#include "stream/StreamConfiguration.h"

namespace lumo::mockTL {

// The stream file a data stream replays instead of images, opened once when the stream is built.
// Its flows, flow table and descriptor are what it was recorded with and never change. A file
// that cannot be replayed does not fail the stream's construction: the device and its other
// streams stay usable, and the failure waits for the consumer who opens this stream.
//
// Threads: fixed after construction, so any thread may read it; the reader's frames are read by
// the acquisition thread alone.
class Recording {
 public:
  // No stream file: nothing is replayed and nothing fails.
  Recording() = default;
  // Opens the stream file that `infoFile` names.
  explicit Recording(const std::filesystem::path& infoFile);
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  // Whether a stream file is being replayed; false also when it could not be opened.
  bool isOpen() const { return reader_ != nullptr; }
  // Throws what opening the stream file failed with, if it failed.
  void throwIfFailed() const;
  // The replayed file; null unless isOpen().
  ContainerReader* reader() const { return reader_.get(); }

  const std::vector<std::uint64_t>& flowSizes() const { return reader_->flowSizes(); }
  const std::vector<std::uint8_t>& flowTable() const { return flowTable_; }
  const std::vector<std::uint8_t>& descriptor() const { return reader_->prefetchDescriptor(); }
  std::uint64_t payloadSize() const { return payloadSize_; }
  // Writes the image of the recording's first part, as its descriptor states it, into `record`.
  // A descriptor that is not GenDC, or whose first part is not a 2D image, leaves the record as
  // it is: the frames are replayed all the same.
  void applyRecordedGeometry(StreamConfiguration& record) const;
  // The last flow set. Throws std::runtime_error "container reader not initialized" when no
  // stream file is replayed.
  std::uint64_t maxFrameId() const;

 private:
  void open(const std::filesystem::path& infoFile);

  std::unique_ptr<ContainerReader> reader_;
  std::vector<std::uint8_t> flowTable_;
  std::uint64_t payloadSize_ = 0;
  std::optional<error::GenericException> failure_;
};

}  // namespace lumo::mockTL
