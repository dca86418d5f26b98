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

struct cut_case {
  const char *name;
  const char *end;  // of the message, in whose middle it is cut
  std::size_t bytes_before_cut;
  std::size_t kept;  // bytes of the end
};

const cut_case cut_cases[] = {
    {"one of two bytes", "\xC3\xA9", 1, 0},
    {"two of two bytes", "\xC3\xA9zz", 2, 2},
    {"one of three bytes", "\xE2\x82\xAC", 1, 0},
    {"two of three bytes", "\xE2\x82\xAC", 2, 0},
    {"three of three bytes", "\xE2\x82\xACz", 3, 3},
    {"one of four bytes", "\xF0\x9F\xAA\x82", 1, 0},
    {"two of four bytes", "\xF0\x9F\xAA\x82", 2, 0},
    {"three of four bytes", "\xF0\x9F\xAA\x82", 3, 0},
    {"four of four bytes", "\xF0\x9F\xAA\x82z", 4, 4},
    {"the second of two characters", "\xC3\xA9\xC3\xA9", 3, 2},
    {"continuing bytes without a first one", "\x80\x80\x80\x80\x80", 4, 4},
    {"a continuing byte too many", "\xC3\xA9\xA9z", 3, 3},
    {"a first byte of five", "\xF8zz", 1, 1},
    {"bytes that never occur", "\xFF\xFE\xFF", 2, 2},
    {"Latin-1 letters, the last of which may be a first byte", "\xE9\xE9\xE9\xE9", 3, 2},
};

TEST(error_slot_test, cuts_no_character_in_half) {
  for (const cut_case &c : cut_cases) {
    SCOPED_TRACE(c.name);
    const std::string letters(255 - c.bytes_before_cut, 'a');
    const std::string expected = letters + std::string(c.end).substr(0, c.kept);
    EXPECT_EQ(format_error("%s%s", letters.c_str(), c.end), expected);
  }
}

TEST(error_slot_test, keeps_255_bytes_that_need_no_cut) {
  const std::string text = std::string(254, 'a') + "\xC3";
  EXPECT_EQ(format_error("%s", text.c_str()), text);
}

TEST(error_slot_test, overwrites_the_message_before) {
  const error_slot first = format_error("the %s", "first and longer one");
  const error_slot second = format_error("the second");
  EXPECT_EQ(first, second);
  EXPECT_STREQ(first, "the second");
}

}  // namespace
}  // namespace tarvel
