#pragma once

#include <atomic>

namespace lumo::mockTL {

// The library-wide initialised state switched by GCInitLib and GCCloseLib. While it is clear,
// every other export fails with GC_ERR_NOT_INITIALIZED.
class Library {
 public:
  static bool initialised() { return initialised_.load(std::memory_order_acquire); }
  static void setInitialised(bool value) { initialised_.store(value, std::memory_order_release); }

 private:
  static inline std::atomic<bool> initialised_{false};
};

}  // namespace lumo::mockTL
