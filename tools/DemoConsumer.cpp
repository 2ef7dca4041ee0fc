// Demo consumer: loads the producer named on the command line (default ./LmMockTL.cti), goes
// through the library life cycle and prints what the producer answers.
#include <dlfcn.h>

#include <cstdio>
#include <string>

#include "gentl/GenTL.h"

namespace {

template <class Function>
Function* lookup(void* library, const char* name) {
  auto* function = reinterpret_cast<Function*>(dlsym(library, name));
  if (function == nullptr) {
    std::fprintf(stderr, "export %s missing\n", name);
  }
  return function;
}

std::string lastError(decltype(GCGetLastError)* getLastError) {
  GC_ERROR code = 0;
  size_t size = 0;
  if (getLastError(&code, nullptr, &size) != GC_ERR_SUCCESS) return "(unreadable)";
  std::string text(size, '\0');
  getLastError(&code, text.data(), &size);
  text.resize(size - 1);
  return std::to_string(code) + " \"" + text + "\"";
}

}  // namespace

int main(int argc, char** argv) {
  const char* path = argc > 1 ? argv[1] : "./LmMockTL.cti";
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "cannot load %s: %s\n", path, dlerror());
    return 1;
  }
  auto* initLib = lookup<decltype(GCInitLib)>(library, "GCInitLib");
  auto* closeLib = lookup<decltype(GCCloseLib)>(library, "GCCloseLib");
  auto* getLastError = lookup<decltype(GCGetLastError)>(library, "GCGetLastError");
  if (initLib == nullptr || closeLib == nullptr || getLastError == nullptr) return 1;

  std::printf("producer: %s\n", path);
  std::printf("GCInitLib: %d\n", initLib());
  std::printf("last error: %s\n", lastError(getLastError).c_str());
  std::printf("GCInitLib again: %d\n", initLib());
  std::printf("last error: %s\n", lastError(getLastError).c_str());
  const GC_ERROR closed = closeLib();
  std::printf("GCCloseLib: %d\n", closed);
  dlclose(library);
  return closed == GC_ERR_SUCCESS ? 0 : 1;
}
