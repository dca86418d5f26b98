#include "document/clock_time.h"

#include <gtest/gtest.h>

namespace tarvel {
namespace {

struct clock_case {
  std::int64_t time;
  const char *text;
};

// In UTC; the days are counted by GNU date.
const clock_case clock_cases[] = {
    {0, "1970-01-01T00:00:00.000"},
    {1778936731250, "2026-05-16T13:05:31.250"},
    {-1, "1969-12-31T23:59:59.999"},
    {-1000, "1969-12-31T23:59:59.000"},
    {253402300800000, "10000-01-01T00:00:00.000"},
    {-62167219200000, "0000-01-01T00:00:00.000"},
    {-62167219201000, "-0001-12-31T23:59:59.000"},
    {INT64_MAX, "292278994-08-17T07:12:55.807"},
    {INT64_MIN, "-292275055-05-16T16:47:04.192"},
};

TEST(clock_time_test, prints_the_clock_of_the_logger) {
  for (const clock_case &c : clock_cases) EXPECT_STREQ(clock_time_at(c.time).text, c.text) << c.time;
}

}  // namespace
}  // namespace tarvel
