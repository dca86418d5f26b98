#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "formats/course_file.h"
#include "geo/angle.h"
#include "support/course_texts.h"
#include "support/files.h"
#include "support/pond_of.h"

namespace tarvel {

namespace {

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

const std::string theta_comment =
    "\n"
    "// This value specifies the clockwise rotation (in degrees) needed for\n"
    "// the entry gate when processing a speed carve run.\n"
    "\n";

const std::string pond_comment =
    "\n"
    "// These (x, y) coordinates define the perimeter of the swoop pond.\n"
    "// They are expressed in meters in the local reference frame.\n"
    "\n";

// Without a pond where the points are null.
std::string written(double theta_degrees, const std::vector<vec3> *points) {
  course surveyed;
  surveyed.matrix = surveyed_matrix;
  surveyed.theta = radians_from_degrees(theta_degrees);
  if (points != nullptr) surveyed.pond = pond_of(*points);
  return bytes_written_by([&](std::FILE *stream) { write_course(stream, surveyed); });
}

TEST(course_file_write_test, writes_the_matrix_alone) { EXPECT_EQ(written(0.0, nullptr), surveyed_matrix_text); }

struct theta_case {
  const char *name;
  double theta;      // degrees
  const char *line;  // null: no theta
};

const theta_case theta_cases[] = {
    {"zero", 0.0, nullptr},
    {"minus zero", -0.0, nullptr},
    {"positive", 12.5, "theta =  12.50000000\n"},
    {"negative", -123.456789014, "theta = -123.45678901\n"},
    {"too small to show", 1e-12, "theta =   0.00000000\n"},
    {"not a number", std::copysign(not_a_number, 1.0), "theta =          nan\n"},
};

TEST(course_file_write_test, writes_theta_unless_it_is_zero) {
  for (const theta_case &c : theta_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(written(c.theta, nullptr),
              c.line == nullptr ? surveyed_matrix_text : surveyed_matrix_text + theta_comment + c.line);
  }
}

struct pond_case {
  const char *name;
  std::vector<vec3> points;
  const char *lines;
};

const pond_case pond_cases[] = {
    {"none", {}, ""},
    {"one", {{1.0, -2.0, 0.0}}, "(   1.0,   -2.0),\n"},
    {"three",
     {{1.0, 2.0, 0.0}, {10.25, -0.06, 0.0}, {-100.5, 1000.0, 0.0}},
     "(   1.0,    2.0),  (  10.2,   -0.1),  (-100.5, 1000.0),\n"},
    {"four",
     {{1.0, 1.0, 0.0}, {2.0, 2.0, 0.0}, {3.0, 3.0, 0.0}, {4.0, 4.0, 0.0}},
     "(   1.0,    1.0),  (   2.0,    2.0),  (   3.0,    3.0),  (   4.0,    4.0),\n"},
    {"five",
     {{1.0, 1.0, 0.0}, {2.0, 2.0, 0.0}, {3.0, 3.0, 0.0}, {4.0, 4.0, 0.0}, {5.0, 5.0, 0.0}},
     "(   1.0,    1.0),  (   2.0,    2.0),  (   3.0,    3.0),  (   4.0,    4.0),\n"
     "(   5.0,    5.0),\n"},
    {"points with zeros that do not end the list",
     {{0.0, 0.0, 1.0}, {0.0, 1.0, 0.0}, {1.0, 0.0, 0.0}, {not_a_number, 0.0, 0.0}},
     "(   0.0,    0.0),  (   0.0,    1.0),  (   1.0,    0.0),  (   nan,    0.0),\n"},
};

TEST(course_file_write_test, writes_four_pond_points_a_line) {
  for (const pond_case &c : pond_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(written(0.0, &c.points), surveyed_matrix_text + pond_comment + c.lines);
  }
}

TEST(course_file_write_test, ends_the_pond_before_a_point_of_zeros) {
  for (const pond_case &c : pond_cases) {
    SCOPED_TRACE(c.name);
    std::vector<vec3> pond = c.points;
    pond.push_back({-0.0, 0.0, -0.0});
    pond.push_back({99.0, 99.0, 99.0});
    EXPECT_EQ(written(0.0, &pond), surveyed_matrix_text + pond_comment + c.lines);
  }
}

TEST(course_file_write_test, an_empty_pond_has_its_heading_and_an_absent_one_has_not) {
  const std::vector<vec3> none;
  EXPECT_EQ(written(0.0, &none), surveyed_matrix_text + pond_comment);
  EXPECT_EQ(written(0.0, nullptr), surveyed_matrix_text);
}

TEST(course_file_write_test, writes_theta_before_the_pond) {
  const std::vector<vec3> pond = {{1.0, 2.0, 3.0}};
  EXPECT_EQ(written(90.0, &pond),
            surveyed_matrix_text + theta_comment + "theta =  90.00000000\n" + pond_comment + "(   1.0,    2.0),\n");
}

// In the record it is in radians.
TEST(course_file_write_test, writes_theta_in_degrees) {
  course surveyed;
  surveyed.matrix = surveyed_matrix;
  surveyed.theta = -0.0872;  // -4.99619197354...: 30 digits, mpmath
  EXPECT_EQ(bytes_written_by([&](std::FILE *stream) { write_course(stream, surveyed); }),
            surveyed_matrix_text + theta_comment + "theta =  -4.99619197\n");
}

}  // namespace

}  // namespace tarvel
