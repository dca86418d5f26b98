// The crossing of the course's two lines, and the rotation for an exit mark. R = 53.476 m and 75 degrees put the centre
// of the carve's exit gate 2 R sin(37.5) = 65.108 m from the origin, 52.5 degrees from the y-axis towards x.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "gate/survey.h"

namespace tarvel {
namespace {

constexpr double pi = 3.141592653589793;
constexpr double expected_distance = 65.10832647676482;  // 50 digits, mpmath
constexpr double carve_bearing = 52.5 * pi / 180.0;
const vec3 b_mark = {0.1, 5.0, 0.0};
// 0.1 of 5
constexpr double gate_theta = 0.019997333973150535;  // 50 digits, mpmath: atan(0.02) = 0.0199973339731505...

struct theta_found {
  double theta = 99.0;
  std::string log;
  error_slot error = nullptr;
};

theta_found theta_of(const vec3 &b, const vec3 *exit_mark) {
  theta_found found;
  text_buffer log = text_buffer_create(&found.error);
  found.theta = exit_gate_theta(b, exit_mark, log);
  found.log = log.data.get();
  EXPECT_STREQ(found.error, nullptr);
  return found;
}

// The point at this distance from the origin, this number of degrees from the y-axis towards x.
vec3 at_bearing(double distance, double degrees) {
  return {distance * std::sin(degrees * pi / 180.0), distance * std::cos(degrees * pi / 180.0), 0.0};
}

struct gate_mark_case {
  const char *name;
  vec3 b;
  double degrees;
};

const gate_mark_case gate_mark_cases[] = {
    {"to the left", {0.0, 5.0, 0.0}, 0.0},
    {"to the right", {0.0, -5.0, 0.0}, 180.0},
    {"to the right, with a signed zero", {-0.0, -5.0, 0.0}, -180.0},
    {"ahead on the left", {5.0, 5.0, 1.0}, 45.0},
    {"behind on the left", {-5.0, 5.0, 0.0}, -45.0},
    {"ahead on the right", {5.0, -5.0, 0.0}, 135.0},
    {"behind on the right", {-5.0, -5.0, 0.0}, -135.0},
    {"3-4-5", {3.0, 4.0, 9.0}, 36.86989764584402},  // 50 digits, mpmath
};

TEST(exit_gate_test, turns_the_gate_mark_onto_the_y_axis_without_an_exit_mark) {
  for (const gate_mark_case &c : gate_mark_cases) {
    SCOPED_TRACE(c.name);
    const theta_found found = theta_of(c.b, nullptr);
    EXPECT_NEAR(found.theta, c.degrees * pi / 180.0, 1e-15);
    EXPECT_EQ(found.log, "");
  }
}

struct exit_case {
  const char *name;
  vec3 mark;
  bool used;
  double theta;  // when used
  const char *log;
};

const exit_case exit_cases[] = {
    {"on the spot", at_bearing(expected_distance, 52.5), true, 0.0,
     "exit gate location error (before, after) = (0.0m, 0.0m)\n"},
    {"on the other side: also mirrored, so that 127.5 degrees are 75 away", at_bearing(expected_distance, 127.5), true,
     75.0, "exit gate location error (before, after) = (0.0m, 0.0m)\n"},
    {"turned by 10 degrees: a chord of 2 * 65.108 sin(5)", at_bearing(expected_distance, 62.5), true, 10.0,
     "exit gate location error (before, after) = (11.3m, 0.0m)\n"},
    {"4.9 m too far", at_bearing(expected_distance + 4.9, 52.5), true, 0.0,
     "exit gate location error (before, after) = (4.9m, 4.9m)\n"},
    {"5.1 m too far", at_bearing(expected_distance + 5.1, 52.5), false, 0.0,
     "exit gate location error (before, after) = (5.1m, 5.1m)\n"
     "WARNING: exit gate location ignored (error too large)\n"},
    {"4.9 m too near", at_bearing(expected_distance - 4.9, 52.5), true, 0.0,
     "exit gate location error (before, after) = (4.9m, -4.9m)\n"},
    {"5.1 m too near", at_bearing(expected_distance - 5.1, 52.5), false, 0.0,
     "exit gate location error (before, after) = (5.1m, -5.1m)\n"
     "WARNING: exit gate location ignored (error too large)\n"},
    {"behind the gate at the right distance", at_bearing(expected_distance, -52.5), false, 0.0,
     "WARNING: exit gate location ignored (behind entry gate)\n"},
    {"hardly behind the gate",
     {-1e-300, expected_distance, 0.0},
     false,
     0.0,
     "WARNING: exit gate location ignored (behind entry gate)\n"},
    {"on the gate line: a chord of 2 * 65.108 sin(26.25)",
     {0.0, expected_distance, 0.0},
     true,
     -52.5,
     "exit gate location error (before, after) = (57.6m, 0.0m)\n"},
    {"a signed zero is not behind",
     {-0.0, expected_distance, 0.0},
     true,
     -52.5,
     "exit gate location error (before, after) = (57.6m, 0.0m)\n"},
    {"straight ahead counts as left",
     {expected_distance, 0.0, 0.0},
     true,
     37.5,
     "exit gate location error (before, after) = (41.9m, 0.0m)\n"},
    {"straight ahead with a signed zero too",
     {expected_distance, -0.0, 0.0},
     true,
     37.5,
     "exit gate location error (before, after) = (41.9m, 0.0m)\n"},
    {"hardly to the right",
     {expected_distance, -1e-9, 0.0},
     true,
     90.0 - 127.5,
     "exit gate location error (before, after) = (41.9m, 0.0m)\n"},
    {"height does not matter",
     {51.653908, 39.635438, 30.0},
     true,
     0.0,
     "exit gate location error (before, after) = (0.0m, 0.0m)\n"},
};

// The mirrored expectation lies at 127.5 degrees.
double expected_theta(const exit_case &c) {
  if (c.mark.y < 0.0) return std::atan2(c.mark.x, c.mark.y) - (pi - carve_bearing);
  return c.theta * pi / 180.0;
}

TEST(exit_gate_test, turns_the_exit_gate_onto_a_mark_that_fits) {
  for (const exit_case &c : exit_cases) {
    SCOPED_TRACE(c.name);
    const theta_found found = theta_of(b_mark, &c.mark);
    // Distances of a tenth of a millimetre print as nothing, on either side of it.
    std::string log = found.log;
    if (const std::size_t sign = log.find("-0.0m"); sign != std::string::npos) log.erase(sign, 1);
    EXPECT_EQ(log, c.log);
    EXPECT_NEAR(found.theta, c.used ? expected_theta(c) : gate_theta, c.used ? 1e-6 : 1e-16);
  }
}

// atan2(51, 38) is 53.31028 degrees, 0.81028 more than 52.5 (50 digits, mpmath).
TEST(exit_gate_test, subtracts_the_carve_from_the_mark) {
  const vec3 left = {51.0, 38.0, 0.0};
  const vec3 right = {51.0, -38.0, 0.0};
  EXPECT_NEAR(theta_of(b_mark, &left).theta * 180.0 / pi, 0.81028, 1e-5);
  EXPECT_NEAR(theta_of(b_mark, &right).theta * 180.0 / pi, -0.81028, 1e-5);
  // For any direction of the gate mark.
  EXPECT_EQ(theta_of({0.0, -5.0, 0.0}, &right).theta, theta_of(b_mark, &right).theta);
  // sqrt(0.6539^2 + 1.6354^2) and sqrt(51^2 + 38^2) - 65.1086
  EXPECT_EQ(theta_of(b_mark, &left).log, "exit gate location error (before, after) = (1.8m, -1.5m)\n");
  EXPECT_EQ(theta_of(b_mark, &right).log, "exit gate location error (before, after) = (1.8m, -1.5m)\n");
}

double remaining_error(double distance) {
  const double s = std::sin(75.0 * pi / 180.0);
  const double c = std::cos(75.0 * pi / 180.0);
  const double radius = 53.47606087887684;
  const double x = radius * s;
  const double y = radius - radius * c;
  return distance - std::sqrt(x * x + y * y);
}

TEST(exit_gate_test, takes_an_error_of_exactly_5_m) {
  for (const double side : {1.0, -1.0}) {
    SCOPED_TRACE(side);
    // A mark on the y-axis has its y as distance.
    double distance = expected_distance + side * 5.0;
    // Rounding leaves some steps of the last digit.
    while (side * remaining_error(distance) > 5.0) distance = std::nextafter(distance, expected_distance);
    while (side * remaining_error(distance) < 5.0) distance = std::nextafter(distance, side * 1000.0);
    ASSERT_EQ(remaining_error(distance), side * 5.0);
    const vec3 on = {0.0, distance, 0.0};
    EXPECT_NEAR(theta_of(b_mark, &on).theta, -carve_bearing, 1e-12);
    const vec3 beyond = {0.0, std::nextafter(distance, side * 1000.0), 0.0};
    EXPECT_NEAR(theta_of(b_mark, &beyond).theta, gate_theta, 1e-16);
  }
}

struct centre_case {
  const char *name;
  course_corners corners;
  bool crosses;
  double x;
  double y;
};

const centre_case centre_cases[] = {
    {"a square", {{10.0, 0.0, 0.0}, {0.0, 10.0, 0.0}, {-10.0, 0.0, 0.0}, {0.0, -10.0, 0.0}}, true, 0.0, 0.0},
    // (0, 0) to (8, 4) and (4, 6) to (4, 0)
    {"a slanted cross", {{8.0, 4.0, 0.0}, {4.0, 6.0, 0.0}, {0.0, 0.0, 0.0}, {4.0, 0.0, 0.0}}, true, 4.0, 2.0},
    {"heights do not matter", {{8.0, 4.0, 1.0}, {4.0, 6.0, -2.0}, {0.0, 0.0, 3.0}, {4.0, 0.0, 4.0}}, true, 4.0, 2.0},
    {"walked to and fro", {{10.0, 0.0, 0.0}, {0.0, 10.0, 0.0}, {0.0, -10.0, 0.0}, {-10.0, 0.0, 0.0}}, false, 0.0, 0.0},
    {"the gate line ends on the centre line",
     {{10.0, 0.0, 0.0}, {0.0, 10.0, 0.0}, {-10.0, 0.0, 0.0}, {0.0, 0.0, 0.0}},
     true,
     0.0,
     0.0},
    {"the centre line ends on the gate line",
     {{10.0, 0.0, 0.0}, {0.0, 10.0, 0.0}, {0.0, 0.0, 0.0}, {0.0, -10.0, 0.0}},
     true,
     0.0,
     0.0},
    {"the gate line ends before the centre line",
     {{10.0, 0.0, 0.0}, {0.0, 10.0, 0.0}, {-10.0, 0.0, 0.0}, {0.0, 1e-9, 0.0}},
     false,
     0.0,
     0.0},
    {"the gate stands behind the whole centre line",
     {{10.0, 0.0, 0.0}, {-1e-9, 10.0, 0.0}, {0.0, 0.0, 0.0}, {-1e-9, -10.0, 0.0}},
     false,
     0.0,
     0.0},
    {"parallel", {{10.0, 0.0, 0.0}, {10.0, 1.0, 0.0}, {0.0, 0.0, 0.0}, {0.0, 1.0, 0.0}}, false, 0.0, 0.0},
    {"one line on the other", {{10.0, 0.0, 0.0}, {8.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {2.0, 0.0, 0.0}}, false, 0.0, 0.0},
    {"lines on one line that share a single point",
     {{10.0, 0.0, 0.0}, {10.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {20.0, 0.0, 0.0}},
     true,
     10.0,
     0.0},
    {"not a number",
     {{std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0}, {0.0, 1.0, 0.0}, {-1.0, 0.0, 0.0}, {0.0, -1.0, 0.0}},
     false,
     0.0,
     0.0},
};

TEST(exit_gate_test, locates_the_gate_where_its_two_lines_cross) {
  for (const centre_case &c : centre_cases) {
    SCOPED_TRACE(c.name);
    error_slot error = nullptr;
    const vec3 centre = locate_gate_centre(c.corners, &error);
    EXPECT_STREQ(error, c.crosses ? nullptr : "AC and BD do not intersect");
    EXPECT_DOUBLE_EQ(centre.x, c.x);
    EXPECT_DOUBLE_EQ(centre.y, c.y);
    EXPECT_EQ(centre.z, 0.0);
  }
}

}  // namespace
}  // namespace tarvel
