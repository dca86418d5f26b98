#include "gate/waypoints.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

#include "support/hand_made_walk.h"

namespace tarvel {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct found_waypoints {
  waypoint_list list = {vec3{9.0, 9.0, 9.0}, {9.0, 9.0, 9.0}, {9.0, 9.0, 9.0},
                        {9.0, 9.0, 9.0},     {9.0, 9.0, 9.0}, {9.0, 9.0, 9.0}};
  std::string log;
  error_slot error = nullptr;
};

found_waypoints find_in(const std::vector<gps_point> &samples) {
  found_waypoints found;
  text_buffer log = text_buffer_create(&found.error);
  find_waypoints(samples, found.list, log);
  found.log = log.data.get();
  return found;
}

std::size_t lines_of(const std::string &text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

std::vector<gps_point> at_positions(const std::vector<vec3> &positions) {
  hand_made_walk walk;
  for (const vec3 &position : positions) {
    jump_to(walk, position);
    add_sample(walk);
  }
  return walk.samples;
}

struct motion_case {
  const char *name;
  std::vector<vec3> positions;
  std::size_t start;
  std::size_t next;  // 99: none
};

const motion_case motion_cases[] = {
    {"10 m are motion", {{0.0, 0.0, 0.0}, {9.0, 0.0, 0.0}, {10.0, 0.0, 0.0}, {20.0, 0.0, 0.0}}, 0, 2},
    {"hardly less is none", {{0.0, 0.0, 0.0}, {std::nextafter(10.0, 0.0), 0.0, 0.0}}, 0, 99},
    {"more is motion", {{0.0, 0.0, 0.0}, {std::nextafter(10.0, 11.0), 0.0, 0.0}}, 0, 1},
    {"in all three directions", {{0.0, 0.0, 0.0}, {2.0, 4.0, 4.0}, {6.0, 0.0, -8.0}}, 0, 2},
    {"from the start, not from sample to sample",
     {{0.0, 0.0, 0.0}, {4.0, 0.0, 0.0}, {8.0, 0.0, 0.0}, {11.0, 0.0, 0.0}},
     0,
     3},
    {"a long way back and forth within 10 m", {{0.0, 0.0, 0.0}, {9.0, 0.0, 0.0}, {-9.0, 0.0, 0.0}}, 0, 99},
    {"only behind the start", {{50.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {9.0, 0.0, 0.0}, {10.0, 0.0, 0.0}}, 1, 3},
    {"not a number does not stop the scan", {{0.0, 0.0, 0.0}, {nan, 0.0, 0.0}, {12.0, 0.0, 0.0}}, 0, 2},
    {"from a start that is not a number", {{nan, 0.0, 0.0}, {50.0, 0.0, 0.0}, {90.0, 0.0, 0.0}}, 0, 99},
    {"from the last sample", {{0.0, 0.0, 0.0}, {50.0, 0.0, 0.0}}, 1, 99},
};

TEST(waypoints_test, detects_motion_of_10_m) {
  for (const motion_case &c : motion_cases) {
    SCOPED_TRACE(c.name);
    error_slot error = nullptr;
    text_buffer log = text_buffer_create(&error);
    std::size_t next = 99;
    detect_motion(at_positions(c.positions), c.start, next, log);
    EXPECT_EQ(next, c.next);
    EXPECT_STREQ(error, c.next == 99 ? "could not detect motion" : nullptr);
    EXPECT_EQ(log.length, 0U);
  }
}

struct accuracy_case {
  const char *name;
  float hacc;
  float vacc;
  bool starts;
};

constexpr float not_a_number = std::numeric_limits<float>::quiet_NaN();
const float below_3 = std::nextafterf(3.0F, 0.0F);

const accuracy_case accuracy_cases[] = {
    {"both at the limit", 3.0F, 3.0F, false},
    {"both beyond", 3.1F, 250.0F, false},
    {"horizontal just below", below_3, 3.0F, true},
    {"vertical just below", 3.0F, below_3, true},
    {"both fine", 0.5F, 0.8F, true},
    {"one fine, one hopeless", 999.0F, 2.9F, true},
    {"not a number", not_a_number, not_a_number, false},
    {"not a number, and fine", not_a_number, 1.0F, true},
};

TEST(waypoints_test, starts_where_either_accuracy_is_below_3_m) {
  for (const accuracy_case &c : accuracy_cases) {
    SCOPED_TRACE(c.name);
    std::vector<gps_point> samples = course_walk().samples;
    for (gps_point &sample : samples) {
      sample.hacc = c.hacc;
      sample.vacc = c.vacc;
    }
    const found_waypoints found = find_in(samples);
    EXPECT_STREQ(found.error, c.starts ? nullptr : "could not find start of track");
    EXPECT_EQ(lines_of(found.log), c.starts ? 5U : 0U);
  }
}

// Of a standstill of 12 s, the last 8.2 s have a fix that is good enough: from 3800 ms on. 2 s less at both ends leaves
// those of 5800 to 10000 ms.
TEST(waypoints_test, passes_over_the_samples_before_the_fix) {
  hand_made_walk walk;
  walk.speed = 100.0;
  walk_course(walk, walk_marks(), 12.0);
  for (std::size_t i = 0; i < 19; ++i) {
    walk.samples[i].hacc = 3.0F;
    walk.samples[i].vacc = 88.0F;
  }
  walk.samples[25].hacc = 50.0F;  // a worse fix later on does not matter
  walk.samples[25].vacc = 50.0F;
  const found_waypoints found = find_in(walk.samples);
  EXPECT_STREQ(found.error, nullptr);
  EXPECT_EQ(found.log.substr(0, found.log.find('\n')),
            "waypoint detected:  22 points,  4200ms interval, 0.00m deviation");
}

TEST(waypoints_test, needs_samples) {
  const found_waypoints found = find_in({});
  EXPECT_STREQ(found.error, "no points found in track");
  EXPECT_EQ(found.log, "");
  for (const vec3 &waypoint : found.list) EXPECT_EQ(waypoint.x, 0.0);
}

void expect_at(const vec3 &waypoint, const vec3 &mark) {
  // Standing from the last step before the mark to the first one after it moves the average by a few centimetres.
  EXPECT_NEAR(waypoint.x, mark.x, 0.1);
  EXPECT_NEAR(waypoint.y, mark.y, 0.1);
  EXPECT_NEAR(waypoint.z, mark.z, 0.1);
}

TEST(waypoints_test, finds_the_marks_in_the_order_of_the_walk) {
  walk_marks marks;
  marks.exit_mark = {{51.65, 39.64, 0.0}};
  const found_waypoints found = find_in(course_walk(marks).samples);
  EXPECT_STREQ(found.error, nullptr);
  EXPECT_EQ(lines_of(found.log), 6U);
  expect_at(found.list[0], marks.start);
  expect_at(found.list[1], marks.b);
  expect_at(found.list[2], marks.c);
  expect_at(found.list[3], marks.d);
  expect_at(found.list[4], marks.a);
  expect_at(found.list[5], marks.exit_mark[0]);
}

struct end_case {
  const char *name;
  double last_standstill;  // seconds at the fifth mark, where the walk may end
  std::vector<vec3> rest;  // places of 12 s each behind it
  double exit_x;           // 0: no exit mark
};

const end_case end_cases[] = {
    {"the track ends during the fifth standstill", 8.0, {}, 0.0},
    {"wandering about within 10 m of the last mark", 12.0, {{76.0, 0.0, 0.0}, {64.0, 0.0, 0.0}}, 0.0},
    {"any later standstill more than 10 m away", 12.0, {{76.0, 0.0, 0.0}, {58.0, 0.0, 0.0}}, 58.0},
};

TEST(waypoints_test, takes_the_sixth_standstill_when_there_is_one) {
  for (const end_case &c : end_cases) {
    SCOPED_TRACE(c.name);
    walk_marks marks;
    hand_made_walk walk;
    walk.speed = 1000.0;  // jumps: nothing on the way could be a standstill
    marks.exit_mark.clear();
    walk_course(walk, marks, 12.0);
    walk.samples.resize(walk.samples.size() - 61);
    walk.time = walk.samples.back().time + 200;
    stand(walk, c.last_standstill);
    for (const vec3 &place : c.rest) {
      jump_to(walk, place);
      stand(walk, 12.0);
    }
    const found_waypoints found = find_in(walk.samples);
    EXPECT_STREQ(found.error, nullptr);
    EXPECT_EQ(found.list[4].x, 70.0);
    EXPECT_DOUBLE_EQ(found.list[5].x, c.exit_x);
    EXPECT_EQ(lines_of(found.log), c.exit_x == 0.0 ? 5U : 6U);
  }
}

TEST(waypoints_test, does_without_an_exit_mark_that_was_passed_too_quickly) {
  for (const double seconds : {0.0, 7.8, 8.0}) {
    SCOPED_TRACE(seconds);
    hand_made_walk walk;
    walk.speed = 1000.0;
    walk_course(walk, walk_marks(), 12.0);
    jump_to(walk, {50.0, 40.0, 0.0});
    stand(walk, seconds);
    const found_waypoints found = find_in(walk.samples);
    EXPECT_STREQ(found.error, nullptr);
    EXPECT_EQ(found.list[5].y, seconds == 8.0 ? 40.0 : 0.0);
  }
}

TEST(waypoints_test, does_without_an_exit_mark_of_too_few_samples) {
  hand_made_walk walk;
  walk.speed = 1000.0;
  walk_course(walk, walk_marks(), 12.0);
  jump_to(walk, {50.0, 40.0, 0.0});
  walk.rate = 0.125;
  stand(walk, 8.0);
  const found_waypoints found = find_in(walk.samples);
  EXPECT_STREQ(found.error, nullptr);
  EXPECT_EQ(found.list[5].x, 0.0);
  EXPECT_EQ(found.list[5].y, 0.0);
  EXPECT_EQ(lines_of(found.log), 5U);
}

// A walk with one mark too few, cut at each standstill and on each way: the search ends with the step that fails, and
// keeps what it has logged.
TEST(waypoints_test, fails_up_to_the_fifth_mark) {
  hand_made_walk walk;
  walk.speed = 10.0;
  const walk_marks marks;
  walk.at = marks.start;
  std::size_t found_so_far = 0;
  for (const vec3 &mark : {marks.start, marks.b, marks.c, marks.d}) {
    SCOPED_TRACE(found_so_far);
    walk_to(walk, mark);
    add_sample(walk);
    add_sample(walk);
    found_waypoints found = find_in(walk.samples);
    EXPECT_STREQ(found.error, "could not detect waypoint");
    EXPECT_EQ(lines_of(found.log), found_so_far);

    stand(walk, 12.0);
    ++found_so_far;
    found = find_in(walk.samples);
    EXPECT_STREQ(found.error, "could not detect motion");
    EXPECT_EQ(lines_of(found.log), found_so_far);
  }
}

TEST(waypoints_test, passes_on_that_a_mark_has_too_few_samples) {
  for (std::size_t mark = 0; mark < 5; ++mark) {
    SCOPED_TRACE(mark);
    hand_made_walk walk;
    for (std::size_t i = 0; i < 5; ++i) {
      walk.rate = i == mark ? 0.125 : 1.0;
      jump_to(walk, {20.0 * static_cast<double>(i), 0.0, 0.0});
      stand(walk, 8.0);
    }
    const found_waypoints found = find_in(walk.samples);
    EXPECT_STREQ(found.error, "not enough points for waypoint");
    EXPECT_EQ(lines_of(found.log), mark);
  }
}

// A search from every sample on would take minutes; one pass takes some hundredths of a second.
void expect_linear(const std::vector<gps_point> &samples, error_slot message) {
  const std::clock_t begin = std::clock();
  const found_waypoints found = find_in(samples);
  EXPECT_LT(static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC, 2.0);
  EXPECT_STREQ(found.error, message);
}

constexpr std::size_t samples_of_an_hour = 25 * 3600;

TEST(waypoints_test, takes_an_hour_without_a_standstill_in_one_pass) {
  hand_made_walk walk;
  walk.rate = 25.0;
  walk_to(walk, {5400.0, 0.0, 0.0});
  ASSERT_GE(walk.samples.size() + 2, samples_of_an_hour);
  expect_linear(walk.samples, "could not detect waypoint");
}

TEST(waypoints_test, takes_hostile_clocks_and_drags_in_one_pass) {
  hand_made_walk walk;
  walk.rate = 25.0;
  for (std::size_t i = 0; i < samples_of_an_hour; ++i) add_sample(walk);

  // Half of the samples within reach of one anchor, all at one time; then each step drags the anchor by one sample.
  std::vector<gps_point> samples = walk.samples;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const std::size_t half = samples.size() / 2;
    samples[i].time = 0;
    samples[i].pos_ecef.x = 1.9 * static_cast<double>(i) / static_cast<double>(half);
  }
  {
    SCOPED_TRACE("a clock that stands still");
    expect_linear(samples, "could not detect waypoint");
  }
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i].pos_ecef.x = i % 2 == 0 ? 0.0 : 2.0;
  {
    SCOPED_TRACE("to and fro, in no time");
    expect_linear(samples, "could not detect waypoint");
  }
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i].time = static_cast<std::int64_t>(i) * 9000;
  {
    SCOPED_TRACE("to and fro, a long time each");
    expect_linear(samples, "could not detect waypoint");
  }
  {
    SCOPED_TRACE("one standstill of an hour");
    expect_linear(walk.samples, "could not detect motion");
  }
}

}  // namespace
}  // namespace tarvel
