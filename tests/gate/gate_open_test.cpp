#include "gate/gate_open.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "support/container_bytes.h"
#include "support/gate_of_bytes.h"
#include "support/hand_made_walk.h"
#include "support/pond_of.h"
#include "support/refusals.h"

namespace tarvel {
namespace {

constexpr const char *header = "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV\nunits\n";

struct opened {
  owned_record<gate> found;
  std::string log;
  bool has_log = false;
  std::string message;  // empty for success
};

opened open_course(const std::string &bytes) {
  opened result;
  owned_text log;
  error_slot error = "not cleared";
  result.found = gate_of_bytes(bytes, &log, &error);
  result.has_log = log != nullptr;
  if (log) result.log = log.get();
  if (error != nullptr) result.message = error;
  EXPECT_EQ(result.found == nullptr, error != nullptr);
  return result;
}

opened open_walk(const std::vector<gps_point> &samples) { return open_course(walk_text(samples)); }

mat4 some_frame() {
  mat4 frame;
  for (int i = 0; i < 16; ++i) frame.m[i / 4][i % 4] = 0.1 + i;
  return frame;
}

std::string course_bytes(const std::vector<vec3> &pond) {
  course finished = course_with(-0.75, pond);
  finished.matrix = some_frame();
  return gate_bytes(finished);
}

TEST(gate_open_test, surveys_a_walk_and_its_pond) {
  const hand_made_walk walk = course_walk();
  const opened result = open_walk(walk.samples);
  ASSERT_EQ(result.message, "");
  const gate &found = *result.found;
  EXPECT_STREQ(found.file.get(), "walk.csv");
  EXPECT_EQ(found.track_len, walk.samples.size());
  EXPECT_EQ(found.track[0].pos_wgs84.z, 420.0);
  EXPECT_EQ(std::count(result.log.begin(), result.log.end(), '\n'), 7);
  // Ways of 70, 21, 21 and 70 m, less 1.5 m near the mark at each end, in steps of 1.8 m, since five samples of 0.3 m
  // are less than 5 ft: 38 + 10 + 10 + 38, one more or less each, and the closing point.
  ASSERT_TRUE(found.course.pond);
  const std::span<const vec3> points = points_of(*found.course.pond);
  EXPECT_NEAR(static_cast<double>(points.size()), 97.0, 4.0);
  for (const vec3 &point : points) EXPECT_NEAR(point.z, 1.0, 0.01);
  ASSERT_FALSE(points.empty());
  EXPECT_EQ(points.front().x, points.back().x);
  EXPECT_EQ(points.front().y, points.back().y);
  // A mark on the way home: the centre line at 30 m.
  const auto nearest = std::min_element(points.begin(), points.end(), [](const vec3 &a, const vec3 &b) {
    const vec3 mark = {30.0, -2.0, 0.0};
    return distance_2d(a, mark) < distance_2d(b, mark);
  });
  EXPECT_LT(distance_2d(*nearest, {30.0, -2.0, 0.0}), 2.0);
}

TEST(gate_open_test, takes_a_finished_course_as_it_is) {
  const opened result = open_course(course_bytes({{1.5, 2.5, 0.0}, {-3.25, 4.0, 0.0}, {1.5, 2.5, 0.0}}));
  ASSERT_EQ(result.message, "");
  const gate &found = *result.found;
  EXPECT_STREQ(found.file.get(), "walk.csv");
  EXPECT_EQ(found.course.matrix, some_frame());
  EXPECT_EQ(found.course.theta, -0.75);
  ASSERT_TRUE(found.course.pond);
  const std::span<const vec3> points = points_of(*found.course.pond);
  ASSERT_EQ(points.size(), 3U);
  EXPECT_EQ(points[1].x, -3.25);
  EXPECT_EQ(points[1].y, 4.0);
  EXPECT_EQ(found.track, nullptr);
  EXPECT_EQ(found.track_len, 0U);
  for (const vec3 &waypoint : found.waypoints) EXPECT_EQ(vec3_length(waypoint), 0.0);
  EXPECT_FALSE(result.has_log);
}

TEST(gate_open_test, takes_a_finished_course_without_a_pond) {
  const opened result = open_course(course_bytes({}));
  ASSERT_EQ(result.message, "");
  // A container has a count of points: without a pond it is 0.
  ASSERT_TRUE(result.found->course.pond);
  EXPECT_EQ(result.found->course.pond->count, 0U);
}

struct failing_case {
  const char *name;
  std::string text;
  const char *message;
};

std::string text_of(const walk_marks &marks) { return walk_text(course_walk(marks).samples); }

// The walk's first samples up to a time in seconds.
std::string text_until(double seconds) {
  std::vector<gps_point> samples = course_walk().samples;
  std::erase_if(samples, [&](const gps_point &sample) { return static_cast<double>(sample.time) > 1000.0 * seconds; });
  return walk_text(samples);
}

std::string text_with_accuracy(float accuracy) {
  std::vector<gps_point> samples = course_walk().samples;
  for (gps_point &sample : samples) sample.hacc = sample.vacc = accuracy;
  return walk_text(samples);
}

TEST(gate_open_test, passes_on_what_is_wrong_with_the_walk) {
  // Within 50 ft of B at C: one gate mark is 11 m from the centre line's end.
  const walk_marks close = {.b = {0.0, 5.0, 0.0}, .c = {-10.0, 0.0, 0.0}, .d = {0.0, -5.0, 0.0}};
  const std::vector<failing_case> cases = {
      {"empty", "", "missing field names"},
      {"other names", "a,b,c\n", "invalid field names"},
      {"no units", "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV\n", "missing field units"},
      {"no samples", header, "no GPS points found"},
      {"a swoop's container", "uTVL", "invalid field names"},
      {"no fix", text_with_accuracy(3.0F), "could not find start of track"},
      {"ends at the start", text_until(7.8), "could not detect waypoint"},
      {"never leaves the start", text_until(12.0), "could not detect motion"},
      {"ends on the way to A", text_until(12.0 * 4.0 + 92.0), "could not detect waypoint"},
      {"a corner too high", text_of({.d = {0.0, -5.0, -6.0}}), "excessive error in waypoint height (4.50m)"},
      {"marks on one side", text_of({.b = {0.0, 20.0, 0.0}, .d = {0.0, 5.0, 0.0}}), "AC and BD do not intersect"},
      {"marks within 50 ft of each other", text_of(close), nullptr},
  };
  for (const failing_case &c : cases) {
    SCOPED_TRACE(c.name);
    const opened result = open_course(c.text);
    EXPECT_EQ(result.message, c.message == nullptr ? "" : c.message);
  }
}

TEST(gate_open_test, passes_on_the_loaders_warnings) {
  warning_buffer warnings;
  text_buffer &buffer = warnings;
  error_slot error = nullptr;
  EXPECT_EQ(gate_of_bytes("hello\n", nullptr, &error, &buffer), nullptr);
  EXPECT_STREQ(error, "invalid field names");
  EXPECT_EQ(warnings.text(), "WARNING: unknown field (hello)\n");
}

TEST(gate_open_test, fails_when_the_disk_does) {
  const std::string walk = walk_text(course_walk().samples);
  warning_buffer warnings;
  error_slot error = nullptr;
  EXPECT_EQ(gate_open(open_failing_bytes(walk, 1000).get(), "walk.csv", warnings, nullptr, &error), nullptr);
  EXPECT_STREQ(error, "failed to read track");
}

// Marks 10 to 15 m from each other: each is a standstill, but the walker never moves 50 ft away from one.
TEST(gate_open_test, fails_when_a_mark_is_never_left_by_50_ft) {
  const walk_marks marks = {.start = {0.0, -6.0, 0.0},
                            .b = {0.0, 6.0, 0.0},
                            .c = {-8.5, 0.0, 0.0},
                            .d = {0.0, -6.0, 0.0},
                            .a = {6.5, 2.0, 0.0}};
  const opened result = open_walk(course_walk(marks).samples);
  EXPECT_EQ(result.message, "no point 50' from waypoint");
  EXPECT_EQ(std::count(result.log.begin(), result.log.end(), '\n'), 7);
}

// A lies 13.4 m from D. From A the walker returns to D and only then leaves it by 50 ft: the last leg begins there, and
// never comes to A again.
TEST(gate_open_test, fails_when_the_last_leg_does_not_lead_to_its_mark) {
  const walk_marks marks = {.start = {0.0, 40.0, 0.0},
                            .b = {0.0, 6.0, 0.0},
                            .c = {-8.5, 0.0, 0.0},
                            .d = {0.0, -6.0, 0.0},
                            .a = {12.0, 0.0, 0.0}};
  hand_made_walk walk = course_walk(marks);
  walk_to(walk, marks.d);
  walk_to(walk, {0.0, -60.0, 0.0});
  EXPECT_EQ(open_walk(walk.samples).message, "no point near next waypoint");

  walk_to(walk, marks.a);
  add_sample(walk);
  EXPECT_EQ(open_walk(walk.samples).message, "");
}

TEST(gate_open_test, hands_out_the_log_of_a_walk_that_fails) {
  const opened result = open_course(text_until(12.0));
  EXPECT_EQ(result.message, "could not detect motion");
  EXPECT_EQ(result.log, "waypoint detected:  41 points,  8000ms interval, 0.00m deviation\n");
}

TEST(gate_open_test, needs_no_one_to_take_the_log) {
  error_slot error = nullptr;
  EXPECT_NE(gate_of_bytes(walk_text(sparse_walk().samples), nullptr, &error), nullptr);
  EXPECT_STREQ(error, nullptr);
}

// Each request for memory is refused in turn: there must be a message and no course.
std::vector<std::string> messages_when_memory_is_short(const std::string &bytes) {
  return messages_of_refusals([&](std::size_t granted) {
    owned_text log;
    error_slot error = nullptr;
    warning_buffer warnings;
    const file_handle stream = open_bytes(bytes);
    const allocation_limit limit(granted);
    const owned_record<gate> course = gate_open(stream.get(), "walk.csv", warnings, &log, &error);
    EXPECT_EQ(course == nullptr, error != nullptr);
    return error;
  });
}

TEST(gate_open_test, fails_when_memory_is_short) {
  EXPECT_EQ(
      messages_when_memory_is_short(walk_text(sparse_walk().samples)),
      (std::vector<std::string>{"failed to allocate memory for gate", "strdup() failed",
                                "failed to malloc file.block_ptr", "invalid field names",
                                "failed to realloc gps_points", "malloc() failed", "failed to realloc pond array"}));
}

TEST(gate_open_test, fails_when_memory_is_short_for_a_container) {
  EXPECT_EQ(messages_when_memory_is_short(course_bytes({{1.5, 2.5, 0.0}})),
            (std::vector<std::string>{"failed to allocate memory for gate", "strdup() failed", "malloc() failed"}));
}

}  // namespace
}  // namespace tarvel
