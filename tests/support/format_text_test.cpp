#include "support/format_text.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <string>

#include "support/allocation_limit.h"

namespace tarvel {
namespace {

TEST(format_text_test, prints_like_printf) {
  EXPECT_STREQ(format_text("height (%s)", "feet").get(), "height (feet)");
  EXPECT_STREQ(format_text("%s (max %.1f %s @ %.0f %s)", "z-axis", 84.36, "mph", 382.5, "ft").get(),
               "z-axis (max 84.4 mph @ 382 ft)");
  EXPECT_STREQ(format_text("%s", "").get(), "");
  EXPECT_STREQ(format_text("100 %%").get(), "100 %");
}

TEST(format_text_test, has_room_for_any_length) {
  for (const std::size_t length : {1U, 127U, 128U, 1023U, 1024U, 100'000U}) {
    const std::string words(length, 'x');
    EXPECT_EQ(format_text("%s", words.c_str()).get(), words) << length;
  }
  // The greatest double has 309 digits before the point.
  EXPECT_EQ(std::string(format_text("%.1f", 1.7976931348623157e308).get()).size(), 311U);
}

// Blocks of the C library have 24, 40, 56 bytes and so on.
TEST(format_text_test, has_room_for_the_end_of_a_text_that_fills_a_block) {
  const owned_text text = format_text("%s", std::string(24, 'x').c_str());
  EXPECT_GE(malloc_usable_size(text.get()), 25U);
}

TEST(format_text_test, gives_null_when_printf_fails) {
  // The C locale has no bytes for this character.
  EXPECT_EQ(format_text("lost %ls", L"\u0416"), nullptr);
}

TEST(format_text_test, gives_null_when_memory_is_short) {
  const allocation_limit none(0);
  EXPECT_EQ(format_text("%s", "words"), nullptr);
}

}  // namespace
}  // namespace tarvel
