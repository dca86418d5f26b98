#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "support/hand_made_run.h"
#include "swoop/kinematics.h"

namespace tarvel {

namespace {

// A steep sample unless a test says otherwise: 80 degrees at 90 mph.
struct turn_row {
  double heading = 0.0;
  double dive_angle = 80.0;
  double descent = 90.0 / mph_per_mps;  // m/s
  double x = 0.0;                       // m
  std::int64_t time_step = 200;         // ms since the row before
};

struct turn_angle_case {
  const char *name;
  std::vector<turn_row> rows;
  std::vector<double> turns;
};

swoop run_of_rows(const std::vector<turn_row> &rows) {
  std::vector<gps_point> samples;
  std::int64_t time = 1000;
  for (const turn_row &row : rows) {
    gps_point sample;
    time += row.time_step;
    sample.time = time;
    sample.heading = row.heading;
    sample.dive_angle = row.dive_angle;
    sample.vel_local.z = -row.descent;
    sample.pos_local = {row.x, 0.0, 1000.0 - static_cast<double>(time)};
    sample.turn_angle = 7.0;
    samples.push_back(sample);
  }
  return run_of(samples);
}

void expect_turns(const turn_angle_case &c) {
  SCOPED_TRACE(c.name);
  swoop run = run_of_rows(c.rows);
  derive_turn_angle(run);
  for (std::size_t i = 0; i < c.turns.size(); ++i) {
    EXPECT_NEAR(run.track[i].turn_angle, c.turns[i], 1e-9) << "sample " << i;
  }
}

const turn_angle_case step_cases[] = {
    {"right and left", {{10.0}, {40.0}, {15.0}}, {0.0, 30.0, -25.0}},
    {"across north to the right", {{350.0}, {10.0}}, {0.0, 20.0}},
    {"across north to the left", {{10.0}, {350.0}}, {0.0, -20.0}},
    {"exactly half a turn stays as it is", {{0.0}, {180.0}, {0.0}}, {0.0, 180.0, -180.0}},
    {"a little more than half a turn is folded", {{0.0}, {180.5}, {0.0}}, {0.0, -179.5, 179.5}},
};

TEST(turn_angle_test, takes_the_shorter_way_round) {
  for (const turn_angle_case &c : step_cases) expect_turns(c);
}

// In each of these the step of -110 degrees at sample 2 is a flip; sample 3 turns right again and ends the suspect
// stretch of one sample. To the right the step is 10 - 120 + 360 = 250 degrees.
const turn_angle_case flip_cases[] = {
    {"a flip to the left while turning right", {{100.0}, {120.0}, {10.0}, {25.0}}, {0.0, 20.0, 250.0, 15.0}},
    {"a flip to the right while turning left", {{120.0}, {100.0}, {210.0}, {195.0}}, {0.0, -20.0, -250.0, -15.0}},
    {"a dive angle of 60 degrees is not steep", {{100.0}, {120.0}, {10.0, 60.0}, {25.0}}, {0.0, 20.0, -110.0, 15.0}},
    {"one just above is", {{100.0}, {120.0}, {10.0, 60.000001}, {25.0}}, {0.0, 20.0, 250.0, 15.0}},
    {"a descent of 60 mph is not steep",
     {{100.0}, {120.0}, {10.0, 80.0, from_mph(60.0)}, {25.0}},
     {0.0, 20.0, -110.0, 15.0}},
    {"one just above is", {{100.0}, {120.0}, {10.0, 80.0, from_mph_above(60.0)}, {25.0}}, {0.0, 20.0, 250.0, 15.0}},
    {"a step of 2 degrees gives no direction to keep", {{100.0}, {102.0}, {352.0}, {7.0}}, {0.0, 2.0, -110.0, 15.0}},
    {"one of more than 2 degrees does", {{100.0}, {102.00001}, {352.00001}, {7.00001}}, {0.0, 2.00001, 250.0, 15.0}},
    {"a step of -2 degrees gives no direction either", {{100.0}, {98.0}, {208.0}, {193.0}}, {0.0, -2.0, 110.0, -15.0}},
    {"one of less than -2 degrees does",
     {{100.0}, {97.99999}, {207.99999}, {192.99999}},
     {0.0, -2.00001, -250.0, -15.0}},
    {"a step of -2 degrees against the turn is no flip", {{100.0}, {120.0}, {118.0}, {130.0}}, {0.0, 20.0, -2.0, 12.0}},
    {"one of less is; to the right it would be almost a full circle",
     {{100.0}, {120.0}, {117.99999}, {130.0}},
     {0.0, 20.0, -2.00001, 12.00001}},
    {"a repaired total of 315 degrees keeps what was measured",
     {{100.0}, {120.0}, {75.0}, {90.0}},
     {0.0, 20.0, -45.0, 15.0}},
    {"one just below replaces it", {{100.0}, {120.0}, {74.99999}, {90.0}}, {0.0, 20.0, 314.99999, 15.00001}},
    {"to the left, 315 degrees keep what was measured",
     {{120.0}, {100.0}, {145.0}, {120.0}},
     {0.0, -20.0, 45.0, -25.0}},
    {"to the left, just below replaces it",
     {{120.0}, {100.0}, {145.00001}, {120.0}},
     {0.0, -20.0, -314.99999, -25.00001}},
    {"a total in the direction kept is taken as it is: the flip crossed north",
     {{5.0}, {20.0}, {270.0}, {280.0}},
     {0.0, 15.0, 250.0, 10.0}},
    {"the direction survives steps without one",
     {{100.0}, {120.0}, {121.0}, {120.0}, {10.0}, {25.0}},
     {0.0, 20.0, 1.0, -1.0, 250.0, 15.0}},
    {"a flip in shallow flight changes the direction kept",
     {{100.0}, {120.0}, {100.0, 10.0}, {80.0}, {95.0, 10.0}},
     {0.0, 20.0, -20.0, -20.0, 15.0}},
};

TEST(turn_angle_test, replaces_a_flip_of_a_steep_dive) {
  for (const turn_angle_case &c : flip_cases) expect_turns(c);
}

const turn_angle_case run_cases[] = {
    // From 120 to 350 over samples 2 and 3, to the right: 230 degrees in 400 ms.
    {"a run of two samples shares its turn",
     {{100.0}, {120.0}, {10.0}, {350.0}, {5.0}},
     {0.0, 20.0, 115.0, 115.0, 15.0}},
    // The same 230 degrees in 100 + 300 ms.
    {"by the time that each took",
     {{100.0}, {120.0}, {10.0, 80.0, 50.0, 0.0, 100}, {350.0, 80.0, 50.0, 0.0, 300}, {5.0}},
     {0.0, 20.0, 57.5, 172.5, 15.0}},
    {"a run of which the second sample is shallow ends before it",
     {{100.0}, {120.0}, {10.0}, {350.0, 50.0}, {5.0, 50.0}},
     {0.0, 20.0, 250.0, -20.0, 15.0}},
    {"a second sample that has hardly turned ends it",
     {{100.0}, {120.0}, {10.0}, {9.0}, {20.0}},
     {0.0, 20.0, 250.0, -1.0, 11.0}},
    {"a second sample 30 ft away belongs to it",
     {{100.0}, {120.0}, {10.0, 80.0, 50.0, 0.0}, {350.0, 80.0, 50.0, from_feet(30.0)}, {5.0}},
     {0.0, 20.0, 115.0, 115.0, 15.0}},
    {"one farther away does not",
     {{100.0}, {120.0}, {10.0, 80.0, 50.0, 0.0}, {350.0, 80.0, 50.0, from_feet_above(30.0)}, {5.0, 50.0}},
     {0.0, 20.0, 250.0, -20.0, 15.0}},
    {"the distance is from the run's first sample",
     {{100.0}, {120.0}, {10.0, 80.0, 50.0, 0.0}, {350.0, 80.0, 50.0, 8.0}, {330.0, 80.0, 50.0, 16.0}, {300.0, 50.0}},
     {0.0, 20.0, 115.0, 115.0, -20.0, -30.0}},
    // Sample 3 ends the stretch, and its own flip begins none; its direction is kept, so that sample 4 is no flip.
    {"the sample that ends a run starts none",
     {{100.0}, {120.0}, {10.0, 80.0, 50.0, 0.0}, {350.0, 80.0, 50.0, 20.0}, {320.0, 80.0, 50.0, 20.0}, {335.0, 50.0}},
     {0.0, 20.0, 250.0, -20.0, -30.0, 15.0}},
    {"a run still open at the end stays as measured", {{100.0}, {120.0}, {10.0}, {350.0}}, {0.0, 20.0, -110.0, -20.0}},
    {"a run too long to be noise stays as measured",
     {{100.0}, {120.0}, {100.0}, {85.0}, {95.0}},
     {0.0, 20.0, -20.0, -15.0, 10.0}},
    {"a distance that is not a number does not end a run",
     {{100.0}, {120.0}, {10.0, 80.0, 50.0, not_a_number}, {350.0}, {5.0}},
     {0.0, 20.0, 115.0, 115.0, 15.0}},
    {"a run once round to the left makes no turn to the right",
     {{100.0}, {120.0}, {20.0}, {280.0}, {120.0}, {135.0}},
     {0.0, 20.0, 0.0, 0.0, 0.0, 15.0}},
    {"a run once round to the right makes no turn to the left",
     {{120.0}, {100.0}, {200.0}, {300.0}, {100.0}, {85.0}},
     {0.0, -20.0, 0.0, 0.0, 0.0, -15.0}},
    {"two runs", {{100.0}, {120.0}, {10.0}, {25.0}, {275.0}, {290.0}}, {0.0, 20.0, 250.0, 15.0, 250.0, 15.0}},
};

TEST(turn_angle_test, spreads_the_turn_of_a_run_of_flips_evenly) {
  for (const turn_angle_case &c : run_cases) expect_turns(c);
}

// The samples of the stretch have the same time: 0 ms times an infinite rate is NaN.
TEST(turn_angle_test, is_undefined_for_a_run_without_time) {
  swoop run = run_of_rows({{100.0}, {120.0}, {10.0, 80.0, 50.0, 0.0, 0}, {25.0}});
  derive_turn_angle(run);
  EXPECT_TRUE(std::isnan(run.track[2].turn_angle));
  EXPECT_EQ(run.track[3].turn_angle, 15.0);
}

// The stretch has one sample and takes 2^32 - 100 ms: this sample gets the whole turn.
TEST(turn_angle_test, handles_a_clock_that_goes_back) {
  swoop run = run_of_rows({{100.0}, {120.0}, {10.0, 80.0, 50.0, 0.0, -100}, {25.0}});
  derive_turn_angle(run);
  EXPECT_NEAR(run.track[2].turn_angle, 250.0, 1e-9);
}

}  // namespace

}  // namespace tarvel
