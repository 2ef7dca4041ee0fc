#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

namespace lumo::mockTL {

// The camera's two simulated files behind the file access features, with fixed outcomes for a
// consumer's file access code to meet: TestFile0 never opens, TestFile1 opens and reads from its
// start, writing and deleting always fail. One state serves the whole library: every remote device
// of every device sees the same selection, buffer and files, from first use until unload. Failures
// are std::runtime_errors; each leaves the operation's status readable afterwards.
class FileAccess {
 public:
  static constexpr std::size_t kBufferSize = 1024;

  static FileAccess& instance();

  // The registers' values: the selected file's, and its selected operation's.
  std::uint32_t fileSelector();
  std::uint32_t fileSize();
  std::uint32_t operationResult();
  std::uint32_t operationStatus();
  std::uint32_t accessOffset();
  std::uint32_t accessLength();
  std::uint32_t operationSelector();
  std::uint32_t openMode();

  void selectFile(std::uint32_t value);
  void selectOperation(std::uint32_t value);
  void setAccessOffset(std::uint32_t offset);
  void setAccessLength(std::uint32_t length);
  void setOpenMode(std::uint32_t mode);
  // Runs the selected operation on the selected file.
  void execute();
  // Copies the first `count` bytes of the access buffer (at most its size).
  void readBuffer(void* destination, std::size_t count);

 private:
  struct Operation {
    std::uint64_t length = 0;
    std::uint64_t offset = 0;
    std::uint64_t result = 0;
    std::uint32_t status = 1;
    std::uint32_t value = 0;
  };
  struct File {
    explicit File(std::uint32_t index);
    std::size_t selectedOperation = 0;
    std::array<Operation, 5> operations;
    std::uint32_t value;
    std::string content;
    std::uint32_t openMode = 0;
    std::uint32_t openState = 0;  // 0 closed, 1 read, 2 write, 3 read/write
  };

  FileAccess();
  File& file() { return files_[selectedFile_]; }
  Operation& operation() { return file().operations[file().selectedOperation]; }
  void open(File& file, Operation& operation);
  void read(File& file, Operation& operation);

  // Consumers on several devices may drive the shared state at once; the lock keeps each access whole.
  std::mutex mutex_;
  std::uint64_t selectedFile_ = 0;
  std::array<File, 2> files_;
  std::array<std::byte, kBufferSize> buffer_{};
};

}  // namespace lumo::mockTL
