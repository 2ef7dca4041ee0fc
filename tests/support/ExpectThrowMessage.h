#pragma once

#include <gtest/gtest.h>

// Runs `statement`, expecting an exception of `type` whose what() is exactly `expectedMessage`.
#define EXPECT_THROW_MESSAGE(statement, type, expectedMessage) \
  do {                                                         \
    try {                                                      \
      statement;                                               \
      ADD_FAILURE() << "expected " #type ", nothing thrown";   \
    } catch (const type& failure) {                            \
      EXPECT_STREQ(failure.what(), (expectedMessage));         \
    }                                                          \
  } while (false)
