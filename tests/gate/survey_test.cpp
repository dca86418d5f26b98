#include "gate/survey.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "geo/wgs84.h"
#include "support/allocation_limit.h"
#include "support/hand_made_walk.h"
#include "track/track_frames.h"

namespace tarvel {
namespace {

constexpr double pi = 3.141592653589793;

struct surveyed {
  gate walked;
  std::string log;
  bool has_log = false;
  std::string message;  // empty for success
};

surveyed survey(const std::vector<gps_point> &samples) {
  surveyed result;
  result.walked = gate_of(samples);
  result.walked.course.theta = 99.0;
  owned_text log;
  error_slot error = "not cleared";
  survey_gate(result.walked, &log, &error);
  result.has_log = log != nullptr;
  if (log) result.log = log.get();
  if (error != nullptr) result.message = error;
  return result;
}

// Jumps from mark to mark, so that the averages are the marks themselves.
hand_made_walk exact_walk(const walk_marks &marks = walk_marks()) {
  hand_made_walk walk;
  walk.speed = 1000.0;
  walk_course(walk, marks, 12.0);
  return walk;
}

std::string waypoint_lines(int count) {
  std::string lines;
  for (int i = 0; i < count; ++i) lines += "waypoint detected:  41 points,  8000ms interval, 0.00m deviation\n";
  return lines;
}

const std::string level_line = "average height: 420.00m (0.00m, 0.00m, 0.00m, 0.00m deviation)\n";

// Deviations that are slightly below 0 are printed with a minus sign.
std::string without_signed_zeros(std::string text) {
  for (std::size_t i = text.find("-0.00m"); i != std::string::npos; i = text.find("-0.00m")) text.erase(i, 1);
  for (std::size_t i = text.find("-0.0 "); i != std::string::npos; i = text.find("-0.0 ")) text.erase(i, 1);
  return text;
}

void expect_near(const vec3 &found, const vec3 &expected, double tolerance) {
  EXPECT_NEAR(found.x, expected.x, tolerance);
  EXPECT_NEAR(found.y, expected.y, tolerance);
  EXPECT_NEAR(found.z, expected.z, tolerance);
}

// Where the course's frame puts a place on the walker's plane. The plane bends with the earth: 70 m ahead it lies
// 70^2 / 2R = 0.4 mm lower, and meridians that converge turn it by less than 0.2 mm.
vec3 in_course(const surveyed &result, const vec3 &position) {
  return mat4_transform_point(result.walked.course.matrix, wgs84_to_ecef(wgs84_of(walk_place(), position)));
}

constexpr double bend = 2e-3;

TEST(survey_test, finds_the_frame_that_the_walk_was_laid_out_in) {
  const surveyed result = survey(exact_walk().samples);
  ASSERT_EQ(result.message, "");
  // The logger was carried a metre above the course.
  expect_near(in_course(result, {0.0, 0.0, 0.0}), {0.0, 0.0, 1.0}, bend);
  expect_near(in_course(result, {70.0, 0.0, 0.0}), {70.0, 0.0, 1.0}, bend);
  expect_near(in_course(result, {0.0, 5.0, -1.0}), {0.0, 5.0, 0.0}, bend);
  expect_near(in_course(result, {10.0, -30.0, 4.0}), {10.0, -30.0, 5.0}, bend);
  const mat4 &m = result.walked.course.matrix;
  EXPECT_EQ(m.m[3][0], 0.0);
  EXPECT_EQ(m.m[3][1], 0.0);
  EXPECT_EQ(m.m[3][2], 0.0);
  EXPECT_EQ(m.m[3][3], 1.0);
  EXPECT_NEAR(result.walked.course.theta, 0.0, 1e-4);
  EXPECT_EQ(without_signed_zeros(result.log), waypoint_lines(5) + level_line + "theta = 0.0 degrees\n");
}

TEST(survey_test, moves_the_origin_along_the_course_to_the_gate_line) {
  walk_marks marks;
  marks.b = {8.0, 9.0, 0.0};
  marks.d = {4.0, -3.0, 0.0};  // the gate line crosses the course at x = 5
  const surveyed result = survey(exact_walk(marks).samples);
  ASSERT_EQ(result.message, "");
  expect_near(in_course(result, {5.0, 0.0, 0.0}), {0.0, 0.0, 1.0}, bend);
  // B at (3, 9) in the frame: 18.4349 degrees.
  EXPECT_NEAR(result.walked.course.theta * 180.0 / pi, 18.4349, 0.02);
  EXPECT_NE(result.log.find("theta = 18.4 degrees\n"), std::string::npos);
}

TEST(survey_test, keeps_the_first_five_standstills_in_local_metres_as_they_were_found) {
  walk_marks marks;
  marks.start.z = 5.0;
  marks.b.z = 1.0;
  marks.c.z = -2.0;
  marks.d.z = 0.5;
  marks.a.z = 2.5;
  const surveyed result = survey(exact_walk(marks).samples);
  ASSERT_EQ(result.message, "");
  // The average is 0.5 above the plane, and the course lies 1 m below it: 0.5 m above the plane's -1.
  const vec3 expected[] = {marks.start, marks.b, marks.c, marks.d, marks.a};
  for (std::size_t i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    const vec3 &mark = expected[i];
    expect_near(result.walked.waypoints[i], {mark.x, mark.y, mark.z - 0.5 + 1.0}, bend);
  }
  EXPECT_NE(without_signed_zeros(result.log).find("420.50m (2.00m, 0.50m, -2.50m, 0.00m deviation)"), std::string::npos)
      << result.log;
}

TEST(survey_test, warns_of_a_clockwise_walk) {
  walk_marks marks;
  std::swap(marks.b, marks.d);
  const surveyed result = survey(exact_walk(marks).samples);
  ASSERT_EQ(result.message, "");
  EXPECT_NEAR(std::fabs(result.walked.course.theta), pi, 1e-4);
  EXPECT_LT(result.walked.waypoints[1].y, -4.9);
  expect_near(in_course(result, {70.0, 0.0, 0.0}), {70.0, 0.0, 1.0}, bend);
  expect_near(in_course(result, {0.0, 0.0, 5.0}), {0.0, 0.0, 6.0}, bend);
  const std::string log = without_signed_zeros(result.log);
  const std::string head = waypoint_lines(5) + level_line + "WARNING: clockwise pond walk detected\n";
  EXPECT_TRUE(log == head + "theta = 180.0 degrees\n" || log == head + "theta = -180.0 degrees\n") << log;
}

struct exit_mark_case {
  const char *name;
  vec3 mark;
  double theta;  // degrees
  const char *log;
};

// 65.108 m on a bearing of 52.5 degrees from the y-axis is where an exit mark belongs.
const exit_mark_case exit_mark_cases[] = {
    {"to the left", {51.654, 39.635, 0.0}, 0.0, "exit gate location error (before, after) = (0.0m, 0.0m)\n"},
    {"to the right", {51.654, -39.635, 0.0}, 0.0, "exit gate location error (before, after) = (0.0m, 0.0m)\n"},
    // atan2(50, 42) = 49.9697 degrees
    {"turned", {50.0, 42.0, 0.0}, -2.5303, "exit gate location error (before, after) = (2.9m, 0.2m)\n"},
    {"too far",
     {60.0, 50.0, 0.0},
     0.0,
     "exit gate location error (before, after) = (13.3m, 13.0m)\nWARNING: exit gate location ignored (error too "
     "large)\n"},
    {"behind", {-51.654, 39.635, 0.0}, 0.0, "WARNING: exit gate location ignored (behind entry gate)\n"},
};

TEST(survey_test, turns_to_the_exit_mark) {
  for (const exit_mark_case &c : exit_mark_cases) {
    SCOPED_TRACE(c.name);
    walk_marks marks;
    marks.exit_mark = {c.mark};
    const surveyed result = survey(exact_walk(marks).samples);
    ASSERT_EQ(result.message, "");
    EXPECT_NEAR(result.walked.course.theta * 180.0 / pi, c.theta, 0.005);
    char theta[40];
    std::snprintf(theta, sizeof theta, "theta = %.1f degrees\n", c.theta);
    std::string log = without_signed_zeros(result.log);
    if (const std::size_t sign = log.find("-0.0m"); sign != std::string::npos) log.erase(sign, 1);
    EXPECT_EQ(log, waypoint_lines(6) + level_line + c.log + theta);
  }
}

// A position of which one ECEF coordinate is exactly 0 is a mark as well.
TEST(survey_test, turns_to_an_exit_mark_on_the_equator) {
  walk_marks marks;
  marks.exit_mark = {{50.0, 42.0, 0.0}};
  hand_made_walk walk;
  walk.place.bearing = 0.0;
  walk.place.latitude = -50.0 / 110574.0;  // a degree of latitude is 110,574 m long at the equator
  walk.speed = 1000.0;
  walk_course(walk, marks, 12.0);
  for (gps_point &sample : std::span(walk.samples).last(61)) {
    EXPECT_NEAR(sample.pos_wgs84.x, 0.0, 1e-6);
    sample.pos_wgs84.x = 0.0;
  }
  EXPECT_NEAR(survey(walk.samples).walked.course.theta * 180.0 / pi, -2.53, 0.1);
}

struct failing_case {
  const char *name;
  walk_marks marks;
  const char *message;
  const char *last_words;  // of the log
};

const failing_case failing_cases[] = {
    {"a corner too high",
     {.b = {0.0, 5.0, 8.0}},
     "excessive error in waypoint height (6.00m)",
     "average height: 422.00m (-2.00m, 6.00m, -2.00m, -2.00m deviation)\n"},
    {"both gate marks on one side",
     {.b = {0.0, 20.0, 0.0}, .d = {0.0, 5.0, 0.0}},
     "AC and BD do not intersect",
     "deviation)\n"},
    {"the gate behind the course's end",
     {.b = {-28.0, 8.0, 0.0}, .d = {-28.0, -8.0, 0.0}},
     "AC and BD do not intersect",
     "deviation)\n"},
};

TEST(survey_test, reports_what_is_wrong_with_the_course_and_keeps_the_log) {
  for (const failing_case &c : failing_cases) {
    SCOPED_TRACE(c.name);
    const surveyed result = survey(exact_walk(c.marks).samples);
    EXPECT_EQ(result.message, c.message);
    const std::string log = without_signed_zeros(result.log);
    const std::string words = c.last_words;
    ASSERT_GE(log.size(), words.size());
    EXPECT_EQ(log.substr(log.size() - words.size()), words);
    EXPECT_EQ(log.substr(0, waypoint_lines(5).size()), waypoint_lines(5));
    EXPECT_EQ(result.walked.course.theta, 0.0);
  }
}

TEST(survey_test, has_no_log_when_nothing_was_found) {
  hand_made_walk walk;
  stand(walk, 3.0);
  const surveyed short_walk = survey(walk.samples);
  EXPECT_EQ(short_walk.message, "could not detect waypoint");
  EXPECT_FALSE(short_walk.has_log);
  EXPECT_EQ(survey({}).message, "no points found in track");
}

TEST(survey_test, keeps_the_log_of_a_walk_that_breaks_off) {
  hand_made_walk walk;
  stand(walk, 12.0);
  const surveyed result = survey(walk.samples);
  EXPECT_EQ(result.message, "could not detect motion");
  EXPECT_EQ(result.log, waypoint_lines(1));
}

TEST(survey_test, needs_no_one_to_take_the_log) {
  gate walked = gate_of(exact_walk().samples);
  error_slot error = nullptr;
  survey_gate(walked, nullptr, &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_NE(walked.course.matrix.m[0][0], 0.0);
}

TEST(survey_test, fails_when_memory_is_short) {
  gate walked = gate_of(exact_walk().samples);
  owned_text log;
  error_slot error = nullptr;
  {
    const allocation_limit limit(0);
    survey_gate(walked, &log, &error);
  }
  EXPECT_STREQ(error, "malloc() failed");
  EXPECT_EQ(log, nullptr);
  EXPECT_EQ(walked.course.matrix.m[3][3], 0.0);
  // The log's first block is large enough for a survey.
  const allocation_limit limit(1);
  survey_gate(walked, &log, &error);
  EXPECT_STREQ(error, nullptr);
}

// With such heights the lines are so long that the line of the exit mark is the first to need a second block.
TEST(survey_test, fails_when_there_is_no_memory_for_the_line_about_the_exit_mark) {
  walk_marks marks;
  marks.exit_mark = {{51.654, 39.635, 0.0}};
  std::vector<gps_point> samples = exact_walk(marks).samples;
  for (gps_point &sample : std::span(samples).first(61)) sample.pos_wgs84.z = 1.1e150;
  for (gps_point &sample : std::span(samples).last(61)) sample.pos_wgs84.z = 1.1e150;
  for (const std::size_t granted : {1U, 2U}) {
    SCOPED_TRACE(granted);
    gate walked = gate_of(samples);
    owned_text log;
    error_slot error = nullptr;
    const allocation_limit limit(granted);
    survey_gate(walked, &log, &error);
    const bool is_whole = granted == 2;
    EXPECT_STREQ(error, is_whole ? nullptr : "realloc failed");
    EXPECT_EQ(std::string(log.get()).find("exit gate location error") != std::string::npos, is_whole);
    EXPECT_EQ(walked.course.matrix.m[3][3], is_whole ? 1.0 : 0.0);
  }
}

// A position on the earth's axis is impossible, but counts as an exit mark. Only the earth's centre means that there is
// none.
TEST(survey_test, takes_a_position_on_the_axis_of_the_earth_for_an_exit_mark) {
  walk_marks marks;
  marks.exit_mark = {{51.654, 39.635, 0.0}};
  std::vector<gps_point> samples = exact_walk(marks).samples;
  for (const double latitude : {0.0, 30.0}) {
    SCOPED_TRACE(latitude);
    const double s = std::sin(pi * latitude / 180.0);
    const double radius = 6378137.0 / std::sqrt(1.0 - 0.0066943799901413165 * (s * s));
    const vec3 position = {latitude, 0.0, -radius};
    ASSERT_EQ(wgs84_to_ecef(position).x, 0.0);
    ASSERT_EQ(wgs84_to_ecef(position).y, 0.0);
    for (gps_point &sample : std::span(samples).last(61)) sample.pos_wgs84 = position;
    EXPECT_EQ(survey(samples).log.find("exit gate") != std::string::npos, latitude == 30.0);
  }
}

TEST(survey_test, takes_an_hour_of_walking_in_one_pass) {
  hand_made_walk walk;
  walk.rate = 25.0;
  walk_to(walk, {5400.0, 0.0, 0.0});
  gate walked = gate_of(walk.samples);
  error_slot error = nullptr;
  const std::clock_t begin = std::clock();
  survey_gate(walked, nullptr, &error);
  EXPECT_LT(static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC, 3.0);
  EXPECT_STREQ(error, "could not detect waypoint");
}

}  // namespace
}  // namespace tarvel
