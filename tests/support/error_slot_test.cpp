#include "support/error_slot.h"

#include <gtest/gtest.h>

#include <string>

namespace tarvel {
namespace {

TEST(error_slot_test, fills_in_the_arguments) {
  EXPECT_STREQ(format_error("failed to open file: %s", "run.csv"), "failed to open file: run.csv");
  EXPECT_STREQ(format_error("vsnprintf() failed (%d)\n", -1), "vsnprintf() failed (-1)\n");
  EXPECT_STREQ(format_error("%s", ""), "");
}

TEST(error_slot_test, cuts_a_message_after_255_characters) {
  for (const std::size_t length : {254U, 255U, 256U, 257U, 5000U}) {
    SCOPED_TRACE(length);
    const std::string text = std::string(length - 1, 'a') + 'z';
    const std::string expected = text.substr(0, 255);
    EXPECT_EQ(format_error("%s", text.c_str()), expected);
  }
}

TEST(error_slot_test, overwrites_the_message_before) {
  const error_slot first = format_error("the %s", "first and longer one");
  const error_slot second = format_error("the second");
  EXPECT_EQ(first, second);
  EXPECT_STREQ(first, "the second");
}

}  // namespace
}  // namespace tarvel
