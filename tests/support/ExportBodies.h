#pragma once

#include <gtest/gtest.h>

#include <string>

#include "gentl/GenTL.h"
#include "gentl/LastErrorStore.h"
#include "gentl/Library.h"

// For unit tests that call export bodies directly, linked into the test instead of loaded.
namespace testing_support {

// The start of the origin text of an export body's own checks.
inline std::string exportBody(const std::string& exportName) { return "GenTL::" + exportName + "::"; }

// Whether the export returned `code` and left, as the calling thread's last error, the same code
// and a text made of `message` and an origin that starts with `origin`.
inline ::testing::AssertionResult exportFailed(GC_ERROR result, GC_ERROR code, const std::string& message,
                                               const std::string& origin) {
  const auto record = lumo::mockTL::error::LastErrorStore::instance().fetch();
  const std::string prefix = message + ":" + origin;
  if (result != code || record.code != code || record.text.rfind(prefix, 0) != 0) {
    return ::testing::AssertionFailure() << "returned " << result << ", last error " << record.code << " \""
                                         << record.text << "\"; expected " << code << " \"" << prefix << "...\"";
  }
  return ::testing::AssertionSuccess();
}

// The library initialised, with no last errors, as after GCInitLib; uninitialised again after.
class InitialisedLibrary : public ::testing::Test {
 protected:
  void SetUp() override {
    lumo::mockTL::Library::setInitialised(true);
    lumo::mockTL::error::LastErrorStore::instance().clear();
  }
  void TearDown() override { lumo::mockTL::Library::setInitialised(false); }
};

}  // namespace testing_support
