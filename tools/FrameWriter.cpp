#include "tools/FrameWriter.h"

#include <cstdio>
#include <fstream>

#include "tools/GenDcContainerView.h"
#include "tools/PngFile.h"
#include "tools/ToolError.h"
#include "tools/UnpackedImage.h"

namespace lmmocktl {

namespace {

std::string fileStem(const std::string& streamId, std::uint64_t frameId) {
  char number[32];
  std::snprintf(number, sizeof(number), "%06llu", static_cast<unsigned long long>(frameId));
  std::string stem = streamId + "-" + number;
  for (char& c : stem) {
    if (c == '/' || c == '\\' || c == ':') c = '_';
  }
  return stem;
}

// A GenDC container's image parts, each as <stem>-c<component>p<part>.png.
std::vector<std::filesystem::path> writeContainerParts(const Acquisition::Frame& frame, const std::string& streamId,
                                                       const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> written;
  const std::string stem = fileStem(streamId, frame.frameId);
  try {
    const GenDcContainerView container(frame.base + frame.imageOffset, frame.sizeFilled - frame.imageOffset);
    for (const GenDcContainerView::ImagePart& part : container.imageParts()) {
      const UnpackedImage image =
          UnpackedImage::unpack(part.pixelFormat, part.data, part.dataSize, part.width, part.height, part.paddingX);
      const std::filesystem::path path =
          folder / (stem + "-c" + std::to_string(part.component) + "p" + std::to_string(part.part) + ".png");
      PngFile::write(path, image);
      written.push_back(path);
    }
  } catch (const std::exception& failure) {
    throw ToolError(streamId + " frame " + std::to_string(frame.frameId) + ": " + failure.what());
  }
  return written;
}

// Writes the frame's image as PNG (and its bytes as .raw when asked); returns the files written.
std::vector<std::filesystem::path> writeFrame(const Acquisition::Frame& frame, const std::string& streamId,
                                              const std::filesystem::path& folder, bool raw) {
  std::vector<std::filesystem::path> written;
  const std::string stem = fileStem(streamId, frame.frameId);
  if (raw) {
    const std::filesystem::path path = folder / (stem + ".raw");
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(frame.base), static_cast<std::streamsize>(frame.sizeFilled));
    if (!file) throw ToolError("cannot write " + path.string());
    written.push_back(path);
  }
  if (frame.payloadType == PAYLOAD_TYPE_GENDC) {
    for (const auto& path : writeContainerParts(frame, streamId, folder)) written.push_back(path);
    return written;
  }
  if (frame.payloadType != PAYLOAD_TYPE_IMAGE && frame.payloadType != PAYLOAD_TYPE_UNKNOWN) {
    throw ToolError("frame " + std::to_string(frame.frameId) + " of " + streamId + " has payload type " +
                    std::to_string(frame.payloadType) + ", which grab does not write as PNG");
  }
  if (frame.imageOffset > frame.sizeFilled) throw ToolError("the image offset lies beyond the filled bytes");
  UnpackedImage image;
  try {
    image = UnpackedImage::unpack(static_cast<std::uint32_t>(frame.pixelFormat), frame.base + frame.imageOffset,
                                  frame.sizeFilled - frame.imageOffset, static_cast<std::uint32_t>(frame.width),
                                  static_cast<std::uint32_t>(frame.height), static_cast<std::uint32_t>(frame.paddingX));
    const std::filesystem::path path = folder / (stem + ".png");
    PngFile::write(path, image);
    written.push_back(path);
  } catch (const ToolError&) {
    throw;
  } catch (const std::exception& failure) {
    throw ToolError(streamId + " frame " + std::to_string(frame.frameId) + ": " + failure.what());
  }
  return written;
}

}  // namespace

FrameWriter::FrameWriter(std::filesystem::path folder, bool raw, std::size_t capacity)
    : folder_(std::move(folder)), raw_(raw), capacity_(capacity), thread_([this] { work(); }) {}

FrameWriter::~FrameWriter() {
  {
    std::lock_guard lock(mutex_);
    closing_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void FrameWriter::push(const Acquisition::Frame& frame, const std::string& streamId) {
  Pending pending{frame, std::vector<std::uint8_t>(frame.base, frame.base + frame.sizeFilled), streamId};
  pending.frame.base = pending.bytes.data();
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return pending_.size() < capacity_ || failure_; });
  if (failure_) std::rethrow_exception(failure_);
  pending_.push_back(std::move(pending));
  lock.unlock();
  changed_.notify_all();
}

std::vector<std::filesystem::path> FrameWriter::finish() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return (pending_.empty() && !busy_) || failure_; });
  if (failure_) std::rethrow_exception(failure_);
  return written_;
}

void FrameWriter::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return !pending_.empty() || closing_; });
    if (pending_.empty()) return;
    Pending pending = std::move(pending_.front());
    pending_.pop_front();
    busy_ = true;
    lock.unlock();
    std::vector<std::filesystem::path> files;
    std::exception_ptr failure;
    try {
      files = writeFrame(pending.frame, pending.streamId, folder_, raw_);
    } catch (...) {
      failure = std::current_exception();
    }
    lock.lock();
    busy_ = false;
    written_.insert(written_.end(), files.begin(), files.end());
    if (failure && !failure_) failure_ = failure;
    changed_.notify_all();
  }
}

}  // namespace lmmocktl
