#include "support/golden.h"

namespace tarvel {
namespace {

struct text_case {
  const char *name;
  const char *actual;
  const char *expected;
  const char *message;
};

const text_case text_cases[] = {
    {"the first line", "a\nb\n", "c\nb\n", "line 1 is \"a\\n\"\n  instead of \"c\\n\"\n"},
    {"a line further down", "a\nb\nlong one\n", "a\nb\nlong two\nd\n",
     "line 3 is \"long one\\n\"\n  instead of \"long two\\n\"\n"},
    {"a line too many", "a\nb\n", "a\n", "line 2 is \"b\\n\"\n  instead of (the text ends)\n"},
    {"a line too few", "a\n", "a\nb", "line 2 is (the text ends)\n  instead of \"b\"\n"},
    {"no newline at the end", "a\nb", "a\nb\n", "line 2 is \"b\"\n  instead of \"b\\n\"\n"},
    {"nothing", "", "a\n", "line 1 is (the text ends)\n  instead of \"a\\n\"\n"},
};

TEST(golden_test, a_text_differs_in_its_first_line_that_is_not_the_same) {
  for (const text_case &c : text_cases) {
    SCOPED_TRACE(c.name);
    const testing::AssertionResult result = same_text(c.actual, c.expected);
    EXPECT_FALSE(result);
    EXPECT_STREQ(result.message(), c.message);
    EXPECT_TRUE(same_text(c.actual, c.actual));
  }
}

}  // namespace
}  // namespace tarvel
