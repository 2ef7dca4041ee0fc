#pragma once

#include <gtest/gtest.h>

#include <string>

#include "base/GenericException.h"

// Runs `statement`, expecting a GenericException with `expectedCode` whose text starts with `expectedMessage` and
// a colon (the origin and thread id follow).
#define EXPECT_GENTL_ERROR(statement, expectedCode, expectedMessage)                                \
  do {                                                                                              \
    try {                                                                                           \
      statement;                                                                                    \
      ADD_FAILURE() << "expected " << (expectedCode) << ", nothing thrown";                         \
    } catch (const lumo::mockTL::error::GenericException& failure) {                                \
      EXPECT_EQ(failure.code(), (expectedCode)) << failure.text();                                  \
      EXPECT_EQ(failure.text().rfind(std::string(expectedMessage) + ":", 0), 0u) << failure.text(); \
    }                                                                                               \
  } while (false)
