#include "support/time.h"

#include <gtest/gtest.h>

namespace tarvel {

namespace {

struct elapsed_case {
  const char *name;
  std::int64_t from;
  std::int64_t to;
  std::int64_t expected;
};

const elapsed_case elapsed_cases[] = {
    {"forward", 1000, 2500, 1500},
    {"back", 2500, 1000, -1500},
    {"across zero", -1, 1, 2},
    {"the longest", 0, INT64_MAX, INT64_MAX},
    {"one more wraps", -1, INT64_MAX, INT64_MIN},
    {"from the greatest to the least is one step", INT64_MAX, INT64_MIN, 1},
    {"and one step back", INT64_MIN, INT64_MAX, -1},
};

TEST(time_test, elapses_from_one_to_another) {
  for (const elapsed_case &c : elapsed_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(elapsed(c.from, c.to), c.expected);
    EXPECT_EQ(time_after(c.from, c.expected), c.to);
  }
}

TEST(time_test, counts_milliseconds) {
  EXPECT_EQ(time_of(0, 0), 0);
  EXPECT_EQ(time_of(2, 999), 2999);
  EXPECT_EQ(time_of(-2, 1), -1999);
  EXPECT_EQ(time_of(INT64_MAX / 1000, 807), INT64_MAX);
  EXPECT_EQ(time_of(INT64_MAX / 1000, 808), INT64_MIN);
}

TEST(time_test, unsigned_seconds_are_never_negative) {
  EXPECT_EQ(unsigned_seconds(1000, 3250), 2.25);
  EXPECT_EQ(unsigned_seconds(3250, 3250), 0.0);
  EXPECT_EQ(unsigned_seconds(1, 0), 18446744073709551.616);  // 2^64 - 1 ms, whose nearest double is 2^64
}

}  // namespace

}  // namespace tarvel
