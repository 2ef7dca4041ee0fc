#pragma once

#include <cstddef>
#include <initializer_list>
#include <mutex>
#include <string>
#include <vector>

#include "base/GenTL.h"

namespace testing_support {

// Results that the consumer threads did not expect, collected across threads and reported once.
class CallLog {
 public:
  // Records `call` as failed unless `result` is one of `allowed`. Any thread may call it.
  void expectOneOf(const char* call, GC_ERROR result, std::initializer_list<GC_ERROR> allowed) {
    for (GC_ERROR code : allowed) {
      if (result == code) return;
    }
    fail(std::string(call) + " returned " + std::to_string(result));
  }
  void fail(const std::string& what) {
    std::lock_guard lock(mutex_);
    if (failures_.size() < 20) failures_.push_back(what);
    ++count_;
  }
  // The first failures, one a line, or empty.
  std::string report() const {
    std::lock_guard lock(mutex_);
    std::string text;
    for (const auto& failure : failures_) text += failure + "\n";
    if (count_ > failures_.size()) text += "... " + std::to_string(count_ - failures_.size()) + " more\n";
    return text;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> failures_;
  std::size_t count_ = 0;
};

}  // namespace testing_support
