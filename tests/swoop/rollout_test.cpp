#include "swoop/rollout.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "support/hand_made_run.h"

namespace tarvel {

namespace {

struct rollout_case {
  const char *name;
  std::vector<double> heights;   // m
  std::vector<double> descents;  // m/s
  std::uint32_t top_of_turn;
  std::uint32_t stop;
  std::uint32_t expected;
  error_slot message;
};

constexpr const char *no_rollout = "could not find rollout";
const double ft100 = from_feet(100.0);

const rollout_case rollout_cases[] = {
    {"the fastest descent before the last 100 ft",
     {0.0, 300.0, 200.0, 100.0, 10.0, 0.0},
     {0.0, 5.0, 30.0, 20.0, 10.0, 0.0},
     1,
     5,
     2,
     nullptr},
    {"a first low sample that is the fastest",
     {0.0, 90.0, 80.0, 10.0, 0.0},
     {0.0, 5.0, 10.0, 30.0, 0.0},
     1,
     4,
     3,
     nullptr},
    {"the walk back ends where the descent is equal",
     {0.0, 300.0, 200.0, 100.0, 10.0, 0.0},
     {0.0, 30.0, 20.0, 20.0, 10.0, 0.0},
     1,
     5,
     3,
     nullptr},
    {"the walk back may end at the top", {0.0, 300.0, 200.0, 10.0, 0.0}, {0.0, 9.0, 30.0, 20.0, 0.0}, 1, 4, 2, nullptr},
    {"a descent that only rises going back",
     {0.0, 300.0, 200.0, 10.0, 0.0},
     {0.0, 40.0, 30.0, 20.0, 0.0},
     1,
     4,
     0,
     no_rollout},
    {"a faster sample before the top does not help",
     {0.0, 300.0, 200.0, 10.0, 0.0},
     {0.0, 0.0, 30.0, 20.0, 0.0},
     2,
     4,
     0,
     no_rollout},
    {"the top itself is low", {0.0, 10.0, 5.0, 0.0}, {0.0, 20.0, 10.0, 0.0}, 1, 3, 0, no_rollout},
    // At 100 ft the search continues to sample 3; going back from it the descent increases only to sample 2.
    {"exactly 100 ft above the stop is not low yet",
     {0.0, 90.0, ft100, 10.0, 0.0},
     {0.0, 5.0, 30.0, 40.0, 0.0},
     1,
     4,
     3,
     nullptr},
    {"just below is low",
     {0.0, 90.0, from_feet_below(100.0), 10.0, 0.0},
     {0.0, 5.0, 30.0, 40.0, 0.0},
     1,
     4,
     2,
     nullptr},
    {"heights are above the stop, not above the gate",
     {0.0, 290.0, 200.0 + ft100 - 1.0, 210.0, 200.0},
     {0.0, 5.0, 30.0, 40.0, 0.0},
     1,
     4,
     2,
     nullptr},
    {"the stop may be the first low sample", {0.0, 90.0, 80.0, 0.0}, {0.0, 10.0, 5.0, 6.0}, 1, 3, 3, nullptr},
    {"heights that are not numbers",
     {0.0, not_a_number, not_a_number, not_a_number},
     {0.0, 1.0, 20.0, 10.0},
     1,
     3,
     0,
     no_rollout},
    {"a stop whose height is not a number",
     {0.0, 300.0, 10.0, not_a_number},
     {0.0, 1.0, 20.0, 10.0},
     1,
     3,
     0,
     no_rollout},
    {"a descent that is not a number ends the walk",
     {0.0, 300.0, 200.0, 10.0, 0.0},
     {0.0, 40.0, not_a_number, 20.0, 0.0},
     1,
     4,
     3,
     nullptr},
    {"a top after the stop", {0.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 2.0, 3.0}, 3, 2, 0, no_rollout},
};

TEST(rollout_test, starts_at_the_greatest_descent_on_the_way_into_the_last_hundred_feet) {
  for (const rollout_case &c : rollout_cases) {
    SCOPED_TRACE(c.name);
    std::vector<gps_point> samples(c.heights.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i].pos_local.z = c.heights[i];
      samples[i].vel_local.z = -c.descents[i];
    }
    swoop run = run_of(samples);
    run.top_of_turn = c.top_of_turn;
    run.stop = c.stop;
    error_slot error = nullptr;
    detect_rollout(run, &error);
    EXPECT_STREQ(error, c.message);
    EXPECT_EQ(run.rollout, c.expected);
  }
}

struct bottom_row {
  std::int64_t time;
  double altitude;  // m
  double descent;   // m/s
};

struct bottom_case {
  const char *name;
  std::vector<bottom_row> rows;
  std::uint32_t first;
  std::uint32_t last;
  std::uint32_t index;
  std::int64_t time;
};

// Descents are 5 m/s in rows that test the altitude alone; the altitudes fall in steps.
const bottom_case bottom_cases[] = {
    // Lowest is sample 4 (the altitude rises at sample 5), 6 m; 7 m lie between 8 m at 3000 ms and 6 m at 4000.
    {"a metre above the lowest point",
     {{0, 90.0, 9.0},
      {1000, 30.0, 5.0},
      {2000, 15.0, 4.0},
      {3000, 8.0, 4.0},
      {4000, 6.0, 4.0},
      {5000, 6.5, 4.0},
      {6000, 6.4, 4.0}},
     1,
     6,
     3,
     3500},
    {"an altitude that stays is not lower",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 8.0, 4.0}, {3000, 6.0, 4.0}, {4000, 6.0, 4.0}, {5000, 1.0, 4.0}},
     1,
     5,
     2,
     2500},
    // Sample 1 is the lowest point, and nothing lies above it: the sample after the first.
    {"a rise right after the first sample",
     {{0, 90.0, 9.0},
      {1000, 30.0, 5.0},
      {2000, 31.0, 4.0},
      {3000, 20.0, 4.0},
      {4000, 10.0, 4.0},
      {5000, 2.0, 4.0},
      {6000, 3.0, 4.0}},
     1,
     6,
     2,
     2000},
    {"a rise in fast descent is noise; the lowest point comes later",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 8.0, 9.0}, {3000, 9.0, 9.0}, {4000, 3.0, 9.0}, {5000, 1.0, 9.0}},
     1,
     5,
     4,
     4500},
    // 10 mph is 4.4704 m/s. At exactly that the rise at sample 3 does not count.
    {"exactly 10 mph is fast",
     {{0, 90.0, 9.0},
      {1000, 30.0, 5.0},
      {2000, 8.0, 9.0},
      {3000, 9.0, from_mph(10.0)},
      {4000, 3.0, 9.0},
      {5000, 1.0, 9.0}},
     1,
     5,
     4,
     4500},
    // The lowest point is sample 2, 8 m; no sample after the first lies above 9 m: the sample after the first.
    {"just below 10 mph is not",
     {{0, 90.0, 9.0},
      {1000, 30.0, 5.0},
      {2000, 8.0, 9.0},
      {3000, 9.0, from_mph_below(10.0)},
      {4000, 3.0, 9.0},
      {5000, 1.0, 9.0}},
     1,
     5,
     2,
     2000},
    {"an altitude that never turns up is lowest at the last sample",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 20.0, 4.0}, {3000, 10.0, 4.0}, {4000, 2.0, 4.0}, {5000, 0.0, 4.0}},
     1,
     4,
     3,
     3875},  // 3 m between 10 m and 2 m: 7/8 of a second
    {"a sample exactly at the target is not above it",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 17.0, 4.0}, {3000, 7.0, 4.0}, {4000, 6.0, 4.0}, {5000, 7.0, 4.0}},
     1,
     5,
     2,
     3000},
    {"the first sample itself is not looked at, level or not",
     {{0, 90.0, 9.0}, {1000, 30.0, 0.5}, {2000, 6.5, 4.0}, {3000, 6.0, 4.0}, {4000, 9.0, 4.0}},
     1,
     4,
     2,
     2000},
    // 1.25 m/s between 3 m/s at 2000 ms and 1 m/s at 3000 ms.
    {"a descent of 1.25 m/s",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 29.9, 3.0}, {3000, 29.8, 1.0}, {4000, 29.7, 2.0}},
     1,
     4,
     2,
     2875},
    {"a sample of exactly 1.25 m/s counts",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 29.9, 1.25}, {3000, 29.8, 9.0}},
     1,
     3,
     1,
     2000},
    {"a little more does not",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 29.9, 1.26}, {3000, 29.8, 9.0}},
     1,
     3,
     2,
     2000},
    {"the last sample may be the level one",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 29.9, 4.0}, {3000, 29.8, 1.0}},
     1,
     3,
     2,
     2916},  // 2.75 of 3 m/s: 916.67 ms, cut
    {"but none after it", {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 29.9, 4.0}, {3000, 29.8, 1.0}}, 1, 2, 2, 2000},
    // Level at 3500 ms as in the first row, 1.25 m/s at 2875 ms.
    {"the earlier of both: the descent",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 15.0, 3.0}, {3000, 8.0, 1.0}, {4000, 6.0, 1.0}, {5000, 6.5, 1.0}},
     1,
     5,
     2,
     2875},
    {"the earlier of both: the altitude",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 15.0, 3.0}, {3000, 8.0, 3.0}, {4000, 6.0, 2.0}, {5000, 6.5, 1.0}},
     1,
     5,
     3,
     3500},
    // 7 m at 3000 ms, the end of the step from sample 2; 1.25 m/s at 3000.1 ms, cut to 3000.
    {"at one time the descent's sample counts",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 17.0, 4.0}, {3000, 7.0, 1.2501}, {4000, 6.0, 0.2501}, {5000, 7.0, 4.0}},
     1,
     5,
     3,
     3000},
    {"a crossing at time 0 counts as none: the altitude",
     {{-4000, 90.0, 9.0}, {-3000, 30.0, 5.0}, {-1000, 8.0, 4.0}, {1000, 6.0, 4.0}, {2000, 7.5, 4.0}, {3000, 7.4, 1.0}},
     1,
     5,
     4,
     2916},
    {"a crossing at time 0 counts as none: the descent",
     {{-4000, 90.0, 9.0}, {-3000, 30.0, 5.0}, {-1500, 20.0, 2.5}, {1500, 7.0, 0.0}, {2500, 6.0, 4.0}, {3500, 6.5, 4.0}},
     1,
     5,
     2,
     1500},
    {"times before the epoch are cut towards zero",
     {{-9000, 90.0, 9.0}, {-3000, 30.0, 5.0}, {-2000, 29.9, 4.0}, {-1000, 29.8, 1.0}},
     1,
     3,
     2,
     -1083},
    {"neither: the sample after the first",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 29.9, 5.0}, {3000, 29.8, 5.0}},
     1,
     3,
     2,
     2000},
    {"neither: never past the track", {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, 29.9, 5.0}}, 2, 2, 2, 2000},
    {"values that are not numbers are passed over",
     {{0, 90.0, 9.0}, {1000, 30.0, 5.0}, {2000, not_a_number, not_a_number}, {3000, 10.0, not_a_number}},
     1,
     3,
     2,
     2000},
};

TEST(find_bottom_test, takes_the_first_level_moment) {
  for (const bottom_case &c : bottom_cases) {
    SCOPED_TRACE(c.name);
    std::vector<gps_point> samples(c.rows.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i].time = c.rows[i].time;
      samples[i].pos_wgs84.z = c.rows[i].altitude;
      samples[i].vel_ltp.z = c.rows[i].descent;
    }
    const swoop run = run_of(samples);
    std::uint32_t index = 99;
    std::int64_t time = 99;
    find_bottom(run, c.first, c.last, index, time);
    EXPECT_EQ(index, c.index);
    EXPECT_EQ(time, c.time);
  }
}

// 1.25 m/s between two samples of one time: 0 / 0.
TEST(find_bottom_test, keeps_a_time_that_does_not_exist) {
  std::vector<gps_point> samples(4);
  for (gps_point &sample : samples) {
    sample.time = 500;
    sample.vel_ltp.z = 1.25;
  }
  samples[0].pos_wgs84.z = 2.0;
  samples[1].pos_wgs84.z = 1.0;
  const swoop run = run_of(samples);
  std::uint32_t index = 0;
  std::int64_t time = 0;
  find_bottom(run, 0, 3, index, time);
  EXPECT_EQ(index, 0U);
  EXPECT_EQ(time, INT64_MIN);
}

std::vector<gps_point> bottom_samples() {
  std::vector<gps_point> samples(4);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto d = static_cast<double>(i);
    samples[i].time = static_cast<std::int64_t>(i) * 1000;
    samples[i].pos_local = {10.0 * d, -2.0 * d, 30.0 - 8.0 * d};
    samples[i].pos_wgs84 = {48.0, 11.0, 500.0 - 0.1 * d};
    samples[i].vel_ltp.z = 5.0;
  }
  return samples;
}

// 3.25 m/s at 1000 ms and 0.25 m/s at 2000 ms give 1.25 m/s at 1666.67 ms, cut to 1666.
TEST(bottom_of_turn_test, lies_between_two_samples) {
  std::vector<gps_point> samples = bottom_samples();
  samples[1].vel_ltp.z = 3.25;
  samples[2].vel_ltp.z = 0.25;
  swoop run = run_of(samples);
  run.rollout = 1;
  run.stop = 3;
  error_slot error = nullptr;
  detect_bottom_of_turn(run, &error);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(run.bottom_of_turn, 1U);
  EXPECT_EQ(run.bottom_time, 1666);
  EXPECT_DOUBLE_EQ(run.bottom_xpos, 16.66);
  EXPECT_DOUBLE_EQ(run.bottom_ypos, -3.332);
  EXPECT_DOUBLE_EQ(run.bottom_zpos, 16.672);
}

TEST(bottom_of_turn_test, at_the_last_sample_is_that_sample) {
  swoop run = run_of(bottom_samples());
  run.rollout = 2;
  run.stop = 3;
  error_slot error = nullptr;
  detect_bottom_of_turn(run, &error);
  EXPECT_EQ(run.bottom_of_turn, 3U);
  EXPECT_EQ(run.bottom_time, 3000);
  EXPECT_EQ(run.bottom_xpos, 30.0);
  EXPECT_EQ(run.bottom_ypos, -6.0);
  EXPECT_EQ(run.bottom_zpos, 6.0);
}

TEST(position_at_test, interpolates_any_quantity) {
  const swoop run = run_of(bottom_samples());
  EXPECT_DOUBLE_EQ(position_at(run, 2, 2500, &gps_point::pos_local).x, 25.0);
  EXPECT_DOUBLE_EQ(position_at(run, 2, 2500, &gps_point::pos_wgs84).z, 499.75);
  EXPECT_EQ(position_at(run, 3, 99, &gps_point::pos_wgs84).x, 48.0);
}

}  // namespace

}  // namespace tarvel
