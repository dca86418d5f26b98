#include "swoop/analysis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/hand_made_run.h"
#include "support/simulated_swoop.h"

namespace tarvel {

namespace {

constexpr double carve_radius_flown = 53.47606087887684;

// 4 s level, 3 s of fall at 10 m/s2, 2 s of opening, 120 s of descent at 6 m/s, 4 s of dive through 270 degrees to
// 30 m/s, 4 s of rollout, then the gate.
std::vector<flight_leg> legs_to_the_gate() {
  return {{4.0, 40.0, 0.0, 0.0},   {3.0, 30.0, 30.0, 0.0},  {2.0, 15.0, 6.0, 0.0},
          {120.0, 15.0, 6.0, 0.0}, {4.0, 15.0, 30.0, 67.5}, {4.0, 25.0, 0.0, 0.0}};
}

simulated_flight straight_flight() {
  std::vector<flight_leg> legs = legs_to_the_gate();
  legs.push_back({6.0, 0.0, 0.0, 0.0});
  legs.push_back({20.0, 0.0, 0.0, 0.0});
  return fly(legs, 6);
}

// 85 m along the circle at 25 m/s, then straight on to a stop.
simulated_flight carving_flight(double side) {
  const double turn_rate = side * degrees_from_radians(25.0 / carve_radius_flown);
  std::vector<flight_leg> legs = legs_to_the_gate();
  legs.push_back({3.4, 25.0, 0.0, turn_rate});
  legs.push_back({4.0, 0.0, 0.0, 0.0});
  legs.push_back({20.0, 0.0, 0.0, 0.0});
  return fly(legs, 6);
}

swoop straight_run() { return run_of(logged(straight_flight(), simulated_frame())); }

void analyze(swoop &run, std::int32_t gate_type, const mat4 &frame, double theta, error_slot message = nullptr) {
  error_slot error = "left over";
  analyze_swoop(run, gate_type, frame, theta, &error);
  EXPECT_STREQ(error, message);
}

void expect_same_frame(const mat4 &a, const mat4 &b) {
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) EXPECT_NEAR(a.m[r][c], b.m[r][c], 1e-8) << r << ", " << c;
  }
}

// Seconds since the first sample.
double seconds_at(std::int64_t time) { return static_cast<double>(time - 1000000) / 1000.0; }

// The legs of the flight: exit at 4 s, dive at 129 s, its fastest moment at 133 s, the gate at 137 s.
void expect_straight_results(const swoop &run) {
  EXPECT_NEAR(0.2 * run.plane_exit, 4.2, 1e-9);
  EXPECT_GE(run.track[run.pattern_entry - 1].pos_local.z * 3.2808399, 2500.0);
  EXPECT_LT(run.track[run.pattern_entry].pos_local.z * 3.2808399, 2500.0);
  EXPECT_NEAR(0.2 * run.top_of_turn, 129.0, 0.41);
  EXPECT_NEAR(0.2 * run.rollout, 133.0, 1e-9);
  EXPECT_EQ(run.max_vert_speed, run.rollout);
  EXPECT_NEAR(run.turn_degrees, 270.0, 14.0);
  EXPECT_NEAR(seconds_at(run.bottom_time), 136.484, 0.02);  // 3.75 m/s2 * (137 - t)^2 = 1 m
  EXPECT_NEAR(seconds_at(run.entry_gate_time), 137.0, 0.02);
  EXPECT_NEAR(run.entry_gate_speed, 25.0, 0.1);
  EXPECT_NEAR(run.entry_gate_ypos, 0.0, 0.05);
  EXPECT_EQ(run.entry_gate, 684U);                 // the sample before 137.0 s
  EXPECT_NEAR(run.touchdown_distance, 75.0, 0.6);  // 6 s at 12.5 m/s
  EXPECT_EQ(run.touchdown_time, run.track[run.stop].time);
  EXPECT_NEAR(0.2 * run.stop, 142.8, 0.21);  // 2 mph = 0.894 m/s of 25 in 6 s
}

TEST(analysis_test, scores_a_straight_run) {
  swoop run = straight_run();
  analyze(run, 0, simulated_frame(), 0.3);
  expect_straight_results(run);
  EXPECT_FALSE(run.reversal_detected);
  EXPECT_FALSE(run.carve_detected);
  EXPECT_EQ(run.gate_type, 0);
  EXPECT_EQ(run.rotate_theta, 0.3);
  EXPECT_TRUE(run.rotate_matrix_in == simulated_frame());
  EXPECT_TRUE(run.matrix == simulated_frame());
  EXPECT_TRUE(run.rotate_matrix_out == mat4());
  EXPECT_EQ(run.exit_gate_time, 0);
}

TEST(analysis_test, derives_every_quantity_of_a_sample) {
  swoop run = straight_run();
  analyze(run, 0, simulated_frame(), 0.0);
  const gps_point &diving = run.track[655];  // 131.0 s: half-way into the dive, 18 m/s down, 135 degrees to go
  EXPECT_NEAR(vec3_length(diving.pos_ecef), 6366800.0, 10000.0);
  EXPECT_NEAR(vec3_length(diving.vel_ecef), std::hypot(15.0, 18.0), 1e-6);
  EXPECT_NEAR(diving.vel_local.z, -18.0, 1e-6);
  EXPECT_NEAR(diving.acc_local.z, -6.0, 1e-6);
  EXPECT_NEAR(diving.dive_angle, 50.1944289077348, 1e-6);  // atan(18 / 15)
  EXPECT_NEAR(diving.heading, 225.0, 0.1);
  EXPECT_NEAR(diving.turn_angle, 13.5, 1e-6);
  EXPECT_NEAR(diving.turn_rate, 67.5, 1e-5);
}

TEST(analysis_test, turns_the_frame_for_a_run_against_the_course) {
  swoop run = straight_run();
  const mat4 course = turned(simulated_frame(), pi);
  analyze(run, 0, course, 0.3);
  expect_straight_results(run);
  EXPECT_TRUE(run.reversal_detected);
  EXPECT_FALSE(run.carve_detected);
  EXPECT_TRUE(run.rotate_matrix_in == course);
  EXPECT_TRUE(run.rotate_matrix_out == run.matrix);
  expect_same_frame(run.matrix, simulated_frame());
}

void expect_carve_results(const swoop &run, std::uint8_t direction) {
  EXPECT_TRUE(run.carve_detected);
  EXPECT_EQ(run.carve_direction, direction);
  EXPECT_NEAR(seconds_at(run.entry_gate_time), 137.0, 0.02);
  EXPECT_NEAR(seconds_at(run.exit_gate_time), 139.8, 0.02);  // 70 m at 25 m/s
  EXPECT_NEAR(run.exit_gate_speed, 25.0, 0.01);
  EXPECT_NEAR(run.exit_gate_xpos, 51.654, 0.1);
  EXPECT_EQ(run.exit_gate, 698U);
  EXPECT_TRUE(run.rotate_matrix_out == run.matrix);
  expect_same_frame(run.matrix, simulated_frame());
}

TEST(analysis_test, turns_the_frame_for_a_speed_carve) {
  for (const double side : {-1.0, 1.0}) {
    SCOPED_TRACE(side);
    swoop run = run_of(logged(carving_flight(side), simulated_frame()));
    analyze(run, 0, turned(simulated_frame(), -0.3), 0.3);
    EXPECT_FALSE(run.reversal_detected);
    expect_carve_results(run, side < 0.0 ? 1 : 0);
  }
}

TEST(analysis_test, turns_the_frame_for_a_speed_carve_against_the_course) {
  for (const double side : {-1.0, 1.0}) {
    SCOPED_TRACE(side);
    swoop run = run_of(logged(carving_flight(side), simulated_frame()));
    analyze(run, 0, turned(simulated_frame(), -0.3 - pi), 0.3);
    EXPECT_TRUE(run.reversal_detected);
    expect_carve_results(run, side < 0.0 ? 1 : 0);
  }
}

TEST(analysis_test, leaves_the_frame_of_a_carve_without_theta_as_it_is) {
  swoop run = run_of(logged(carving_flight(-1.0), simulated_frame()));
  analyze(run, 0, simulated_frame(), 0.0);
  EXPECT_TRUE(run.carve_detected);
  EXPECT_TRUE(run.matrix == simulated_frame());
}

TEST(analysis_test, does_no_work_for_a_turned_course_that_it_has_settled) {
  swoop run = straight_run();
  const mat4 course = turned(simulated_frame(), pi);
  analyze(run, 0, course, 0.3);
  run.stop = 12345;
  analyze(run, 0, course, 0.3);
  EXPECT_EQ(run.stop, 12345U);
  EXPECT_TRUE(run.reversal_detected);
}

TEST(analysis_test, works_again_when_anything_of_a_course_has_changed) {
  const mat4 course = turned(simulated_frame(), pi);
  for (int changed = 0; changed < 3; ++changed) {
    SCOPED_TRACE(changed);
    swoop run = straight_run();
    analyze(run, 0, course, 0.3);
    run.stop = 12345;
    if (changed == 0) {
      analyze(run, 0, course, 0.4);
      EXPECT_EQ(run.rotate_theta, 0.4);
    } else if (changed == 1) {
      mat4 other = course;
      other.m[2][3] += 0.5;
      analyze(run, 0, other, 0.3);
      EXPECT_TRUE(run.rotate_matrix_in == other);
    } else {
      run.matrix.m[2][3] += 0.5;
      analyze(run, 0, course, 0.3);
      expect_same_frame(run.matrix, simulated_frame());
    }
    EXPECT_LT(run.stop, 800U);
  }
}

TEST(analysis_test, gives_the_same_results_for_a_straight_course_analysed_again) {
  swoop run = straight_run();
  analyze(run, 0, simulated_frame(), 0.3);
  analyze(run, 0, simulated_frame(), 0.3);
  expect_straight_results(run);
  EXPECT_TRUE(run.matrix == simulated_frame());
}

TEST(analysis_test, forgets_the_flags_of_another_course) {
  swoop run = straight_run();
  analyze(run, 0, turned(simulated_frame(), pi), 0.3);
  EXPECT_TRUE(run.reversal_detected);
  run.carve_detected = true;
  analyze(run, 0, simulated_frame(), 0.3);
  EXPECT_FALSE(run.reversal_detected);
  EXPECT_FALSE(run.carve_detected);
}

TEST(analysis_test, takes_the_frame_of_a_fresh_record_for_settled) {
  swoop run = straight_run();
  analyze(run, 0, mat4(), 0.0);
  EXPECT_EQ(run.stop, 0U);
  EXPECT_EQ(run.track[1].pos_ecef.x, 0.0);
}

TEST(analysis_test, never_turns_a_fixed_course) {
  swoop run = straight_run();
  const mat4 course = turned(simulated_frame(), pi);
  analyze(run, 1, course, 0.3);
  EXPECT_EQ(run.gate_type, 1);
  EXPECT_TRUE(run.reversal_detected);
  EXPECT_TRUE(run.matrix == course);
  EXPECT_TRUE(run.rotate_matrix_in == mat4());
  EXPECT_TRUE(run.rotate_matrix_out == mat4());
  EXPECT_EQ(run.rotate_theta, 0.0);
  EXPECT_NEAR(run.touchdown_distance, -75.0, 0.6);

  run.stop = 12345;
  analyze(run, 1, course, 0.5);
  EXPECT_EQ(run.stop, 12345U);
  analyze(run, 1, simulated_frame(), 0.5);
  expect_straight_results(run);
  EXPECT_FALSE(run.reversal_detected);
}

TEST(analysis_test, builds_a_frame_for_a_run_without_a_course) {
  swoop run = straight_run();
  analyze(run, 2, mat4(), 0.3);
  EXPECT_EQ(run.gate_type, 2);
  EXPECT_EQ(run.rotate_theta, 0.0);
  EXPECT_FALSE(run.reversal_detected);
  EXPECT_NEAR(seconds_at(run.entry_gate_time), seconds_at(run.bottom_time), 0.01);
  EXPECT_NEAR(run.entry_gate_ypos, 0.0, 0.01);
  EXPECT_NEAR(run.turn_degrees, 270.0, 14.0);

  // The standing pilot's logger is 2 m above the ground.
  EXPECT_NEAR(run.track[run.track_len - 1].pos_local.z, 2.0, 0.01);
  const mat4 built = run.matrix;
  run.stop = 12345;
  analyze(run, 2, simulated_frame(), 0.9);
  EXPECT_EQ(run.stop, 12345U);
  EXPECT_TRUE(run.matrix == built);
}

TEST(analysis_test, passes_on_that_there_is_no_implicit_gate) {
  swoop run = run_of(std::vector<gps_point>(10));
  analyze(run, 2, mat4(), 0.0, "could not detect flight");
  EXPECT_EQ(run.gate_type, 0);
}

TEST(analysis_test, refuses_other_gate_types) {
  for (const std::int32_t gate_type : {-1, 3, 256}) {
    SCOPED_TRACE(gate_type);
    swoop run = straight_run();
    run.reversal_detected = true;
    analyze(run, gate_type, simulated_frame(), 0.3, "invalid gate type");
    EXPECT_EQ(run.gate_type, 0);
    EXPECT_TRUE(run.reversal_detected);
    EXPECT_TRUE(run.matrix == mat4());
  }
}

TEST(analysis_test, refuses_an_empty_track_first) {
  swoop run;
  analyze(run, 7, simulated_frame(), 0.0, "no points found in track");
}

struct failure_case {
  const char *name;
  void (*change)(swoop &run);
  const char *message;
};

const failure_case failure_cases[] = {
    {"far away",
     [](swoop &run) {
       for (std::uint32_t i = 0; i < run.track_len; ++i) run.track[i].pos_wgs84.x += 1.0;
     },
     "invalid gate location (70"},
    {"recorded from below 2,500 ft",
     [](swoop &run) {
       std::copy(run.track.get() + 400, run.track.get() + run.track_len, run.track.get());
       run.track_len -= 400;
     },
     "could not detect pattern entry"},
    {"recorded down to 331 m", [](swoop &run) { run.track_len = 480; }, "could not detect dive"},
    {"no end of the dive", [](swoop &run) { run.track_len = 680; }, "could not determine swoop heading"},
    {"no standstill", [](swoop &run) { run.track_len = 708; }, "did not detect end of motion after swoop"},
    {"no touchdown", [](swoop &run) { run.time_aloft = 60000; }, "touchdown time estimate not found"},
};

TEST(analysis_test, stops_at_the_first_failure) {
  for (const failure_case &c : failure_cases) {
    SCOPED_TRACE(c.name);
    swoop run = straight_run();
    c.change(run);
    error_slot error = nullptr;
    analyze_swoop(run, 0, simulated_frame(), 0.3, &error);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(std::string(error).substr(0, std::string(c.message).size()), c.message);
    EXPECT_EQ(run.touchdown_time, 0);
  }
}

TEST(analysis_test, keeps_what_was_found_before_a_failure) {
  swoop run = straight_run();
  run.track_len = 680;
  analyze(run, 0, simulated_frame(), 0.3, "could not determine swoop heading");
  EXPECT_EQ(run.plane_exit, 21U);
  EXPECT_NE(run.top_of_turn, 0U);
  EXPECT_EQ(run.stop, 0U);
  EXPECT_EQ(run.rollout, 0U);
}

TEST(analysis_test, gives_the_time_aloft_to_the_touchdown) {
  swoop run = straight_run();
  run.time_aloft = 2000;
  analyze(run, 0, simulated_frame(), 0.3);
  EXPECT_EQ(run.touchdown_time, run.entry_gate_time + 2000);
  EXPECT_NEAR(run.touchdown_distance, 41.67, 0.6);  // 25 * 2 - 25 / 12 * 2 * 2
}

// In the frame of the second pass, after a reversal, the run ends 75 m down the course.
TEST(analysis_test, leaves_the_coordinates_of_the_last_pass) {
  swoop run = straight_run();
  analyze(run, 0, turned(simulated_frame(), pi), 0.3);
  EXPECT_TRUE(run.is_derived);
  EXPECT_NEAR(run.track[run.track_len - 1].pos_local.x, 75.0, 0.6);
}

TEST(analysis_test, sets_whether_there_are_coordinates) {
  swoop empty;
  analyze(empty, 0, simulated_frame(), 0.0, "no points found in track");
  EXPECT_FALSE(empty.is_derived);
  swoop unfit = straight_run();
  analyze(unfit, 4, simulated_frame(), 0.0, "invalid gate type");
  EXPECT_FALSE(unfit.is_derived);
  // A run too far from its course fails, but its samples are already in the course's frame.
  swoop far = straight_run();
  mat4 elsewhere = simulated_frame();
  elsewhere.m[0][3] += 9000.0;
  error_slot error = nullptr;
  analyze_swoop(far, 0, elsewhere, 0.0, &error);
  EXPECT_NE(error, nullptr);
  EXPECT_TRUE(far.is_derived);
}

// The record has the debug flag, but the engine opens no file.
TEST(analysis_test, writes_no_file) {
  const temp_dir folder;
  swoop run = straight_run();
  run.debug = true;
  analyze(run, 0, simulated_frame(), 0.0);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(pipeline_test, never_clears_a_flag) {
  swoop run = straight_run();
  run.matrix = simulated_frame();
  run.reversal_detected = true;
  run.carve_detected = true;
  error_slot error = "left over";
  run_swoop_pipeline(run, &error);
  EXPECT_EQ(error, nullptr);
  EXPECT_TRUE(run.reversal_detected);
  EXPECT_TRUE(run.carve_detected);
  expect_straight_results(run);
}

}  // namespace

}  // namespace tarvel
