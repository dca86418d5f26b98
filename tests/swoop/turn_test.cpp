#include "swoop/turn.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

#include "support/hand_made_run.h"

namespace tarvel {

namespace {

struct dive_case {
  const char *name;
  std::vector<vec3> rows;  // height (m), descent (m/s)
  std::uint32_t pattern_entry;
  std::uint32_t expected;
};

const dive_case dive_cases[] = {
    {"the fastest", {{300.0, 5.0}, {200.0, 20.0}, {100.0, 30.0}, {50.0, 25.0}}, 1, 2},
    {"the first of equals", {{300.0, 5.0}, {200.0, 30.0}, {100.0, 30.0}}, 1, 1},
    {"at exactly 1,000 ft it is too high", {{400.0, 5.0}, {from_feet(1000.0), 40.0}, {100.0, 10.0}}, 1, 2},
    {"just below it is not", {{400.0, 5.0}, {from_feet_below(1000.0), 40.0}, {100.0, 10.0}}, 1, 1},
    {"before the pattern entry", {{300.0, 5.0}, {300.0, 90.0}, {200.0, 20.0}}, 2, 2},
    {"no descent", {{300.0, 5.0}, {200.0, 0.0}, {100.0, -3.0}}, 1, 0},
    {"never low", {{900.0, 30.0}, {800.0, 30.0}}, 1, 0},
    {"sample 0 stands for none", {{100.0, 30.0}, {90.0, 20.0}}, 0, 0},
    {"a descent that is not a number is passed over", {{300.0, 5.0}, {200.0, not_a_number}, {100.0, 4.0}}, 1, 2},
    {"below the gate", {{300.0, 5.0}, {-20.0, 3.0}}, 1, 1},
};

TEST(dive_test, is_the_first_greatest_descent_below_a_thousand_feet) {
  for (const dive_case &c : dive_cases) {
    SCOPED_TRACE(c.name);
    std::vector<gps_point> samples(c.rows.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i].pos_local.z = c.rows[i].x;
      samples[i].vel_local.z = -c.rows[i].y;
    }
    swoop run = run_of(samples);
    run.pattern_entry = c.pattern_entry;
    error_slot error = nullptr;
    EXPECT_EQ(find_dive(run, &error), c.expected);
    EXPECT_STREQ(error, c.expected == 0 ? "could not detect dive" : nullptr);
    detect_top_of_turn(run, &error);
    EXPECT_STREQ(error, c.expected == 0 ? "could not detect dive" : nullptr);
  }
}

struct top_row {
  double descent = 0.0;       // m/s
  double acceleration = 0.0;  // m/s2, positive downward
  double heading = 0.0;
  double height = 100.0;  // m
  std::int64_t time = 0;  // ms; samples are a second apart unless a case changes it
};

using top_rows = std::vector<top_row>;

struct top_case {
  const char *name;
  void (*change)(top_rows &rows);
  std::uint32_t expected;
};

std::uint32_t top_of(top_rows rows, std::uint32_t pattern_entry) {
  std::vector<gps_point> samples;
  for (const top_row &row : rows) {
    gps_point sample;
    sample.time = row.time;
    sample.heading = row.heading;
    sample.pos_local.z = row.height;
    sample.vel_local.z = -row.descent;
    sample.acc_local.z = -row.acceleration;
    samples.push_back(sample);
  }
  swoop run = run_of(samples);
  run.pattern_entry = pattern_entry;
  error_slot error = nullptr;
  detect_top_of_turn(run, &error);
  EXPECT_EQ(error, nullptr);
  return run.top_of_turn;
}

top_rows timed(top_rows rows) {
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i].time = static_cast<std::int64_t>(i) * 1000;
  return rows;
}

// The dive is sample 5, sample 3 the last that descends slowly enough; no sample accelerates.
top_rows plain_dive() {
  return timed(
      {{from_mph(5.0)}, {from_mph(5.0)}, {from_mph(5.0)}, {from_mph(10.0)}, {from_mph(46.0)}, {from_mph(60.0)}});
}

const top_case top_cases[] = {
    {"the last slow sample before the dive", [](top_rows &) {}, 3},
    {"exactly 25 mph is not slow", [](top_rows &r) { r[3].descent = from_mph(25.0); }, 2},
    {"just below 25 mph is",
     [](top_rows &r) {
       r[3].descent = from_mph_below(25.0);
       r[4].descent = from_mph(25.0);
     },
     3},
    {"a slow dive is its own top",
     [](top_rows &r) {
       for (top_row &row : r) row.descent = from_mph(5.0);
       r[5].descent = from_mph(10.0);
     },
     5},
    {"back while it accelerates downward", [](top_rows &r) { r[3].acceleration = r[2].acceleration = 0.5; }, 1},
    {"back no farther than the pattern entry",
     [](top_rows &r) {
       for (top_row &row : r) row.acceleration = 0.5;
     },
     1},
    {"not back from a climb", [](top_rows &r) { r[3].acceleration = -0.5; }, 3},
    {"the least acceleration counts", [](top_rows &r) { r[3].acceleration = 1e-300; }, 2},
    {"without a slow sample the least descent counts, the later of equals",
     [](top_rows &r) {
       r[1].descent = from_mph(40.0);
       r[2].descent = from_mph(30.0);
       r[3].descent = from_mph(30.0);
     },
     3},
    {"a faster one nearer the dive does not",
     [](top_rows &r) {
       r[1].descent = from_mph(40.0);
       r[2].descent = from_mph(30.0);
       r[3].descent = from_mph(31.0);
     },
     2},
    {"the least descent may be at the pattern entry",
     [](top_rows &r) {
       r[0].descent = 0.0;
       r[1].descent = from_mph(30.0);
       r[2].descent = r[3].descent = from_mph(40.0);
     },
     1},
    {"all as fast as the dive: the dive itself",
     [](top_rows &r) {
       for (top_row &row : r) row.descent = from_mph(60.0);
       r[1].height = r[2].height = r[3].height = r[4].height = 900.0;  // too high for the dive
       r[0].descent = 0.0;
     },
     5},
    {"so fast that 1 mph more is the same: none has the least descent",
     [](top_rows &r) {
       for (top_row &row : r) row.descent = 1e300;
     },
     0},
};

TEST(top_of_turn_test, is_where_the_descent_is_still_slow) {
  for (const top_case &c : top_cases) {
    SCOPED_TRACE(c.name);
    top_rows rows = plain_dive();
    c.change(rows);
    EXPECT_EQ(top_of(rows, 1), c.expected);
  }
}

TEST(top_of_turn_test, may_be_the_dive_at_the_pattern_entry) {
  top_rows rows = plain_dive();
  rows[5].descent = from_mph(60.0);
  EXPECT_EQ(top_of(rows, 5), 5U);
}

// The top found first is sample 4, at 20 mph: too fast to be the start. Samples 3 and 2 accelerate downward from 4 mph
// at sample 2 and 1 mph at sample 1: looking back, 20 mph at sample 3 gains 16 over sample 2.
top_rows early_acceleration() {
  return timed(
      {{0.0}, {from_mph(1.0)}, {from_mph(4.0 + 1.0)}, {from_mph(22.0), 1.0}, {from_mph(20.0)}, {from_mph(60.0)}});
}

// The same gain in two steps of 9 and 8 mph, at samples 3 and 2.
void gain_in_two_steps(top_rows &r) {
  r[1].descent = from_mph(5.0);
  r[2] = {from_mph(5.0) + from_mph(10.0), 1.0, 0.0, 100.0, 2000};
  r[3] = {from_mph(24.0), 1.0, 0.0, 100.0, 3000};
}

const top_case earlier_cases[] = {
    {"an acceleration of 17 mph ends at the top", [](top_rows &) {}, 2},
    {"a top of exactly 15 mph is looked behind", [](top_rows &r) { r[4].descent = from_mph(15.0); }, 2},
    {"one just below is not", [](top_rows &r) { r[4].descent = from_mph_below(15.0); }, 4},
    {"a gain of exactly 15 mph is too little",
     [](top_rows &r) {
       r[3].descent = from_mph(20.0);
       r[2].descent = from_mph(5.0);
     },
     4},
    {"a little more is enough",
     [](top_rows &r) {
       r[3].descent = from_mph(20.0) + 1e-9;
       r[2].descent = from_mph(5.0);
     },
     2},
    {"gains add up", gain_in_two_steps, 1},
    {"but not across a sample that does not accelerate",
     [](top_rows &r) {
       gain_in_two_steps(r);
       r[3] = {from_mph(12.0), 1.0, 0.0, 100.0, 4000};  // gains 2 over sample 3
       r.insert(r.begin() + 3, {from_mph(10.0), 0.0, 0.0, 100.0, 3000});
     },
     5},
    {"after it the top goes back while it accelerates", [](top_rows &r) { r[2].acceleration = 0.5; }, 1},
    {"a turn of exactly 30 degrees per second does not end the look back",
     [](top_rows &r) { r[4].heading = r[5].heading = 30.0; }, 2},
    {"a faster one does", [](top_rows &r) { r[4].heading = r[5].heading = 30.0 + 1e-9; }, 4},
    {"it ends it before a gain at the same sample counts",
     [](top_rows &r) { r[3].heading = r[4].heading = r[5].heading = 31.0; }, 4},
    {"across north it is folded",
     [](top_rows &r) {
       r[4].heading = 350.0;
       r[3].heading = 20.0;
       r[2].heading = 50.0;
     },
     2},
    {"a shorter time is a faster turn",
     [](top_rows &r) {
       r[4].heading = r[5].heading = 20.0;
       r[3].time = r[4].time - 600;
     },
     4},
    {"no time is an endless rate",
     [](top_rows &r) {
       r[4].heading = 1.0;
       r[3].time = r[4].time;
     },
     4},
    {"no time and no turn is none", [](top_rows &r) { r[3].time = r[4].time; }, 2},
    {"a clock that goes back turns at a negative rate",
     [](top_rows &r) {
       r[4].heading = 100.0;
       r[3].heading = r[2].heading = 0.0;
       r[4].time = r[3].time - 1;
     },
     2},
    {"a step of 2^32 ms and a little is a slow turn",
     [](top_rows &r) {
       r[4].heading = 100.0;
       r[4].time = r[3].time + (std::int64_t{1} << 32) + 10;
     },
     2},
    {"500 ft of height do not end the look back",
     [](top_rows &r) {
       r[4].height = from_feet(100.0);
       r[3].height = from_feet(600.0);
       r[2].height = from_feet(600.0);
     },
     2},
    {"more do",
     [](top_rows &r) {
       r[4].height = from_feet(100.0);
       r[3].height = from_feet_above(600.0);
       r[2].height = from_feet(600.0);
     },
     4},
    {"the height of all steps counts",
     [](top_rows &r) {
       r[4].height = from_feet(100.0);
       r[3].height = from_feet(400.0);
       r[2].height = from_feet(600.0) + 1.0;
     },
     4},
    {"a descent on the way back takes off it",
     [](top_rows &r) {
       r[4].height = from_feet(400.0);
       r[3].height = from_feet(100.0);
       r[2].height = from_feet(600.0) + 1.0;
     },
     2},
};

TEST(top_of_turn_test, lies_before_an_earlier_acceleration) {
  for (const top_case &c : earlier_cases) {
    SCOPED_TRACE(c.name);
    top_rows rows = early_acceleration();
    c.change(rows);
    EXPECT_EQ(top_of(rows, 1), c.expected);
  }
}

TEST(top_of_turn_test, is_looked_for_down_to_the_pattern_entry_and_not_beyond) {
  EXPECT_EQ(top_of(early_acceleration(), 2), 2U);
  EXPECT_EQ(top_of(early_acceleration(), 3), 4U);
}

struct sum_case {
  const char *name;
  std::vector<double> turns;
  std::uint32_t top_of_turn;
  std::uint32_t bottom_of_turn;
  double expected;
};

const sum_case sum_cases[] = {
    {"from the sample after the top to the bottom", {1.0, 2.0, 4.0, 8.0, 16.0}, 1, 3, 12.0},
    {"left is negative", {0.0, -30.0, -60.0}, 0, 2, -90.0},
    {"360 degrees are left out", {0.0, 10.0, 360.0, 5.0}, 0, 3, 15.0},
    {"just below 360 counts", {0.0, std::nextafter(360.0, 0.0), 0.0}, 0, 2, std::nextafter(360.0, 0.0)},
    {"a large step to the left counts", {0.0, -400.0, 5.0}, 0, 2, -395.0},
    {"endless steps are left out", {0.0, endless, 5.0}, 0, 2, 5.0},
    {"what is not a number is left out", {0.0, not_a_number, 5.0}, 0, 2, 5.0},
    {"a bottom at the top", {1.0, 2.0, 4.0}, 1, 1, 0.0},
    {"a bottom before the top", {1.0, 2.0, 4.0}, 2, 1, 0.0},
};

TEST(turn_degrees_test, adds_up_the_turn) {
  for (const sum_case &c : sum_cases) {
    SCOPED_TRACE(c.name);
    std::vector<gps_point> samples(c.turns.size());
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i].turn_angle = c.turns[i];
    swoop run = run_of(samples);
    run.top_of_turn = c.top_of_turn;
    run.bottom_of_turn = c.bottom_of_turn;
    run.turn_degrees = 1000.0;
    error_slot error = nullptr;
    sum_turn_degrees(run, &error);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(run.turn_degrees, c.expected);
  }
}

}  // namespace

}  // namespace tarvel
