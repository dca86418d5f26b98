// The memory of a pond's outline: 512 points at first, then twice as many, and always enough for the closing point.
#include <gtest/gtest.h>

#include <ctime>
#include <span>
#include <vector>

#include "gate/pond.h"
#include "support/hand_made_walk.h"
#include "support/refusals.h"

namespace tarvel {
namespace {

// So many points on the first leg, 2 m apart along y; the other legs are walked in one step.
gate walk_with_points(std::size_t count) {
  hand_made_walk walk;
  walk.at = {0.0, 0.0, 0.0};
  add_sample(walk);
  for (std::size_t i = 0; i < count; ++i) {
    jump_to(walk, {50.0, 2.0 * static_cast<double>(i), 0.0});
    add_sample(walk);
  }
  for (const double x : {100.0, 200.0, 300.0, 400.0}) {
    jump_to(walk, {x, 0.0, 0.0});
    add_sample(walk);
  }
  gate walked = gate_of(walk.samples);
  walked.course.matrix = {{{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}};
  for (std::size_t i = 0; i < 5; ++i) walked.waypoints[i] = {100.0 * static_cast<double>(i), 0.0, 0.0};
  return walked;
}

TEST(pond_storage_test, closes_an_outline_of_any_length) {
  for (const std::size_t count : {1U, 2U, 509U, 510U, 511U, 512U, 513U, 1021U, 1022U, 1023U, 1024U, 1025U, 3000U}) {
    SCOPED_TRACE(count);
    gate walked = walk_with_points(count);
    error_slot error = nullptr;
    survey_pond(walked, &error);
    ASSERT_STREQ(error, nullptr);
    ASSERT_TRUE(walked.course.pond);
    const std::span<const vec3> points = points_of(*walked.course.pond);
    ASSERT_EQ(points.size(), count + 1);
    EXPECT_EQ(points[count - 1].y, 2.0 * static_cast<double>(count - 1));
    EXPECT_EQ(points[count].x, 50.0);
    EXPECT_EQ(points[count].y, 0.0);
  }
}

TEST(pond_storage_test, fails_when_memory_is_short) {
  const auto attempt = [](std::size_t granted) {
    gate walked = walk_with_points(1500);
    const allocation_limit limit(granted);
    error_slot error = nullptr;
    survey_pond(walked, &error);
    EXPECT_EQ(walked.course.pond.has_value(), error == nullptr);
    return error;
  };
  EXPECT_EQ(messages_of_refusals(attempt), std::vector<std::string>{"failed to realloc pond array"});
}

// The first allocation holds 512 points: the 513th of a walk, or the closing point after the 512th, needs a second one.
TEST(pond_storage_test, fails_when_there_is_no_memory_for_the_closing_point) {
  for (const std::size_t count : {511U, 512U, 513U}) {
    SCOPED_TRACE(count);
    gate walked = walk_with_points(count);
    const allocation_limit limit(1);
    error_slot error = nullptr;
    survey_pond(walked, &error);
    EXPECT_STREQ(error, count == 511 ? nullptr : "failed to realloc pond array");
    EXPECT_EQ(walked.course.pond.has_value(), count == 511);
  }
}

// A search that began at the first sample on every leg would take minutes.
TEST(pond_storage_test, surveys_an_hour_in_one_pass) {
  for (const double step : {2.0, 0.0}) {
    SCOPED_TRACE(step);
    gate walked = walk_with_points(90000);
    for (std::size_t i = 0; i < 90000; ++i) walked.track[i + 1].pos_ecef.y *= step / 2.0;
    const std::clock_t begin = std::clock();
    error_slot error = nullptr;
    survey_pond(walked, &error);
    EXPECT_LT(static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC, 2.0);
    EXPECT_STREQ(error, nullptr);
    ASSERT_TRUE(walked.course.pond);
    EXPECT_EQ(points_of(*walked.course.pond).size(), step == 0.0 ? 2U : 90001U);
  }
}

}  // namespace
}  // namespace tarvel
