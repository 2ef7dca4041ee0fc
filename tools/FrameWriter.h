#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tools/Acquisition.h"

namespace lmmocktl {

// Writes grabbed frames as files on a thread of its own, so that the camera's buffers go back
// into the queue as soon as their bytes are copied: each frame becomes <stream>-<frame id>.png
// (or one PNG per image part of a GenDC container) and, when asked, <stream>-<frame id>.raw.
// push() is called by one thread, the grabbing one; it blocks while `capacity` frames wait.
class FrameWriter {
 public:
  FrameWriter(std::filesystem::path folder, bool raw, std::size_t capacity);
  // Waits for the frames still queued; failures are then lost.
  ~FrameWriter();
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;

  // Copies the frame's filled bytes. Throws the first write failure as ToolError.
  void push(const Acquisition::Frame& frame, const std::string& streamId);
  // Waits until every pushed frame is written and returns the files in order. Throws the first
  // write failure as ToolError.
  std::vector<std::filesystem::path> finish();

 private:
  struct Pending {
    Acquisition::Frame frame;  // `base` points into `bytes`
    std::vector<std::uint8_t> bytes;
    std::string streamId;
  };

  void work();

  std::filesystem::path folder_;
  bool raw_;
  std::size_t capacity_;
  // Shared with the writing thread, under mutex_.
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Pending> pending_;
  bool busy_ = false;
  bool closing_ = false;
  std::exception_ptr failure_;
  std::vector<std::filesystem::path> written_;
  std::thread thread_;
};

}  // namespace lmmocktl
