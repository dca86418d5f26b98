#include "swoop/gates.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/hand_made_run.h"

namespace tarvel {

namespace {

struct location_case {
  const char *name;
  std::vector<vec3> positions;  // m
  error_slot message;
};

// 1000 m * 3.2808399 / 5180 = 0.633; 16,093.44 m give 10.19.
const location_case location_cases[] = {
    {"at the gate", {{0.0, 0.0, 0.0}}, nullptr},
    {"just below 1 km", {{999.9999, 0.0, 0.0}}, nullptr},
    {"exactly 1 km", {{1000.0, 0.0, 0.0}}, "invalid gate location (0.6 miles between gate and swoop)"},
    {"the height counts", {{600.0, 0.0, 800.0}}, "invalid gate location (0.6 miles between gate and swoop)"},
    {"y counts, too", {{0.0, -600.0, 799.9}}, nullptr},
    {"any sample will do", {{5000.0, 0.0, 0.0}, {0.0, 10.0, 0.0}, {5000.0, 0.0, 0.0}}, nullptr},
    {"the least distance is named",
     {{30000.0, 0.0, 0.0}, {0.0, 16093.44, 0.0}, {0.0, 0.0, -20000.0}},
     "invalid gate location (10.2 miles between gate and swoop)"},
    {"a distance that is not a number is passed over",
     {{not_a_number, 0.0, 0.0}, {2000.0, 0.0, 0.0}},
     "invalid gate location (1.3 miles between gate and swoop)"},
    {"no distance is a number", {{not_a_number, 0.0, 0.0}}, "invalid gate location (inf miles between gate and swoop)"},
};

TEST(gate_location_test, must_be_within_a_kilometre_of_the_run) {
  for (const location_case &c : location_cases) {
    SCOPED_TRACE(c.name);
    std::vector<gps_point> samples(c.positions.size());
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i].pos_local = c.positions[i];
    swoop run = run_of(samples);
    error_slot error = nullptr;
    check_gate_location(run, &error);
    EXPECT_STREQ(error, c.message);
  }
}

struct gate_row {
  double x;
  double y;
  double vx = 0.0;
  double vy = 0.0;
};

struct entry_case {
  const char *name;
  std::vector<gate_row> rows;  // a second apart, from 10,000 ms on
  std::uint32_t rollout;
  std::uint32_t stop;
  bool is_reversed;
  std::uint32_t entry_gate;
  std::int64_t time;
  double speed;
  double y;
};

const entry_case entry_cases[] = {
    // x = 0 a quarter of the way from sample 2 to sample 3.
    {"along the course",
     {{-90.0, 0.0}, {-50.0, 4.0}, {-5.0, 4.0, 30.0, 40.0}, {15.0, 8.0, 30.0, 0.0}, {30.0, 8.0}},
     1,
     4,
     false,
     2,
     12250,
     45.0,
     5.0},
    {"against the course",
     {{90.0, 0.0}, {50.0, 4.0}, {5.0, 4.0, -30.0, 40.0}, {-15.0, 8.0, -30.0, 0.0}, {-30.0, 8.0}},
     1,
     4,
     true,
     2,
     12250,
     45.0,
     5.0},
    {"the first of three crossings",
     {{-90.0, 0.0}, {-50.0, 0.0}, {10.0, 0.0}, {-10.0, 0.0}, {10.0, 0.0}},
     1,
     4,
     false,
     1,
     11833,
     0.0,
     0.0},
    {"a sample on the gate line ends the search",
     {{-90.0, 0.0}, {-50.0, 0.0}, {-20.0, 1.0, 3.0}, {0.0, 2.0, 4.0}, {9.0, 9.0}},
     1,
     4,
     false,
     2,
     13000,
     4.0,
     2.0},
    {"a sample on the gate line, against the course",
     {{90.0, 0.0}, {50.0, 0.0}, {20.0, 1.0, 3.0}, {0.0, 2.0, 4.0}, {-9.0, 9.0}},
     1,
     4,
     true,
     2,
     13000,
     4.0,
     2.0},
    {"all before the gate", {{-9.0, 0.0}, {-5.0, 0.0}, {-1.0, 0.0}}, 1, 2, false, 0, 0, 0.0, 0.0},
    {"all behind the gate", {{9.0, 0.0}, {5.0, 0.0}, {1.0, 0.0}}, 1, 2, false, 0, 0, 0.0, 0.0},
    {"all hardly before the gate", {{-9.0, 0.0}, {-0.05, 0.0}, {-0.01, 0.0}}, 1, 2, false, 0, 0, 0.0, 0.0},
    {"all hardly behind the gate", {{9.0, 0.0}, {0.05, 0.0}, {0.01, 0.0}}, 1, 2, false, 0, 0, 0.0, 0.0},
    {"from hardly behind the gate, against the course",
     {{9.0, 0.0}, {0.0625, 1.0, 3.0}, {-4.9375, 2.0, 4.0}},
     1,
     2,
     true,
     1,
     11012,  // x = 0 after an eightieth of the second
     3.0125,
     1.0125},
    {"to hardly behind the gate",
     {{-9.0, 0.0}, {-4.9375, 1.0, 3.0}, {0.0625, 2.0, 4.0}},
     1,
     2,
     false,
     1,
     11987,
     3.9875,
     1.9875},
    {"a sample hardly behind the gate ends the search",
     {{-90.0, 0.0}, {-50.0, 0.0}, {-4.9375, 1.0, 3.0}, {0.0625, 2.0, 4.0}, {9.0, 9.0}},
     1,
     4,
     false,
     2,
     12987,
     3.9875,
     1.9875},
    {"a sample hardly behind the gate does not, against the course",
     {{90.0, 0.0}, {50.0, 0.0}, {0.0625, 1.0, 3.0}, {-4.9375, 2.0, 4.0}},
     1,
     3,
     true,
     2,
     12012,
     3.0125,
     1.0125},
    {"exactly 15 m to the left counts",
     {{-9.0, 15.0}, {-5.0, 15.0, 7.0}, {5.0, 15.0, 7.0}},
     1,
     2,
     false,
     1,
     11500,
     7.0,
     15.0},
    {"more does not", {{-9.0, 15.1}, {-5.0, 15.0000001, 7.0}, {5.0, 15.0000001, 7.0}}, 1, 2, false, 0, 0, 0.0, 0.0},
    {"exactly 15 m to the right counts",
     {{-9.0, -15.0}, {-5.0, -15.0, 7.0}, {5.0, -15.0, 7.0}},
     1,
     2,
     false,
     1,
     11500,
     7.0,
     -15.0},
    {"more does not, on the right",
     {{-9.0, 0.0}, {-5.0, -15.0000001, 7.0}, {5.0, -15.0000001, 7.0}},
     1,
     2,
     false,
     0,
     0,
     0.0,
     0.0},
    {"a missed gate is still flown against the course",
     {{9.0, 99.0}, {5.0, 99.0}, {-5.0, 99.0}},
     1,
     2,
     true,
     0,
     0,
     0.0,
     0.0},
    {"a rollout on the gate line is along the course",
     {{-9.0, 0.0}, {0.0, 1.0, 2.0}, {10.0, 1.0, 2.0}},
     1,
     2,
     false,
     1,
     11000,
     2.0,
     1.0},
    {"a stop on the gate line is along the course",
     {{-9.0, 0.0}, {-10.0, 1.0, 2.0}, {0.0, 1.0, 2.0}},
     1,
     2,
     false,
     1,
     12000,
     2.0,
     1.0},
    {"a stop on the gate line, coming back: sample 2 is past it already",
     {{9.0, 0.0}, {20.0, 1.0, 2.0}, {10.0, 1.0, 2.0}, {0.0, 1.0, 2.0}},
     1,
     3,
     false,
     1,
     13000,
     2.0,
     1.0},
    // Searching back from the line, no sample has x >= 0: the crossing is searched between samples 0 and 1.
    {"a rollout on the gate line, going back",
     {{-10.0, 3.0, 6.0}, {0.0, 5.0, 8.0}, {-10.0, 0.0}, {-20.0, 0.0}},
     1,
     3,
     false,
     0,
     11000,
     8.0,
     5.0},
    {"the search begins after the rollout and ends at the stop",
     {{-90.0, 0.0}, {5.0, 0.0}, {-5.0, 0.0}, {-5.0, 0.0, 9.0}, {5.0, 0.0, 9.0}},
     2,
     4,
     false,
     3,
     13500,
     9.0,
     0.0},
};

TEST(entry_gate_test, interpolates_the_crossing) {
  for (const entry_case &c : entry_cases) {
    SCOPED_TRACE(c.name);
    std::vector<gps_point> samples(c.rows.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i].time = 10000 + static_cast<std::int64_t>(i) * 1000;
      samples[i].pos_local = {c.rows[i].x, c.rows[i].y, 1.0};
      samples[i].vel_local = {c.rows[i].vx, c.rows[i].vy, -2.0};
    }
    swoop run = run_of(samples);
    run.rollout = c.rollout;
    run.stop = c.stop;
    run.entry_gate = 77;  // the result of an earlier pass
    run.entry_gate_time = 77;
    run.entry_gate_speed = run.entry_gate_ypos = 77.0;
    error_slot error = nullptr;
    detect_entry_gate(run, &error);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(run.reversal_detected, c.is_reversed);
    EXPECT_EQ(run.entry_gate, c.entry_gate);
    EXPECT_EQ(run.entry_gate_time, c.time);
    EXPECT_DOUBLE_EQ(run.entry_gate_speed, c.speed);
    EXPECT_DOUBLE_EQ(run.entry_gate_ypos, c.y);
  }
}

TEST(entry_gate_test, never_takes_a_reversal_back) {
  std::vector<gps_point> samples(3);
  samples[1].pos_local.x = -5.0;
  samples[2].pos_local.x = 5.0;
  swoop run = run_of(samples);
  run.rollout = 1;
  run.stop = 2;
  run.reversal_detected = true;
  error_slot error = nullptr;
  detect_entry_gate(run, &error);
  EXPECT_TRUE(run.reversal_detected);
}

// From x = 0 to x = 0 every interpolation is 0 / 0. A y of NaN does not count as a miss, and its time is stored.
TEST(entry_gate_test, stores_an_undefined_crossing_without_a_check) {
  std::vector<gps_point> samples(3);
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i].time = static_cast<std::int64_t>(i) * 1000;
  swoop run = run_of(samples);
  run.rollout = 1;
  run.stop = 2;
  error_slot error = nullptr;
  detect_entry_gate(run, &error);
  EXPECT_EQ(run.entry_gate, 1U);
  EXPECT_EQ(run.entry_gate_time, INT64_MIN);
  EXPECT_TRUE(std::isnan(run.entry_gate_speed));
  EXPECT_TRUE(std::isnan(run.entry_gate_ypos));
}

}  // namespace

}  // namespace tarvel
