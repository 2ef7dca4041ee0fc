#include <dlfcn.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

#include "platform/Platform.h"

namespace lumo::mockTL::platform {

std::uint32_t currentThreadId() {
  // gettid is cached per thread: the syscall is made once, error texts are composed often.
  thread_local const auto id = static_cast<std::uint32_t>(::syscall(SYS_gettid));
  return id;
}

std::uint64_t monotonicNanoseconds() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000000000ULL + static_cast<std::uint64_t>(now.tv_nsec);
}

void* hostExecutableSymbol(const char* name) {
  void* self = ::dlopen(nullptr, RTLD_LAZY | RTLD_NOLOAD);
  if (self == nullptr) {
    return nullptr;
  }
  void* symbol = ::dlsym(self, name);
  ::dlclose(self);
  return symbol;
}

std::string modulePathOf(const void* addressInModule) {
  Dl_info info{};
  if (::dladdr(addressInModule, &info) == 0 || info.dli_fname == nullptr) {
    return {};
  }
  // dladdr reports the name the module was loaded by, which may be relative.
  char resolved[PATH_MAX];
  if (::realpath(info.dli_fname, resolved) != nullptr) {
    return resolved;
  }
  return info.dli_fname;
}

char pathSeparator() { return '/'; }

void beginTimerResolution() {}
void endTimerResolution() {}

MappedFile::MappedFile(MappedFile&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
  if (this != &other) {
    unmap();
    data_ = std::exchange(other.data_, nullptr);
    size_ = std::exchange(other.size_, 0);
  }
  return *this;
}

MappedFile::~MappedFile() { unmap(); }

void MappedFile::unmap() noexcept {
  if (data_ != nullptr) {
    ::munmap(const_cast<std::uint8_t*>(data_), static_cast<std::size_t>(size_));
    data_ = nullptr;
    size_ = 0;
  }
}

MappedFile MappedFile::mapReadOnly(const std::filesystem::path& path, MapFailure& failure) {
  failure = MapFailure::Open;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    return {};
  }
  // The descriptor is only needed until the mapping exists.
  struct Closer {
    int descriptor;
    ~Closer() { ::close(descriptor); }
  } closer{descriptor};

  struct stat status {};
  if (::fstat(descriptor, &status) != 0) {
    failure = MapFailure::QuerySize;
    return {};
  }
  // Opening a directory read-only succeeds here, unlike on other systems; refuse it at the same step.
  if (!S_ISREG(status.st_mode)) {
    return {};
  }
  const auto size = static_cast<std::uint64_t>(status.st_size);
  if (size == 0) {
    failure = MapFailure::None;
    return {};
  }
  if (size > static_cast<std::uint64_t>(PTRDIFF_MAX)) {
    failure = MapFailure::CreateMapping;
    return {};
  }
  void* address = ::mmap(nullptr, static_cast<std::size_t>(size), PROT_READ, MAP_PRIVATE, descriptor, 0);
  if (address == MAP_FAILED) {
    failure = MapFailure::MapView;
    return {};
  }
  failure = MapFailure::None;
  return MappedFile(static_cast<const std::uint8_t*>(address), size);
}

}  // namespace lumo::mockTL::platform
