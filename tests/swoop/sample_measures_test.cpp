#include "swoop/sample_measures.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "support/hand_made_run.h"

namespace tarvel {

namespace {

gps_point sample_at_time(std::int64_t time) {
  gps_point sample;
  sample.time = time;
  return sample;
}

TEST(sample_measures_test, counts_descents_and_downward_accelerations_positive) {
  gps_point sample;
  sample.pos_local = {1.0, 2.0, 100.0};
  sample.vel_local = {3.0, -4.0, -10.0};
  sample.acc_local = {1.0, 1.0, -2.0};
  EXPECT_DOUBLE_EQ(height_feet(sample), 328.08399);
  EXPECT_DOUBLE_EQ(descent_mph(sample), 22.3693629);
  EXPECT_DOUBLE_EQ(downward_acceleration(sample), 4.47387258);
  EXPECT_DOUBLE_EQ(horizontal_mph(sample), 11.18468145);  // 5 m/s
}

TEST(sample_measures_test, reads_the_raw_values_as_the_logger_gave_them) {
  gps_point sample;
  sample.pos_wgs84 = {48.0, 11.0, 512.5};
  sample.vel_ltp = {1.0, 2.0, 3.5};
  EXPECT_EQ(raw_altitude(sample), 512.5);
  EXPECT_EQ(raw_descent(sample), 3.5);
}

struct elapsed_case {
  const char *name;
  std::int64_t from;
  std::int64_t to;
  std::int64_t elapsed;
  double time_step;
};

const elapsed_case elapsed_cases[] = {
    {"forward", 1000, 1200, 200, 200.0},
    {"equal", 1000, 1000, 0, 0.0},
    {"one millisecond back", 1000, 999, -1, 4294967295.0},
    {"the longest step", 0, 4294967295, 4294967295, 4294967295.0},
    {"a step of 2^32 ms wraps to none", 0, 4294967296, 4294967296, 0.0},
    {"one more", 0, 4294967297, 4294967297, 1.0},
    {"across the signed 32-bit limit", 0, 2147483648, 2147483648, 2147483648.0},
    {"a difference too large for 64 bits wraps", INT64_MIN, INT64_MAX, -1, 4294967295.0},
    {"the other way round", INT64_MAX, INT64_MIN, 1, 1.0},
};

TEST(sample_measures_test, wraps_time_differences) {
  for (const elapsed_case &c : elapsed_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(elapsed(c.from, c.to), c.elapsed);
    EXPECT_EQ(time_step(sample_at_time(c.from), sample_at_time(c.to)), c.time_step);
  }
}

struct crossing_case {
  const char *name;
  std::int64_t from;
  std::int64_t to;
  double value;  // the measure runs from 2 to 6
  std::int64_t time;
};

const crossing_case crossing_cases[] = {
    {"at the first sample", 1000, 1200, 2.0, 1000},    {"a quarter of the way", 1000, 1200, 3.0, 1050},
    {"cut to the millisecond", 1000, 1003, 5.0, 1002}, {"toward zero", -1003, -1000, 3.0, -1002},
    {"beyond both", 1000, 1200, 10.0, 1400},           {"nowhere", 1000, 1200, not_a_number, INT64_MIN},
};

TEST(sample_measures_test, tells_when_a_value_is_crossed) {
  for (const crossing_case &c : crossing_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(crossing_time(sample_at_time(c.from), sample_at_time(c.to), 2.0, 6.0, c.value), c.time);
  }
}

struct heading_case {
  double from;
  double to;
  double change;
};

const heading_case heading_cases[] = {
    {10.0, 40.0, 30.0},
    {40.0, 10.0, 30.0},
    {350.0, 20.0, 30.0},
    {20.0, 350.0, 30.0},
    {0.0, 180.0, 180.0},
    {180.0, 0.0, 180.0},
    {0.0, 181.0, 179.0},
    {181.0, 0.0, 179.0},
    {90.0, 90.0, 0.0},
    {0.0, 179.9921875, 179.9921875},
    {0.0, 180.0078125, 179.9921875},
};

TEST(sample_measures_test, folds_heading_changes_into_half_a_circle) {
  for (const heading_case &c : heading_cases) {
    SCOPED_TRACE(testing::Message() << c.from << " to " << c.to);
    EXPECT_EQ(folded_heading_change(c.from, c.to), c.change);
  }
  EXPECT_TRUE(std::isnan(folded_heading_change(not_a_number, 0.0)));
}

}  // namespace

}  // namespace tarvel
