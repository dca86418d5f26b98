#include "swoop/kinematics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/hand_made_run.h"

namespace tarvel {

namespace {

gps_point moving(std::int64_t time, const vec3 &velocity) {
  gps_point sample;
  sample.time = time;
  sample.vel_local = velocity;
  return sample;
}

TEST(acceleration_test, is_the_backward_difference_of_the_speeds) {
  swoop run = run_of({moving(0, {10.0, 0.0, 0.0}), moving(200, {11.0, -2.0, 0.5}), moving(700, {11.0, -1.0, -0.5})});
  run.track[0].acc_local = {9.0, 9.0, 9.0};
  derive_acceleration(run);
  EXPECT_EQ(run.track[0].acc_local.x, 0.0);
  EXPECT_EQ(run.track[0].acc_local.y, 0.0);
  EXPECT_EQ(run.track[0].acc_local.z, 0.0);
  EXPECT_EQ(run.track[1].acc_local.x, 5.0);
  EXPECT_EQ(run.track[1].acc_local.y, -10.0);
  EXPECT_EQ(run.track[1].acc_local.z, 2.5);
  EXPECT_EQ(run.track[2].acc_local.x, 0.0);
  EXPECT_EQ(run.track[2].acc_local.y, 2.0);
  EXPECT_EQ(run.track[2].acc_local.z, -2.0);
}

TEST(acceleration_test, is_infinite_or_undefined_between_samples_of_one_time) {
  swoop run = run_of({moving(5, {1.0, 1.0, 1.0}), moving(5, {2.0, 1.0, 0.0})});
  derive_acceleration(run);
  EXPECT_EQ(run.track[1].acc_local.x, endless);
  EXPECT_TRUE(std::isnan(run.track[1].acc_local.y));
  EXPECT_EQ(run.track[1].acc_local.z, -endless);
}

TEST(acceleration_test, is_near_zero_and_keeps_its_sign_when_the_clock_goes_back) {
  swoop run = run_of({moving(1000, {0.0, 0.0, 0.0}), moving(800, {1.0, 0.0, -1.0})});
  derive_acceleration(run);
  EXPECT_DOUBLE_EQ(run.track[1].acc_local.x, 1000.0 / 4294967096.0);  // 2^32 - 200 ms
  EXPECT_DOUBLE_EQ(run.track[1].acc_local.z, -1000.0 / 4294967096.0);
}

// The product comes before the division: 0.1 * 1000 / 3 and 0.1 / 3 * 1000 differ in their last bit.
TEST(acceleration_test, multiplies_before_it_divides) {
  swoop run = run_of({moving(0, {}), moving(3, {0.7, 0.0, 0.0})});
  derive_acceleration(run);
  EXPECT_EQ(run.track[1].acc_local.x, 0.7 * 1000.0 / 3.0);
  EXPECT_NE(0.7 * 1000.0 / 3.0, 0.7 / 3.0 * 1000.0);
}

struct dive_case {
  const char *name;
  vec3 velocity;
  double angle;
};

const dive_case dive_cases[] = {
    {"level", {10.0, 0.0, 0.0}, 0.0},
    {"as fast down as ahead", {3.0, 4.0, -5.0}, 45.0},
    {"as fast up as ahead", {3.0, 4.0, 5.0}, -45.0},
    {"steep", {0.0, 1.0, -1.7320508075688772}, 60.0},  // tan 60
    {"straight down", {0.0, 0.0, -5.0}, 90.0},
    {"straight up", {0.0, 0.0, 5.0}, -90.0},
    {"hardly down", {0.0, 0.0, -0.01}, 90.0},
    {"hardly up", {0.0, 0.0, 0.01}, -90.0},
    {"hardly moving", {0.01, 0.0, -0.01}, 45.0},
    {"at rest", {0.0, 0.0, 0.0}, 0.0},
};

TEST(dive_angle_test, is_positive_below_the_horizon) {
  for (const dive_case &c : dive_cases) {
    SCOPED_TRACE(c.name);
    swoop run = run_of({moving(0, c.velocity), moving(200, c.velocity)});
    derive_dive_angle(run);
    EXPECT_NEAR(run.track[0].dive_angle, c.angle, 1e-12);
    EXPECT_NEAR(run.track[1].dive_angle, c.angle, 1e-12);
  }
}

TEST(dive_angle_test, is_not_a_number_when_a_speed_is_not) {
  swoop run = run_of({moving(0, {not_a_number, 0.0, -1.0}), moving(0, {1.0, 0.0, not_a_number})});
  derive_dive_angle(run);
  EXPECT_TRUE(std::isnan(run.track[0].dive_angle));
  EXPECT_TRUE(std::isnan(run.track[1].dive_angle));
}

struct heading_case {
  const char *name;
  double vx;
  double vy;
  double heading;
};

const heading_case heading_cases[] = {
    {"along the course", 1.0, 0.0, 0.0},
    {"to the left", 0.0, 1.0, 270.0},
    {"against the course", -1.0, 0.0, 180.0},
    {"to the right", 0.0, -1.0, 90.0},
    {"half right", 1.0, -1.0, 45.0},
    {"half left", 1.0, 1.0, 315.0},
    {"at rest", 0.0, 0.0, 0.0},
    {"a signed zero is no turn", 1.0, -0.0, 0.0},
    {"against the course from the right", -1.0, -0.0, 180.0},
};

TEST(heading_test, grows_clockwise_from_the_course_axis) {
  for (const heading_case &c : heading_cases) {
    SCOPED_TRACE(c.name);
    swoop run = run_of({moving(0, {c.vx, c.vy, -3.0})});
    derive_heading(run);
    EXPECT_DOUBLE_EQ(run.track[0].heading, c.heading);
  }
}

// A heading slightly to the left of the axis rounds to 360, which must become 0.
TEST(heading_test, never_reaches_a_full_circle) {
  swoop run = run_of({moving(0, {1.0, 1e-18, 0.0})});
  derive_heading(run);
  EXPECT_EQ(run.track[0].heading, 0.0);
}

TEST(turn_rate_test, is_the_turn_per_second) {
  swoop run = run_of({moving(0, {}), moving(200, {}), moving(700, {}), moving(700, {}), moving(600, {})});
  run.track[0].turn_angle = 5.0;
  run.track[0].turn_rate = 5.0;
  run.track[1].turn_angle = 10.0;
  run.track[2].turn_angle = -10.0;
  run.track[3].turn_angle = -1.0;
  run.track[4].turn_angle = -1.0;
  derive_turn_rate(run);
  EXPECT_EQ(run.track[0].turn_rate, 0.0);
  EXPECT_EQ(run.track[1].turn_rate, 50.0);
  EXPECT_EQ(run.track[2].turn_rate, -20.0);
  EXPECT_EQ(run.track[3].turn_rate, -endless);
  EXPECT_DOUBLE_EQ(run.track[4].turn_rate, -1000.0 / 4294967196.0);  // 2^32 - 100 ms
}

TEST(turn_rate_test, is_undefined_without_a_turn_and_without_time) {
  swoop run = run_of({moving(0, {}), moving(0, {})});
  derive_turn_rate(run);
  EXPECT_TRUE(std::isnan(run.track[1].turn_rate));
}

TEST(kinematics_test, leaves_an_empty_track_alone) {
  swoop run;
  derive_acceleration(run);
  derive_dive_angle(run);
  derive_heading(run);
  derive_turn_angle(run);
  derive_turn_rate(run);
  EXPECT_EQ(run.track_len, 0U);
}

}  // namespace

}  // namespace tarvel
