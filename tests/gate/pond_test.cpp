// The walk between the marks, in a frame that is ECEF itself: a sample's position is its local position.
#include "gate/pond.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "support/hand_made_run.h"
#include "support/hand_made_walk.h"

namespace tarvel {
namespace {

// Far apart on the x-axis, 100 m each.
const std::array<vec3, 5> marks = {
    vec3{0.0, 0.0, 0.0}, {100.0, 0.0, 0.0}, {200.0, 0.0, 0.0}, {300.0, 0.0, 0.0}, {400.0, 0.0, 0.0}};

gate walk_over(const std::vector<vec3> &walk) {
  hand_made_walk walker;
  for (const vec3 &position : walk) {
    jump_to(walker, position);
    add_sample(walker);
  }
  gate walked = gate_of(walker.samples);
  walked.course.matrix = {{{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}};
  walked.waypoints = marks;
  return walked;
}

struct surveyed {
  std::vector<double> xs;  // of the outline without its closing point
  std::vector<vec3> points;
  error_slot error = nullptr;
};

surveyed survey_over(const std::vector<vec3> &walk) {
  gate walked = walk_over(walk);
  surveyed result;
  result.error = "not cleared";
  survey_pond(walked, &result.error);
  if (!walked.course.pond) return result;
  const std::span<const vec3> points = points_of(*walked.course.pond);
  result.points.assign(points.begin(), points.end());
  for (std::size_t i = 0; i + 1 < points.size(); ++i) result.xs.push_back(points[i].x);
  return result;
}

std::vector<vec3> on_the_axis(const std::vector<double> &xs) {
  std::vector<vec3> walk;
  for (const double x : xs) walk.push_back({x, 0.0, 0.0});
  return walk;
}

// A first leg, and three that are walked from mark to mark in one step: nothing is stored on them.
std::vector<vec3> first_leg(const std::vector<double> &xs) {
  std::vector<vec3> walk = on_the_axis(xs);
  for (const double x : {100.0, 200.0, 300.0, 400.0}) walk.push_back({x, 0.0, 0.0});
  return walk;
}

const double near = from_feet(5.0);
const double nearer = from_feet_below(5.0);
const double away = from_feet(50.0);
const double less_away = from_feet_below(50.0);

struct leg_case {
  const char *name;
  std::vector<double> walk;
  std::vector<double> stored;
};

const leg_case leg_cases[] = {
    {"the first sample of the leg, then every 5 ft", {0.0, 2.0, 3.0, 4.0, 50.0}, {2.0, 4.0, 50.0}},
    {"exactly 5 ft apart is enough", {0.0, 20.0, 20.0 + 2.0, 30.0}, {20.0, 22.0, 30.0}},
    {"a sample less than 5 ft from the last one stored", {0.0, 20.0, 21.5, 21.6, 23.0, 23.2}, {20.0, 21.6, 23.2}},
    {"exactly 5 ft from the mark has left it", {0.0, near, 50.0}, {near, 50.0}},
    {"hardly less has not", {0.0, nearer, 50.0}, {50.0}},
    {"exactly 50 ft is away", {0.0, away, 1.0, 99.0}, {away, 1.0}},  // otherwise the leg would begin after 1.0
    {"hardly less than 50 ft is not", {0.0, less_away, 1.0, 50.0}, {50.0}},
    {"from the last sample near the mark on", {0.0, 10.0, 1.0, 10.0, 0.5, 3.0, 50.0}, {3.0, 50.0}},
    {"what lies before the mark is not the perimeter", {-80.0, 50.0, -90.0, 0.0, 5.0, 50.0}, {5.0, 50.0}},
    {"less than 5 ft from the next mark is the arrival", {0.0, 50.0, 98.48}, {50.0}},
    {"nearing the old mark later on", {0.0, 50.0, 1.0, 60.0}, {50.0, 1.0, 60.0}},
    {"past the next mark and back", {0.0, 90.0, 110.0, 99.0}, {90.0, 110.0}},
    {"nothing on the way", {0.0}, {}},
    {"not a number on the way is passed over", {0.0, 20.0, not_a_number, 30.0}, {20.0, 30.0}},
    {"not a number near the mark is passed over", {0.0, not_a_number, 0.5, 50.0}, {50.0}},
};

TEST(pond_test, stores_the_way_from_mark_to_mark) {
  for (const leg_case &c : leg_cases) {
    SCOPED_TRACE(c.name);
    const surveyed result = survey_over(first_leg(c.walk));
    EXPECT_STREQ(result.error, nullptr);
    ASSERT_EQ(result.xs.size(), c.stored.size());
    for (std::size_t i = 0; i < c.stored.size(); ++i) EXPECT_DOUBLE_EQ(result.xs[i], c.stored[i]);
  }
}

// From the point stored last at 0 the distances are exact: 20 m lie off the first mark along y.
TEST(pond_test, spaces_its_points_by_exactly_5_ft) {
  for (const double y : {near, nearer, from_feet_above(5.0)}) {
    SCOPED_TRACE(y);
    std::vector<vec3> walk = {{0.0, 0.0, 0.0}, {50.0, 0.0, 0.0}, {50.0, y, 0.0}};
    for (const double x : {100.0, 200.0, 300.0, 400.0}) walk.push_back({x, 0.0, 0.0});
    EXPECT_EQ(survey_over(walk).xs.size(), y < near ? 1U : 2U);
  }
}

TEST(pond_test, arrives_less_than_5_ft_from_the_mark) {
  for (const double y : {near, nearer, from_feet_above(5.0)}) {
    SCOPED_TRACE(y);
    // Then on to the second mark, which is an arrival there only after one at the first.
    const surveyed result = survey_over(
        {{0.0, 0.0, 0.0}, {50.0, 0.0, 0.0}, {100.0, y, 0.0}, {200.0, 0.0, 0.0}, {300.0, 0.0, 0.0}, {400.0, 0.0, 0.0}});
    EXPECT_STREQ(result.error, y < near ? nullptr : "no point near next waypoint");
  }
}

struct failing_case {
  const char *name;
  std::vector<vec3> walk;
  const char *message;
};

const failing_case failing_cases[] = {
    {"no sample", {}, "no point 50' from waypoint"},
    {"never near the first mark", on_the_axis({20.0, 100.0, 200.0, 300.0, 400.0}), "no point 50' from waypoint"},
    {"exactly 5 ft from the first mark", on_the_axis({near, 100.0, 200.0, 300.0, 400.0}), "no point 50' from waypoint"},
    {"never away from the first mark", on_the_axis({0.0, 1.0, 15.0, 1.0}), "no point 50' from waypoint"},
    {"hardly away from it", on_the_axis({0.0, less_away}), "no point 50' from waypoint"},
    {"away only before being near", on_the_axis({100.0, 0.0, 1.0}), "no point 50' from waypoint"},
    {"away at the last sample, and nowhere near the next mark", on_the_axis({0.0, away}),
     "no point near next waypoint"},
    {"ends before the last mark", on_the_axis({0.0, 100.0, 200.0, 300.0, 398.0}), "no point near next waypoint"},
    {"passes by the third mark", on_the_axis({0.0, 100.0, 200.0, 298.0, 400.0}), "no point near next waypoint"},
    {"stays at the third mark", on_the_axis({0.0, 100.0, 200.0, 300.0, 310.0}), "no point 50' from waypoint"},
    {"nothing but samples that are not numbers", on_the_axis({not_a_number, not_a_number, not_a_number}),
     "no point 50' from waypoint"},
};

TEST(pond_test, reports_which_leg_was_not_walked) {
  for (const failing_case &c : failing_cases) {
    SCOPED_TRACE(c.name);
    const surveyed result = survey_over(c.walk);
    EXPECT_STREQ(result.error, c.message);
    EXPECT_TRUE(result.points.empty());
  }
}

TEST(pond_test, counts_the_last_sample_as_an_arrival) {
  const surveyed result = survey_over(on_the_axis({0.0, 50.0, 100.0, 200.0, 300.0, 399.0}));
  EXPECT_STREQ(result.error, nullptr);
  EXPECT_EQ(result.xs, std::vector<double>{50.0});
}

TEST(pond_test, measures_in_plan_and_keeps_heights) {
  const surveyed result = survey_over({{0.0, 0.0, 70.0},
                                       {5.0, 0.0, 30.0},
                                       {5.5, 0.0, 90.0},
                                       {50.0, 0.0, -3.0},
                                       {100.0, 0.0, 40.0},
                                       {200.0, 0.0, -40.0},
                                       {300.0, 0.0, 40.0},
                                       {400.0, 0.0, 40.0}});
  EXPECT_STREQ(result.error, nullptr);
  ASSERT_EQ(result.points.size(), 3U);
  EXPECT_EQ(result.points[0].z, 30.0);
  EXPECT_EQ(result.points[1].x, 50.0);
  EXPECT_EQ(result.points[1].z, -3.0);
}

// The first point after a mark is stored however near the last one before it is.
TEST(pond_test, begins_its_spacing_anew_on_each_leg) {
  const surveyed result =
      survey_over(on_the_axis({0.0, 98.3, 99.0, 98.2, 97.0, 96.0, 50.0, 200.0, 300.0, 301.6, 400.0}));
  EXPECT_STREQ(result.error, nullptr);
  // 97.0 lies 1.2 m from 98.2.
  EXPECT_EQ(result.xs, (std::vector<double>{98.3, 98.2, 96.0, 50.0, 301.6}));
}

TEST(pond_test, begins_each_leg_at_the_arrival_of_the_one_before) {
  // The third mark is passed, and left by 50 ft, on the way to the second.
  const surveyed result =
      survey_over(on_the_axis({0.0, 50.0, 200.0, 150.0, 100.0, 160.0, 200.0, 250.0, 300.0, 350.0, 400.0}));
  EXPECT_STREQ(result.error, nullptr);
  EXPECT_EQ(result.xs, (std::vector<double>{50.0, 200.0, 150.0, 160.0, 250.0, 350.0}));
}

// The search for a leg begins at the arrival; the leg begins with the first sample after the last one near the mark.
TEST(pond_test, leaves_out_the_standstills) {
  const surveyed result = survey_over(
      on_the_axis({0.0, 0.2, 50.0, 99.0, 100.0, 103.0, 101.0, 120.0, 200.0, 203.0, 198.9, 250.0, 299.0, 301.0, 399.0}));
  EXPECT_STREQ(result.error, nullptr);
  EXPECT_EQ(result.xs, (std::vector<double>{50.0, 120.0, 250.0}));
}

TEST(pond_test, closes_the_perimeter_with_its_first_point) {
  const surveyed result = survey_over(first_leg({0.0, 20.0, 50.0, 80.0}));
  ASSERT_EQ(result.points.size(), 4U);
  EXPECT_EQ(result.points[3].x, 20.0);
  EXPECT_EQ(result.points[3].y, 0.0);
}

TEST(pond_test, has_no_pond_when_nothing_was_walked) {
  gate walked = walk_over(first_leg({0.0}));
  error_slot error = nullptr;
  survey_pond(walked, &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_FALSE(walked.course.pond);
}

TEST(pond_test, takes_a_point_at_the_origin_for_what_it_is) {
  gate walked = walk_over(on_the_axis({-100.0, -50.0, 0.0, 10.0, 100.0, 200.0, 300.0, 400.0}));
  walked.waypoints[0] = {-100.0, 0.0, 0.0};
  error_slot error = nullptr;
  survey_pond(walked, &error);
  EXPECT_STREQ(error, nullptr);
  ASSERT_TRUE(walked.course.pond);
  const std::span<const vec3> points = points_of(*walked.course.pond);
  ASSERT_EQ(points.size(), 4U);
  EXPECT_EQ(points[0].x, -50.0);
  EXPECT_EQ(points[1].x, 0.0);
  EXPECT_EQ(points[2].x, 10.0);
  EXPECT_EQ(points[3].x, -50.0);
}

TEST(pond_test, moves_the_walk_into_the_course_frame) {
  gate walked = walk_over(first_leg({0.0, 50.0}));
  for (gps_point &sample : samples_of(walked)) sample.pos_ecef.x += 7.0;
  walked.course.matrix.m[0][3] = -7.0;
  walked.course.matrix.m[2][3] = 3.0;
  error_slot error = nullptr;
  survey_pond(walked, &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_EQ(walked.track[1].pos_local.x, 50.0);
  EXPECT_EQ(walked.track[1].pos_local.z, 3.0);
  ASSERT_TRUE(walked.course.pond);
  EXPECT_EQ(walked.course.pond->points[0].x, 50.0);
  EXPECT_EQ(walked.course.pond->points[0].z, 3.0);
}

}  // namespace
}  // namespace tarvel
