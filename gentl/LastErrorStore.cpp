#include "gentl/LastErrorStore.h"

#include "base/GenTL.h"
#include "base/GenericException.h"
#include "platform/Platform.h"

namespace lumo::mockTL::error {

LastErrorStore& LastErrorStore::instance() {
  static LastErrorStore store;
  return store;
}

void LastErrorStore::store(const GenericException& error) {
  const auto thread = platform::currentThreadId();
  std::lock_guard lock(mutex_);
  auto& record = records_[thread];
  record.code = error.code();
  record.text = error.text();
}

LastErrorStore::Record LastErrorStore::fetch() {
  const auto thread = platform::currentThreadId();
  std::lock_guard lock(mutex_);
  auto found = records_.find(thread);
  if (found == records_.end()) {
    const GenericException none(GC_ERR_SUCCESS, "", "NO ERROR");
    found = records_.emplace(thread, Record{GC_ERR_SUCCESS, none.text()}).first;
  }
  return found->second;
}

void LastErrorStore::clear() {
  std::lock_guard lock(mutex_);
  records_.clear();
}

}  // namespace lumo::mockTL::error
