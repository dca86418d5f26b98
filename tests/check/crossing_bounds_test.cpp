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

struct bend_case {
  const char *name;
  double speeds[4];       // m/s; the gate is crossed between the second and the third
  std::int64_t times[4];  // ms
  interval bend;
};

// A quarter of the step, 2 s, times each change of the slope. In the second case the pilot may have gone on at 30 m/s for
// a second and then have lost 4 m/s in another: at the middle the line is at 28.
const bend_case bend_cases[] = {
    {"a straight line", {30.0, 28.0, 26.0, 24.0}, {0, 2000, 4000, 6000}, {0.0, 0.0}},
    {"slower and slower", {30.0, 30.0, 26.0, 18.0}, {0, 2000, 4000, 6000}, {0.0, 0.5 * 2.0 + 0.5 * 2.0}},
    {"faster and faster", {20.0, 20.0, 24.0, 32.0}, {0, 2000, 4000, 6000}, {-0.5 * 2.0 - 0.5 * 2.0, 0.0}},
    {"braked between the two", {30.0, 30.0, 26.0, 26.0}, {0, 2000, 4000, 6000}, {-0.5 * 2.0, 0.5 * 2.0}},
    {"steps of different lengths", {32.0, 30.0, 26.0, 24.0}, {0, 1000, 3000, 3500}, {0.0, 0.5 * 2.0}},
};

swoop run_at(const double (&speeds)[4], const std::int64_t (&times)[4]) {
  std::vector<gps_point> samples(4);
  for (std::size_t k = 0; k < 4; ++k) {
    samples[k].time = times[k];
    samples[k].vel_local = {0.0, speeds[k], 3.0};
  }
  return run_of(samples);
}

TEST(crossing_bounds_test, bend_by_a_quarter_of_the_change_of_slope) {
  for (const bend_case &c : bend_cases) {
    SCOPED_TRACE(c.name);
    const interval bend = bend_at_crossing(run_at(c.speeds, c.times), 1);
    EXPECT_NEAR(bend.low, c.bend.low, 1e-12);
    EXPECT_NEAR(bend.high, c.bend.high, 1e-12);
  }
}

TEST(crossing_bounds_test, do_not_bend_at_an_end_of_the_track) {
  const swoop run = run_at({30.0, 20.0, 30.0, 20.0}, {0, 1000, 2000, 3000});
  for (const std::uint32_t before : {0U, 2U}) {
    EXPECT_EQ(bend_at_crossing(run, before).low, 0.0);
    EXPECT_EQ(bend_at_crossing(run, before).high, 0.0);
  }
}

}  // namespace
}  // namespace tarvel
