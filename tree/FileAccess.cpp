#include "tree/FileAccess.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace lumo::mockTL {

namespace {

enum : std::uint32_t { kOpen = 0, kClose = 1, kRead = 2, kWrite = 3, kDelete = 4 };

[[noreturn]] void failed(const char* message) { throw std::runtime_error(message); }

// A failed operation reports status Failure and result 0.
template <class Operation>
[[noreturn]] void markFailed(Operation& entry, const char* message) {
  entry.status = 1;
  entry.result = 0;
  failed(message);
}

}  // namespace

FileAccess::File::File(std::uint32_t index) : value(index) {
  if (index > 1) {
    failed("unsupported file selection");
  }
  content = "TestFile" + std::to_string(index);
  for (std::uint32_t i = 0; i < operations.size(); ++i) {
    operations[i].value = i;
  }
}

FileAccess::FileAccess() : files_{File(0), File(1)} {}

FileAccess& FileAccess::instance() {
  static FileAccess state;
  return state;
}

std::uint32_t FileAccess::fileSelector() {
  std::lock_guard lock(mutex_);
  return file().value;
}

std::uint32_t FileAccess::fileSize() {
  std::lock_guard lock(mutex_);
  return static_cast<std::uint32_t>(file().content.size());
}

std::uint32_t FileAccess::operationResult() {
  std::lock_guard lock(mutex_);
  return static_cast<std::uint32_t>(operation().result);
}

std::uint32_t FileAccess::operationStatus() {
  std::lock_guard lock(mutex_);
  return operation().status;
}

std::uint32_t FileAccess::accessOffset() {
  std::lock_guard lock(mutex_);
  return static_cast<std::uint32_t>(operation().offset);
}

std::uint32_t FileAccess::accessLength() {
  std::lock_guard lock(mutex_);
  return static_cast<std::uint32_t>(operation().length);
}

std::uint32_t FileAccess::operationSelector() {
  std::lock_guard lock(mutex_);
  return operation().value;
}

std::uint32_t FileAccess::openMode() {
  std::lock_guard lock(mutex_);
  return file().openMode;
}

void FileAccess::selectFile(std::uint32_t value) {
  std::lock_guard lock(mutex_);
  const auto found = std::find_if(files_.begin(), files_.end(), [&](const File& f) { return f.value == value; });
  if (found == files_.end()) {
    failed("no suitable file operation found");
  }
  selectedFile_ = static_cast<std::uint64_t>(found - files_.begin());
}

void FileAccess::selectOperation(std::uint32_t value) {
  std::lock_guard lock(mutex_);
  auto& operations = file().operations;
  const auto found =
      std::find_if(operations.begin(), operations.end(), [&](const Operation& o) { return o.value == value; });
  if (found == operations.end()) {
    failed("no suitable file operation found");
  }
  file().selectedOperation = static_cast<std::size_t>(found - operations.begin());
}

void FileAccess::setAccessOffset(std::uint32_t offset) {
  std::lock_guard lock(mutex_);
  operation().offset = offset;
}

void FileAccess::setAccessLength(std::uint32_t length) {
  std::lock_guard lock(mutex_);
  operation().length = length;
}

void FileAccess::setOpenMode(std::uint32_t mode) {
  std::lock_guard lock(mutex_);
  file().openMode = mode;
}

void FileAccess::readBuffer(void* destination, std::size_t count) {
  std::lock_guard lock(mutex_);
  std::memcpy(destination, buffer_.data(), std::min(count, buffer_.size()));
}

void FileAccess::execute() {
  std::lock_guard lock(mutex_);
  File& target = file();
  Operation& entry = operation();
  switch (entry.value) {
    case kOpen: return open(target, entry);
    case kClose:
      entry.status = 0;
      entry.result = 0;
      target.openState = 0;
      return;
    case kRead: return read(target, entry);
    case kWrite: markFailed(entry, "writing a file is not supported");
    case kDelete: markFailed(entry, "deleting a file is not supported");
    default: markFailed(entry, "unknown file operation");
  }
}

void FileAccess::open(File& target, Operation& entry) {
  if (target.value == 0) {
    // Deliberately permanent: consumers test their handling of a file that cannot be opened.
    failed("TestFile0 always fails to open");
  }
  if (target.openState != 0) {
    markFailed(entry, "file must be closed so that it can be opened");
  }
  if (target.openMode > 2) {
    markFailed(entry, "unknown open mode when opening a file");
  }
  target.openState = target.openMode + 1;
  entry.status = 0;
  entry.result = 0;
}

void FileAccess::read(File& target, Operation& entry) {
  if (target.openState != 1 && target.openState != 3) {
    markFailed(entry, "file not open for read operation");
  }
  if (entry.offset != 0) {
    failed("file read with offset is not supported");
  }
  std::memcpy(buffer_.data(), target.content.data(), target.content.size());
  entry.status = 0;
  entry.result = target.content.size();
}

}  // namespace lumo::mockTL
