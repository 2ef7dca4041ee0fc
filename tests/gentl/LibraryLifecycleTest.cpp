// Drives the built LmMockTL.cti through its exports, as a consumer does.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <thread>

#include "support/GenTLExports.h"

namespace {

using testing_support::Producer;

std::string threadId() { return std::to_string(static_cast<long>(syscall(SYS_gettid))); }

class LibraryLifecycle : public ::testing::Test {
 protected:
  void TearDown() override { gentl.GCCloseLib(); }  // leaves the library uninitialised for the next test

  Producer producer;
  testing_support::GenTLExports gentl{producer};
};

TEST_F(LibraryLifecycle, EveryCallBeforeInitIsNotInitializedAndInitStartsAFreshPeriod) {
  GC_ERROR code = 0;
  size_t size = 0;
  EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_NOT_INITIALIZED);
  EXPECT_EQ(gentl.GCGetLastError(&code, nullptr, &size), GC_ERR_NOT_INITIALIZED);
  ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
  ASSERT_EQ(gentl.GCInitLib(), GC_ERR_RESOURCE_IN_USE);
  ASSERT_EQ(gentl.GCCloseLib(), GC_ERR_SUCCESS);
  EXPECT_EQ(gentl.GCCloseLib(), GC_ERR_NOT_INITIALIZED);
  ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
  // The failures of the previous period are gone: init empties the store.
  EXPECT_EQ(producer.lastError(), std::make_pair(GC_ERROR{GC_ERR_SUCCESS}, "NO ERROR::" + threadId()));
}

TEST_F(LibraryLifecycle, InitTwiceIsRememberedAndReadWithASizeQuery) {
  ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
  ASSERT_EQ(gentl.GCInitLib(), GC_ERR_RESOURCE_IN_USE);
  const std::string expected = "already initialized:GenTL::GCInitLib::<lambda_1>::operator ():" + threadId();

  GC_ERROR code = 0;
  size_t size = 0;
  ASSERT_EQ(gentl.GCGetLastError(&code, nullptr, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(size, expected.size() + 1);
  EXPECT_EQ(code, GC_ERR_RESOURCE_IN_USE);

  std::string text(expected.size(), 'x');
  size = text.size();
  EXPECT_EQ(gentl.GCGetLastError(&code, text.data(), &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(text, std::string(expected.size(), 'x'));
  // A failing GCGetLastError never overwrites the error being read.
  EXPECT_EQ(gentl.GCGetLastError(nullptr, nullptr, &size), GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(gentl.GCGetLastError(&code, nullptr, nullptr), GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(producer.lastError(), std::make_pair(GC_ERROR{GC_ERR_RESOURCE_IN_USE}, expected));
}

TEST_F(LibraryLifecycle, ThreadsReadTheirOwnErrors) {
  ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS);
  std::pair<GC_ERROR, std::string> failed, clean;
  std::string failedId, cleanId;
  std::thread([&] {
    EXPECT_EQ(gentl.GCInitLib(), GC_ERR_RESOURCE_IN_USE);
    failed = producer.lastError();
    failedId = threadId();
  }).join();
  std::thread([&] {
    clean = producer.lastError();
    cleanId = threadId();
  }).join();
  EXPECT_EQ(failed.first, GC_ERR_RESOURCE_IN_USE);
  EXPECT_TRUE(failed.second.ends_with(":" + failedId)) << failed.second;
  EXPECT_EQ(clean, std::make_pair(GC_ERROR{GC_ERR_SUCCESS}, "NO ERROR::" + cleanId));
  EXPECT_EQ(producer.lastError().first, GC_ERR_SUCCESS) << "the main thread never failed";
}

}  // namespace
