#include <gtest/gtest.h>

#include <barrier>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "base/GenTL.h"
#include "base/GenericException.h"
#include "gentl/ErrorFrame.h"
#include "gentl/LastErrorStore.h"
#include "platform/Platform.h"

namespace lumo::mockTL::error {
namespace {

std::string threadSuffix() { return ":" + std::to_string(platform::currentThreadId()); }

TEST(DoReturn, TranslatesEachKindOfFailureAndStoresIt) {
  auto& store = LastErrorStore::instance();
  store.clear();
  EXPECT_EQ(doReturn([] {}), GC_ERR_SUCCESS);
  EXPECT_EQ(store.fetch().code, GC_ERR_SUCCESS);

  EXPECT_EQ(doReturn([] { throw GenericException(GC_ERR_TIMEOUT, "here", "late"); }), GC_ERR_TIMEOUT);
  EXPECT_EQ(store.fetch().code, GC_ERR_TIMEOUT);
  EXPECT_EQ(store.fetch().text, "late:here" + threadSuffix());

  EXPECT_EQ(doReturn([] { throw std::out_of_range("index 7"); }), GC_ERR_ERROR);
  EXPECT_EQ(store.fetch().text, "std::exception caught. index 7:lumo::mockTL::error::doReturn" + threadSuffix());

  EXPECT_EQ(doReturn([] { throw 42; }), GC_ERR_ERROR);
  EXPECT_EQ(store.fetch().text, "unknown (catch(...)) error occured:lumo::mockTL::error::doReturn" + threadSuffix());
}

TEST(DoReturn, TheNonStoringFrameLeavesTheLastErrorAlone) {
  auto& store = LastErrorStore::instance();
  store.clear();
  doReturn([] { throw GenericException(GC_ERR_ABORT, "first", "kept"); });
  EXPECT_EQ(doReturnWithoutStoring([] { throw GenericException(GC_ERR_BUFFER_TOO_SMALL, "second", "dropped"); }),
            GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(store.fetch().code, GC_ERR_ABORT);
}

// Many threads failing for the first time at the same moment all insert into the shared store;
// each must read back exactly its own error. Run under ThreadSanitizer by the test command.
TEST(LastErrorStoreConcurrency, SimultaneousFirstFailuresKeepOneRecordPerThread) {
  LastErrorStore::instance().clear();
  constexpr int kThreads = 16;
  std::barrier start(kThreads);
  std::vector<int> mismatches(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      start.arrive_and_wait();
      for (int round = 0; round < 200; ++round) {
        const std::string message = "thread " + std::to_string(t) + " round " + std::to_string(round);
        doReturn([&] { throw GenericException(-1000 - t, "worker", message); });
        const auto record = LastErrorStore::instance().fetch();
        if (record.code != -1000 - t || record.text.rfind(message + ":", 0) != 0) ++mismatches[t];
      }
    });
  }
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
}

}  // namespace
}  // namespace lumo::mockTL::error
