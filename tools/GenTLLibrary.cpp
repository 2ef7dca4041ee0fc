#include "tools/GenTLLibrary.h"

#include <dlfcn.h>

#include "tools/ToolError.h"

namespace lmmocktl {

GenTLLibrary::GenTLLibrary(const std::string& path) : path_(path) {
  // Kept mapped after dlclose: a producer may hold process-lifetime state (LmMockTL's handle
  // registry) that leak checkers must still reach through its globals when the program ends.
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (handle_ == nullptr) {
    const char* reason = dlerror();
    throw ToolError("cannot load " + path + ": " + (reason != nullptr ? reason : "unknown reason"));
  }
  std::string missing;
#define LMMOCKTL_GENTL_EXPORT_LOOKUP(name)                           \
  name = reinterpret_cast<decltype(&::name)>(dlsym(handle_, #name)); \
  if (name == nullptr) missing += missing.empty() ? #name : ", " #name;
  LMMOCKTL_GENTL_EXPORTS(LMMOCKTL_GENTL_EXPORT_LOOKUP)
#undef LMMOCKTL_GENTL_EXPORT_LOOKUP
  if (!missing.empty()) {
    dlclose(handle_);
    throw ToolError(path + " is not a GenTL producer: it does not export " + missing);
  }
  if (GCInitLib() != GC_ERR_SUCCESS) {
    const std::string reason = lastError();
    dlclose(handle_);
    throw ToolError("GCInitLib failed: " + reason);
  }
}

GenTLLibrary::~GenTLLibrary() {
  GCCloseLib();
  dlclose(handle_);
}

std::string GenTLLibrary::lastError() const {
  GC_ERROR code = GC_ERR_SUCCESS;
  size_t size = 0;
  if (GCGetLastError(&code, nullptr, &size) != GC_ERR_SUCCESS || size == 0) return "(no last error text)";
  std::string text(size, '\0');
  if (GCGetLastError(&code, text.data(), &size) != GC_ERR_SUCCESS) return "(no last error text)";
  text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));
  return text + " (error " + std::to_string(code) + ")";
}

void GenTLLibrary::check(GC_ERROR result, std::string_view call) const {
  if (result != GC_ERR_SUCCESS) throw ToolError(std::string(call) + " failed: " + lastError());
}

}  // namespace lmmocktl
