#include "swoop/speed_carve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <vector>

#include "geo/course_frame.h"
#include "geo/plane.h"
#include "geo/vec3.h"
#include "support/hand_made_run.h"

namespace tarvel {

namespace {

// 40 digits, mpmath: R = 70 / (75 pi / 180); the gate's centre (R sin 75, R - R cos 75); the gate points outwards along
// (sin 75, -cos 75), so that its line is y = R - x cot 75.
constexpr double radius = 53.47606087887684;
constexpr double centre_x = 51.65390829111363;
constexpr double centre_y = 39.63543786636166;
constexpr double sin_75 = 0.9659258262890683;
constexpr double cos_75 = 0.25881904510252074;

double line_y(double x) { return radius - x * cos_75 / sin_75; }

struct carve_row {
  double x = 0.0;
  double y = 0.0;
  double speed = 0.0;
};

swoop run_of_rows(const std::vector<carve_row> &rows) {
  std::vector<gps_point> samples(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    samples[i].time = static_cast<std::int64_t>(i) * 1000;
    samples[i].pos_ecef = {rows[i].x, rows[i].y, 1.0};
    samples[i].vel_local = {0.6 * rows[i].speed, -0.8 * rows[i].speed, 3.0};
  }
  swoop run = run_of(samples);
  for (int i = 0; i < 4; ++i) run.matrix.m[i][i] = 1.0;
  run.entry_gate = 1;
  run.entry_gate_time = 1500;
  run.stop = static_cast<std::uint32_t>(rows.size() - 1);
  run.exit_gate = 77;  // the result of an earlier pass
  run.exit_gate_time = 77;
  run.exit_gate_speed = run.exit_gate_xpos = 77.0;
  run.carve_direction = 9;
  return run;
}

// Flies through the gate line at x, a quarter of the way from sample 3 to sample 4, and stops far away.
swoop crossing_at(double x, double drift = 0.0) {
  const double y = line_y(x);
  return run_of_rows({{-9.0, 0.0},
                      {-1.0, 0.0},
                      {9.0, 0.0},
                      {x - drift, y - 1.0, 20.0},
                      {x + 3.0 * drift, y + 3.0, 12.0},
                      {x, y + 90.0}});
}

void mirror(swoop &run) {
  for (std::uint32_t i = 0; i < run.track_len; ++i) run.track[i].pos_ecef.y = -run.track[i].pos_ecef.y;
}

void detect(swoop &run) {
  error_slot error = nullptr;
  detect_speed_carve(run, &error);
  EXPECT_EQ(error, nullptr);
}

void expect_no_exit(const swoop &run) {
  EXPECT_EQ(run.exit_gate, 0U);
  EXPECT_EQ(run.exit_gate_time, 0);
  EXPECT_EQ(run.exit_gate_speed, 0.0);
  EXPECT_EQ(run.exit_gate_xpos, 0.0);
}

void expect_no_carve(const swoop &run) {
  expect_no_exit(run);
  EXPECT_FALSE(run.carve_detected);
  EXPECT_EQ(run.carve_direction, 9);
}

void expect_carve(const swoop &run, std::uint8_t direction) {
  EXPECT_TRUE(run.carve_detected);
  EXPECT_EQ(run.carve_direction, direction);
}

void expect_exit(const swoop &run, double x) {
  EXPECT_EQ(run.exit_gate, 3U);
  EXPECT_NEAR(static_cast<double>(run.exit_gate_time), 3250.0, 1.0);  // a rounding may cut it to 3249
  EXPECT_NEAR(run.exit_gate_speed, 18.0, 1e-9);
  EXPECT_NEAR(run.exit_gate_xpos, x, 1e-9);
}

TEST(speed_carve_test, crosses_its_exit_gate_towards_plus_y) {
  swoop run = crossing_at(centre_x);
  detect(run);
  expect_carve(run, 1);
  expect_exit(run, centre_x);
}

TEST(speed_carve_test, crosses_its_exit_gate_towards_minus_y) {
  swoop run = crossing_at(centre_x);
  mirror(run);
  detect(run);
  expect_carve(run, 0);
  expect_exit(run, centre_x);
}

// A quarter of the way in y; in x the two samples are the same.
TEST(speed_carve_test, interpolates_its_exit_along_y) {
  swoop run = run_of_rows({{-9.0, 0.0},
                           {-1.0, 0.0},
                           {centre_x, centre_y - 4.0, 10.0},
                           {centre_x, centre_y + 12.0, 30.0},
                           {centre_x, 200.0}});
  detect(run);
  EXPECT_EQ(run.exit_gate, 2U);
  EXPECT_NEAR(static_cast<double>(run.exit_gate_time), 2250.0, 1.0);
  EXPECT_NEAR(run.exit_gate_speed, 15.0, 1e-9);
}

struct distance_case {
  const char *name;
  double distance;  // m along the gate from its centre, outwards
  bool is_carve;
  bool is_scored;
};

const distance_case distance_cases[] = {
    {"at the outer end", 5.0, true, true},
    {"just within 12 m", 12.0 - 1e-9, true, true},
    {"just beyond 12 m", 12.0 + 1e-9, true, false},
    {"just within 20 m", 20.0 - 1e-9, true, false},
    {"just beyond 20 m", 20.0 + 1e-9, false, false},
    {"just within 12 m, inwards", -12.0 + 1e-9, true, true},
    {"just beyond 12 m, inwards", -12.0 - 1e-9, true, false},
    {"just within 20 m, inwards", -20.0 + 1e-9, true, false},
    {"just beyond 20 m, inwards", -20.0 - 1e-9, false, false},
};

TEST(speed_carve_test, is_scored_within_12_m_and_counts_within_20_m) {
  for (const distance_case &c : distance_cases) {
    for (const bool is_mirrored : {false, true}) {
      SCOPED_TRACE(testing::Message() << c.name << (is_mirrored ? ", towards -y" : ", towards +y"));
      const double x = centre_x + c.distance * sin_75;
      swoop run = crossing_at(x);
      if (is_mirrored) mirror(run);
      detect(run);
      if (!c.is_carve) {
        expect_no_carve(run);
        continue;
      }
      expect_carve(run, is_mirrored ? 0 : 1);
      if (c.is_scored) {
        expect_exit(run, x);
      } else {
        expect_no_exit(run);
      }
    }
  }
}

// The distance between the gate's centre and the crossing of that flight, computed with line_intersection.
double measured_distance(double x, double drift) {
  const carve_gate gate = carve_gate_points(75.0, radius, 10.0);
  const double y = line_y(x);
  const vec2 crossing = line_intersection({x - drift, y - 1.0, x + 3.0 * drift, y + 3.0},
                                          {gate.inner.x, gate.inner.y, gate.outer.x, gate.outer.y});
  return vec2_distance({gate.centre.x, gate.centre.y}, crossing);
}

// A crossing whose measured distance is exactly this one, found by trying neighbouring values.
swoop crossing_at_exactly(double distance) {
  const double x_near = centre_x + distance * sin_75;
  for (double drift = 0.0; drift < 4.0; drift += 0.0625) {
    for (double x = x_near - 1e-13; x < x_near + 1e-13; x = std::nextafter(x, endless)) {
      if (measured_distance(x, drift) == distance) return crossing_at(x, drift);
    }
  }
  throw std::domain_error("no crossing lies at exactly this distance");
}

TEST(speed_carve_test, is_scored_at_exactly_12_m_and_counts_at_exactly_20_m) {
  swoop scored = crossing_at_exactly(12.0);
  detect(scored);
  expect_carve(scored, 1);
  expect_exit(scored, centre_x + 12.0 * sin_75);

  swoop counted = crossing_at_exactly(20.0);
  detect(counted);
  expect_carve(counted, 1);
  expect_no_exit(counted);
}

struct entry_case {
  const char *name;
  bool is_mirrored;
  double entry_y;
  bool is_carve;
};

const entry_case entry_cases[] = {
    {"towards +y, in at +10 m", false, 10.0, true},  {"towards +y, farther out", false, 10.0000001, false},
    {"towards +y, in at +12 m", false, 12.0, false}, {"towards +y, in at -12 m", false, -12.0, true},
    {"towards -y, in at -10 m", true, -10.0, true},  {"towards -y, farther out", true, -10.0000001, false},
    {"towards -y, in at +12 m", true, 12.0, true},
};

TEST(speed_carve_test, is_cancelled_by_an_entry_wide_on_its_own_side) {
  for (const entry_case &c : entry_cases) {
    SCOPED_TRACE(c.name);
    swoop run = crossing_at(centre_x);
    if (c.is_mirrored) mirror(run);
    run.entry_gate_ypos = c.entry_y;
    detect(run);
    if (c.is_carve) {
      expect_carve(run, c.is_mirrored ? 0 : 1);
    } else {
      expect_no_carve(run);
    }
  }
}

struct end_case {
  const char *name;
  double x;
  double y;
  bool is_carve;
  std::uint8_t direction;
};

// The run stays between the gate lines and stops at (x, y). 6-8-10 triangles.
const end_case end_cases[] = {
    {"10 m short of the gate", centre_x - 8.0, centre_y - 6.0 + 1e-9, true, 1},
    {"a little more", centre_x - 8.0, centre_y - 6.0 - 1e-9, false, 9},
    {"10 m short of the mirror gate", centre_x - 8.0, -centre_y + 6.0 - 1e-9, true, 0},
    {"a little more on that side", centre_x - 8.0, -centre_y + 6.0 + 1e-9, false, 9},
    {"straight on", 60.0, 0.0, false, 9},
};

TEST(speed_carve_test, may_end_near_the_gate_without_crossing_it) {
  for (const end_case &c : end_cases) {
    SCOPED_TRACE(c.name);
    swoop run = run_of_rows({{-9.0, 0.0}, {-1.0, 0.0}, {9.0, 0.0}, {c.x, c.y}});
    detect(run);
    expect_no_exit(run);
    EXPECT_EQ(run.carve_detected, c.is_carve);
    EXPECT_EQ(run.carve_direction, c.direction);
  }
}

// The position whose computed distance is exactly 10 m is found by trying neighbouring ones.
TEST(speed_carve_test, may_end_exactly_10_m_from_the_gate) {
  const vec3 centre = carve_gate_points(75.0, radius, 10.0).centre;
  const double x = centre.x - 8.0;
  double y = centre.y - 6.0 - 1e-13;
  while (distance_2d({x, y, 0.0}, centre) != 10.0 && y < centre.y - 5.9) y = std::nextafter(y, endless);
  ASSERT_EQ(distance_2d({x, y, 0.0}, centre), 10.0);
  for (const double side : {1.0, -1.0}) {
    SCOPED_TRACE(side);
    swoop run = run_of_rows({{-9.0, 0.0}, {-1.0, 0.0}, {9.0, 0.0}, {x, side * y}});
    detect(run);
    expect_carve(run, side > 0.0 ? 1 : 0);
  }
}

TEST(speed_carve_test, ending_near_the_gate_is_cancelled_by_a_wide_entry) {
  swoop run = run_of_rows({{-9.0, 0.0}, {-1.0, 0.0}, {9.0, 0.0}, {centre_x - 5.0, centre_y - 5.0}});
  run.entry_gate_ypos = 12.0;
  detect(run);
  expect_no_carve(run);
}

// Beyond x = R tan 75 = 199.58 m the gate line lies below the course: the crossing at sample 4 is not examined any
// more, but the end of the run is.
TEST(speed_carve_test, search_ends_where_the_gate_line_meets_the_course) {
  const std::vector<carve_row> far = {
      {-9.0, 0.0}, {-1.0, 0.0}, {199.7, 0.0}, {centre_x, centre_y - 1.0}, {centre_x, centre_y + 3.0}, {centre_x, 90.0}};
  swoop run = run_of_rows(far);
  detect(run);
  expect_no_carve(run);

  std::vector<carve_row> back = far;
  back[5].y = centre_y;
  run = run_of_rows(back);
  detect(run);
  expect_carve(run, 1);
  expect_no_exit(run);

  std::vector<carve_row> near = far;
  near[2].x = 199.5;
  run = run_of_rows(near);
  detect(run);
  expect_carve(run, 1);
  EXPECT_EQ(run.exit_gate, 3U);
}

TEST(speed_carve_test, search_begins_after_the_entry_gate_and_ends_at_the_stop) {
  swoop run = crossing_at(centre_x);
  run.entry_gate = 3;
  detect(run);
  EXPECT_EQ(run.exit_gate, 3U);

  run = crossing_at(centre_x);
  run.entry_gate = 4;  // sample 5 has crossed, too: at its own place between samples 4 and 5
  detect(run);
  EXPECT_EQ(run.exit_gate, 4U);

  run = crossing_at(centre_x);
  run.stop = 4;
  detect(run);
  EXPECT_EQ(run.exit_gate, 3U);

  run = crossing_at(centre_x);
  run.track[3].pos_ecef.x = 9.0;
  run.track[3].pos_ecef.y = 0.0;
  run.stop = 3;
  detect(run);
  expect_no_carve(run);
}

TEST(speed_carve_test, needs_an_entry_gate_and_a_course_that_may_be_turned) {
  swoop run = crossing_at(centre_x);
  run.entry_gate = 0;
  detect(run);
  expect_no_carve(run);
  for (const std::int32_t gate_type : {gate_type_fixed_course, gate_type_implicit}) {
    run = crossing_at(centre_x);
    run.gate_type = gate_type;
    detect(run);
    expect_no_carve(run);
  }
}

void turn_back(swoop &run, double angle) {
  for (std::uint32_t i = 0; i < run.track_len; ++i) {
    const vec3 p = run.track[i].pos_ecef;
    run.track[i].pos_ecef.x = p.x * std::cos(angle) + p.y * std::sin(angle);
    run.track[i].pos_ecef.y = -p.x * std::sin(angle) + p.y * std::cos(angle);
  }
}

struct frame_case {
  const char *name;
  double theta;
  bool is_reversed;
  bool is_known;  // the carve was found on the first pass
  double turn;    // of the carve's frame
};

constexpr double half_turn = 3.141592653589793;

const frame_case frame_cases[] = {
    {"the course's own turn", 0.7, false, false, 0.7},
    {"and half a turn against the course", 0.7, true, false, 0.7 + half_turn},
    {"on the second pass over a carve the frame has been turned", 0.7, false, true, 0.0},
    {"against the course as well", 0.7, true, true, 0.0},
    {"a second pass over a reversal without a carve turns once more", 0.0, true, false, half_turn},
};

TEST(speed_carve_test, is_looked_for_in_the_turned_frame) {
  for (const frame_case &c : frame_cases) {
    SCOPED_TRACE(c.name);
    swoop run = crossing_at(centre_x);
    run.rotate_theta = c.theta;
    run.reversal_detected = c.is_reversed;
    run.carve_detected = c.is_known;
    turn_back(run, c.turn);
    const mat4 frame_before = run.matrix;
    detect(run);
    expect_carve(run, 1);
    expect_exit(run, centre_x);
    EXPECT_TRUE(run.matrix == frame_before);
  }
}

TEST(speed_carve_test, positions_that_are_not_numbers_cross_nothing) {
  swoop run = crossing_at(centre_x);
  for (std::uint32_t i = 0; i < run.track_len; ++i) run.track[i].pos_ecef = {not_a_number, not_a_number, not_a_number};
  detect(run);
  expect_no_carve(run);
}

}  // namespace

}  // namespace tarvel
