#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <string>

#include "support/GenTLExports.h"
#include "support/Producer.h"
#include "support/ScopedEnvironment.h"

namespace testing_support {

// The answer of a GenTL info query: code, type and the bytes written (a string's bytes include
// its terminating zero).
struct InfoAnswer {
  GC_ERROR code = GC_ERR_SUCCESS;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  std::string bytes;
};

// One row of a table of info queries: the command and the answer expected, type and bytes.
struct InfoCase {
  const char* name;
  int32_t command;
  INFO_DATATYPE type;
  std::string bytes;
};

inline void PrintTo(const InfoCase& c, std::ostream* out) { *out << c.name; }

template <class T>
std::string bytesOf(T value) {
  std::string bytes(sizeof(T), '\0');
  std::memcpy(bytes.data(), &value, sizeof(T));
  return bytes;
}

inline std::string bytesOf(const std::string& text) { return text + '\0'; }

// Asks like a consumer does: first the size (null buffer), then the value into a buffer of that size.
// `query` is called as query(INFO_DATATYPE*, void* buffer, size_t* size).
template <class Query>
InfoAnswer askInfo(Query query) {
  InfoAnswer answer;
  size_t size = 0;
  answer.code = query(&answer.type, nullptr, &size);
  if (answer.code != GC_ERR_SUCCESS) return answer;
  answer.bytes.assign(size, '\x7f');
  answer.code = query(&answer.type, answer.bytes.data(), &size);
  return answer;
}

// A GenTL string that has no type argument: `query` is called as query(char* buffer, size_t* size).
template <class Query>
std::string askText(Query query) {
  size_t size = 0;
  EXPECT_EQ(query(nullptr, &size), GC_ERR_SUCCESS);
  std::string text(size, '\x7f');
  EXPECT_EQ(query(text.data(), &size), GC_ERR_SUCCESS);
  EXPECT_EQ(text.back(), '\0');
  text.resize(size > 0 ? size - 1 : 0);
  return text;
}

// A consumer with the producer loaded and initialised, on the built-in configuration unless a test
// names a file through LMMOCKTL_CONFIG before it opens the system.
class ConsumerSession : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(gentl.GCInitLib(), GC_ERR_SUCCESS); }
  void TearDown() override { gentl.GCCloseLib(); }

  TL_HANDLE openSystem() {
    TL_HANDLE system = nullptr;
    EXPECT_EQ(gentl.TLOpen(&system), GC_ERR_SUCCESS);
    return system;
  }
  IF_HANDLE openInterface(TL_HANDLE system, const char* id = "MyInterface0") {
    IF_HANDLE iface = nullptr;
    EXPECT_EQ(gentl.TLOpenInterface(system, id, &iface), GC_ERR_SUCCESS);
    return iface;
  }
  DEV_HANDLE openDevice(IF_HANDLE iface, const char* id = "MyDevice0") {
    DEV_HANDLE device = nullptr;
    EXPECT_EQ(gentl.IFOpenDevice(iface, id, DEVICE_ACCESS_EXCLUSIVE, &device), GC_ERR_SUCCESS);
    return device;
  }
  DS_HANDLE openStream(DEV_HANDLE device, const char* id = "MyStream0") {
    DS_HANDLE stream = nullptr;
    EXPECT_EQ(gentl.DevOpenDataStream(device, id, &stream), GC_ERR_SUCCESS);
    return stream;
  }
  // Fails the test unless the last call failed with `code` and a text that starts with `message`.
  void expectLastError(GC_ERROR code, const std::string& message) {
    const auto [lastCode, text] = producer.lastError();
    EXPECT_EQ(lastCode, code) << text;
    EXPECT_EQ(text.rfind(message + ":", 0), 0u) << text;
  }

  NoConfigurationFile noConfigurationFile;
  Producer producer;
  GenTLExports gentl{producer};
};

}  // namespace testing_support
