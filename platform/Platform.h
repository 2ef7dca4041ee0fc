#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

// Operating-system services used by the producer. This header is the only place that knows they
// exist; one source file per operating system implements them (PlatformPosix.cpp today).
namespace lumo::mockTL::platform {

// Numeric id of the calling thread, stable for the thread's lifetime (printed in error texts).
std::uint32_t currentThreadId();

// Monotonic clock in nanoseconds; never goes backwards, unrelated to wall time.
std::uint64_t monotonicNanoseconds();

// Address of a function exported by the host executable, or nullptr when it exports none by that
// name. Lets a consumer program configure the producer without files or environment variables.
void* hostExecutableSymbol(const char* name);

// Full UTF-8 path of the loaded module that contains `addressInModule`, empty when unknown.
std::string modulePathOf(const void* addressInModule);

// Path separator of the platform's file names.
char pathSeparator();

// Raises the system timer resolution to 1 ms while paced acquisitions run; the end call undoes one
// begin call. A no-op where the scheduler is already fine-grained.
void beginTimerResolution();
void endTimerResolution();

// Which step of mapping a file failed; callers name the step in their own error texts.
enum class MapFailure { None, Open, QuerySize, CreateMapping, MapView };

// A whole file mapped read-only into the address space; the mapping ends with the object. The
// file itself is closed as soon as it is mapped, so holding many mappings holds no descriptors.
// An empty file maps to an empty range (data() is null). Bytes read through data() reflect later
// changes to the file; a file truncated by someone else while mapped faults on access, as with
// any mapping. Immutable after construction: any thread may read it.
class MappedFile {
 public:
  MappedFile() = default;
  MappedFile(MappedFile&& other) noexcept;
  MappedFile& operator=(MappedFile&& other) noexcept;
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  ~MappedFile();

  // Maps the regular file at `path`. On failure returns an empty object and sets `failure` to the
  // step that failed (a directory or other non-regular file fails at Open); on success sets None.
  static MappedFile mapReadOnly(const std::filesystem::path& path, MapFailure& failure);

  const std::uint8_t* data() const { return data_; }
  std::uint64_t size() const { return size_; }

 private:
  MappedFile(const std::uint8_t* data, std::uint64_t size) : data_(data), size_(size) {}
  void unmap() noexcept;

  const std::uint8_t* data_ = nullptr;
  std::uint64_t size_ = 0;
};

}  // namespace lumo::mockTL::platform
