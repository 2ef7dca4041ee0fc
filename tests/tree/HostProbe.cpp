// A consumer program that exports the two hooks LmMockTL looks for in its host executable, answering
// from its own environment: LmMockTLConfigExport returns $PROBE_CONFIG_PATH and
// LmMockTLUniqueIDExport returns $PROBE_UNIQUE_ID (empty when unset). It loads the producer named
// on the command line and prints the system id and its interfaces, one "kind=id" line each: the
// interface ids tell which file was read, the rest of the tree is the loader's business.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/GenTL.h"

extern "C" __attribute__((visibility("default"))) const char* LmMockTLConfigExport() {
  const char* path = std::getenv("PROBE_CONFIG_PATH");
  return path != nullptr ? path : "";
}

extern "C" __attribute__((visibility("default"))) const char* LmMockTLUniqueIDExport() {
  const char* id = std::getenv("PROBE_UNIQUE_ID");
  return id != nullptr ? id : "";
}

namespace {

void* library = nullptr;

template <class Function>
Function* lookup(const char* name) {
  auto* function = reinterpret_cast<Function*>(dlsym(library, name));
  if (function == nullptr) {
    std::fprintf(stderr, "export %s missing\n", name);
    std::exit(2);
  }
  return function;
}

#define EXPORT(name) lookup<decltype(name)>(#name)

// A GenTL text read with a size query first; `query` is called as query(char*, size_t*).
template <class Query>
std::string text(Query query) {
  size_t size = 0;
  if (query(nullptr, &size) != GC_ERR_SUCCESS) return "(error)";
  std::string value(size, '\0');
  if (query(value.data(), &size) != GC_ERR_SUCCESS) return "(error)";
  value.resize(size - 1);
  return value;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <producer.cti>\n", argv[0]);
    return 2;
  }
  library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "cannot load %s: %s\n", argv[1], dlerror());
    return 2;
  }
  EXPORT(GCInitLib)();
  std::printf("id=%s\n", text([](char* value, size_t* size) {
                           INFO_DATATYPE type = 0;
                           return EXPORT(GCGetInfo)(TL_INFO_ID, &type, value, size);
                         }).c_str());
  TL_HANDLE system = nullptr;
  if (EXPORT(TLOpen)(&system) != GC_ERR_SUCCESS) return 1;
  uint32_t interfaces = 0;
  EXPORT(TLGetNumInterfaces)(system, &interfaces);
  for (uint32_t i = 0; i < interfaces; ++i) {
    std::printf("interface=%s\n", text([&](char* value, size_t* size) {
                                    return EXPORT(TLGetInterfaceID)(system, i, value, size);
                                  }).c_str());
  }
  const GC_ERROR closed = EXPORT(GCCloseLib)();
  dlclose(library);
  return closed == GC_ERR_SUCCESS ? 0 : 1;
}
