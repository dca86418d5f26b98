#include "check/crossing_bounds.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/hand_made_run.h"

namespace tarvel {
namespace {

crossing_bounds bounds_between(double from, double to, std::int64_t milliseconds) {
  std::vector<gps_point> samples(2);
  samples[0].time = 1000;
  samples[1].time = 1000 + milliseconds;
  samples[0].vel_local = {from, 0.0, 0.0};
  samples[1].vel_local = {0.0, to, 0.0};
  return bounds_of_crossing(run_of(samples), 0);
}

// 2 s at 9.80665 m/s2: slower until the two ways meet, and faster.
TEST(crossing_bounds_test, are_what_one_g_allows) {
  const crossing_bounds bounds = bounds_between(30.0, 28.0, 2000);
  EXPECT_EQ(bounds.gap, 2.0);
  EXPECT_NEAR(bounds.speed.low, 29.0 - 9.80665, 1e-12);
  EXPECT_NEAR(bounds.speed.high, 29.0 + 9.80665, 1e-12);
  EXPECT_EQ(bounds.time.low, 1000.0);
  EXPECT_EQ(bounds.time.high, 3000.0);
}

TEST(crossing_bounds_test, hold_both_speeds_and_none_below_zero) {
  EXPECT_EQ(bounds_between(30.0, 10.0, 200).speed.low, 10.0);
  EXPECT_EQ(bounds_between(30.0, 10.0, 200).speed.high, 30.0);
  EXPECT_EQ(bounds_between(3.0, 3.0, 4000).speed.low, 0.0);
}

}  // namespace
}  // namespace tarvel
