#include "swoop/touchdown.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/hand_made_run.h"

namespace tarvel {

namespace {

struct ground_row {
  double x = 0.0;
  double speed = 0.0;
  double y = 0.0;
};

struct touchdown_case {
  const char *name;
  void (*change)(std::vector<ground_row> &rows);
  std::int64_t time;
  double speed;
  double distance;
};

swoop run_of_rows(const std::vector<ground_row> &rows) {
  std::vector<gps_point> samples(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    samples[i].time = static_cast<std::int64_t>(i) * 1000;
    samples[i].pos_local = {rows[i].x, rows[i].y, 50.0 * static_cast<double>(i)};
    samples[i].vel_local = {0.6 * rows[i].speed, 0.8 * rows[i].speed, -7.0};
  }
  return run_of(samples);
}

// The bottom is sample 1, the stop sample 5; the pilot comes to rest at 60 m, which the run passed halfway between
// samples 3 and 4.
std::vector<ground_row> slid_past() {
  return {{-50.0, 30.0}, {0.0, 25.0}, {30.0, 20.0}, {50.0, 14.0}, {70.0, 10.0}, {75.0, 1.5}, {65.0, 0.5}, {60.0, 0.0}};
}

const touchdown_case rest_cases[] = {
    {"at rest before the stop: when the run passed there", [](auto &) {}, 3500, 12.0, 60.0},
    {"the same against the course",
     [](auto &r) {
       for (ground_row &row : r) row.x = -row.x;
     },
     3500, 12.0, -60.0},
    {"at rest at the stop", [](auto &r) { r[7].x = 75.0; }, 5000, 1.5, 75.0},
    {"at rest beyond the stop", [](auto &r) { r[7].x = 76.0; }, 5000, 1.5, 75.0},
    {"beyond the stop, against the course",
     [](auto &r) {
       for (ground_row &row : r) row.x = -row.x;
       r[7].x = -76.0;
     },
     5000, 1.5, -75.0},
    {"the stop is the last sample", [](auto &r) { r.resize(6); }, 5000, 1.5, 75.0},
    {"75 ft from the stop is still at rest",
     [](auto &r) {
       r[5].x = 75.0;
       r[6] = {75.0, 0.0, from_feet(75.0)};
     },
     3500, 12.0, 60.0},
    {"farther is not",
     [](auto &r) {
       r[6] = {75.0, 0.0, from_feet_above(75.0)};
     },
     5000, 1.5, 75.0},
    {"even when it comes back", [](auto &r) { r[6].x = 110.0; }, 5000, 1.5, 75.0},
    {"a distance that is not a number is not near", [](auto &r) { r[6].y = not_a_number; }, 5000, 1.5, 75.0},
    {"at rest on the gate line",
     [](auto &r) {
       for (ground_row &row : r) row.x -= 60.0;
     },
     5000, 1.5, 15.0},
    {"at rest before the gate, the stop behind it",
     [](auto &r) {
       for (ground_row &row : r) row.x -= 70.0;
     },
     5000, 1.5, 5.0},
    {"at rest behind the gate, the stop before it, against the course",
     [](auto &r) {
       for (ground_row &row : r) row.x = 70.0 - row.x;
     },
     5000, 1.5, -5.0},
    {"the place of rest itself, just after the bottom, is no passage",
     [](auto &r) {
       r[2].x = 60.0;
       r[3].x = 70.0;
     },
     5000, 1.5, 75.0},
    {"nor is it against the course",
     [](auto &r) {
       r[2].x = 60.0;
       r[3].x = 70.0;
       for (ground_row &row : r) row.x = -row.x;
     },
     5000, 1.5, -75.0},
    {"a stop on the gate line",
     [](auto &r) {
       for (ground_row &row : r) row.x -= 75.0;
     },
     5000, 1.5, 0.0},
    {"a stop hardly behind the gate",
     [](auto &r) {
       for (ground_row &row : r) row.x /= 1024.0;
     },
     3500, 12.0, 60.0 / 1024.0},
    {"a stop hardly behind the gate, against the course",
     [](auto &r) {
       for (ground_row &row : r) row.x /= -1024.0;
     },
     3500, 12.0, -60.0 / 1024.0},
    {"the last passage counts", [](auto &r) { r[2].x = 90.0; }, 3500, 12.0, 60.0},
    // Sample 2 is the first after the bottom.
    {"a passage just after the bottom",
     [](auto &r) {
       r[2].x = 50.0;
       r[3].x = 70.0;
     },
     2500, 17.0, 60.0},
    {"a passage at the bottom does not count",
     [](auto &r) {
       r[2].x = 70.0;
       r[3].x = 70.0;
     },
     5000, 1.5, 75.0},
    {"a sample exactly at the place of rest has not passed it", [](auto &r) { r[4].x = 60.0; }, 4000, 10.0, 60.0},
    {"exactly at the place of rest, against the course",
     [](auto &r) {
       r[4].x = 60.0;
       for (ground_row &row : r) row.x = -row.x;
     },
     4000, 10.0, -60.0},
};

TEST(touchdown_test, is_the_stop_or_where_the_run_passed_the_place_of_rest) {
  for (const touchdown_case &c : rest_cases) {
    SCOPED_TRACE(c.name);
    std::vector<ground_row> rows = slid_past();
    c.change(rows);
    swoop run = run_of_rows(rows);
    run.bottom_of_turn = 1;
    run.stop = 5;
    error_slot error = nullptr;
    estimate_touchdown(run, 0, &error);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(run.touchdown_time, c.time);
    EXPECT_DOUBLE_EQ(run.touchdown_speed, c.speed);
    EXPECT_DOUBLE_EQ(run.touchdown_distance, c.distance);
  }
}

struct aloft_case {
  const char *name;
  std::uint32_t entry_gate;
  std::int64_t entry_gate_time;
  std::uint32_t time_aloft;
  std::int64_t time;  // 0: fails
  double speed;
  double distance;
};

const aloft_case aloft_cases[] = {
    {"between samples 2 and 3", 1, 1500, 1000, 2500, 17.0, 40.0},
    {"at a sample exactly: the next one is after it", 1, 1500, 1500, 3000, 14.0, 50.0},
    {"a moment before it", 1, 1500, 1499, 2999, 14.006, 49.98},
    {"the first sample after the gate", 2, 2100, 1, 2101, 19.394, 32.02},
    {"the last interval before the stop", 1, 1500, 2499, 3999, 10.004, 69.98},
    {"at the last sample before the stop", 1, 1500, 2500, 0, 0.0, 0.0},
    {"far after the stop", 1, 1500, 100000, 0, 0.0, 0.0},
    // The entry gate's own sample is later already: between it and the one before.
    {"before the gate", 2, 1000, 500, 1500, 22.5, 15.0},
    {"before the gate, at the start of the track", 1, 100, 200, 0, 0.0, 0.0},
    {"the greatest time aloft", 1, 0, UINT32_MAX, 0, 0.0, 0.0},
    {"a time that wraps is before every sample", 2, INT64_MAX, 1, INT64_MIN, 0.0, 0.0},
};

TEST(touchdown_test, follows_a_time_aloft_after_the_entry_gate) {
  for (const aloft_case &c : aloft_cases) {
    SCOPED_TRACE(c.name);
    swoop run = run_of_rows(slid_past());
    run.bottom_of_turn = 1;
    run.stop = 5;
    run.entry_gate = c.entry_gate;
    run.entry_gate_time = c.entry_gate_time;
    error_slot error = nullptr;
    estimate_touchdown(run, c.time_aloft, &error);
    EXPECT_STREQ(error, c.time == 0 ? "touchdown time estimate not found" : nullptr);
    EXPECT_EQ(run.touchdown_time, c.time);
    if (c.time == INT64_MIN) continue;
    EXPECT_NEAR(run.touchdown_speed, c.speed, 1e-12);
    EXPECT_NEAR(run.touchdown_distance, c.distance, 1e-12);
  }
}

TEST(touchdown_test, ignores_a_time_aloft_without_an_entry_gate) {
  swoop run = run_of_rows(slid_past());
  run.bottom_of_turn = 1;
  run.stop = 5;
  run.entry_gate_time = 1500;
  error_slot error = nullptr;
  estimate_touchdown(run, 1000, &error);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(run.touchdown_time, 3500);
}

// Two samples with the same x: the time of passing it is undefined and stored without a check.
TEST(touchdown_test, stores_an_undefined_passage_without_a_check) {
  std::vector<ground_row> rows = slid_past();
  rows[2].x = rows[3].x = endless;
  rows[3].x = -endless;
  swoop run = run_of_rows(rows);
  run.bottom_of_turn = 1;
  run.stop = 5;
  error_slot error = nullptr;
  estimate_touchdown(run, 0, &error);
  EXPECT_EQ(run.touchdown_time, INT64_MIN);
  EXPECT_EQ(run.touchdown_distance, 60.0);
}

}  // namespace

}  // namespace tarvel
