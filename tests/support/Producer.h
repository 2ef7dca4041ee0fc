#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

#include "base/GenTL.h"

namespace testing_support {

// The built LmMockTL.cti, loaded as a consumer loads it, with its exports looked up by name.
// It stays mapped after the last dlclose: the producer's handle registry is deliberately never
// destroyed, and the leak checker must still find it through the library's globals.
class Producer {
 public:
  Producer() : library_(dlopen(LMMOCKTL_CTI_PATH, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE)) {
    if (library_ == nullptr) {
      ADD_FAILURE() << "cannot load " << LMMOCKTL_CTI_PATH << ": " << dlerror();
    }
  }
  ~Producer() {
    if (library_ != nullptr) dlclose(library_);
  }
  Producer(const Producer&) = delete;
  Producer& operator=(const Producer&) = delete;

  template <class Function>
  Function* get(const char* name) const {
    void* symbol = library_ != nullptr ? dlsym(library_, name) : nullptr;
    if (symbol == nullptr) {
      throw std::runtime_error(std::string("export missing: ") + name);
    }
    return reinterpret_cast<Function*>(symbol);
  }

  // The calling thread's last error as the consumer reads it: code and text.
  std::pair<GC_ERROR, std::string> lastError() const {
    GC_ERROR code = 0;
    size_t size = 0;
    EXPECT_EQ(get<decltype(GCGetLastError)>("GCGetLastError")(&code, nullptr, &size), GC_ERR_SUCCESS);
    std::string text(size, '\0');
    EXPECT_EQ(get<decltype(GCGetLastError)>("GCGetLastError")(&code, text.data(), &size), GC_ERR_SUCCESS);
    text.resize(size > 0 ? size - 1 : 0);
    return {code, text};
  }

 private:
  void* library_;
};

}  // namespace testing_support
