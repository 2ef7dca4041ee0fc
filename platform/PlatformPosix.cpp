#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

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

}  // namespace lumo::mockTL::platform
