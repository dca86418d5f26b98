// The pond's list: it grows in blocks of 512, and its closing point and terminator always find room.
#include <gtest/gtest.h>

#include <ctime>
#include <span>
#include <vector>

#include "container/tvl_file.h"
#include "gate/pond.h"
#include "support/allocation_limit.h"
#include "support/hand_made_walk.h"

namespace tarvel {
namespace {

// So many points on the first leg, 2 m apart along y; the other legs are walked in one step.
gate course_with_points(std::size_t count) {
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
  gate course = gate_of(walk.samples);
  course.matrix = {{{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}};
  for (std::size_t i = 0; i < 5; ++i) course.waypoints[i] = {100.0 * static_cast<double>(i), 0.0, 0.0};
  return course;
}

TEST(pond_storage_test, closes_and_ends_a_list_of_any_length) {
  for (const std::size_t count : {1U, 2U, 509U, 510U, 511U, 512U, 513U, 1021U, 1022U, 1023U, 1024U, 1025U, 3000U}) {
    SCOPED_TRACE(count);
    gate course = course_with_points(count);
    error_slot error = nullptr;
    survey_pond(course, &error);
    ASSERT_STREQ(error, nullptr);
    const std::span<const vec3> points = pond_points(course.pond.get());
    ASSERT_EQ(points.size(), count + 1);
    EXPECT_EQ(points[count - 1].y, 2.0 * static_cast<double>(count - 1));
    EXPECT_EQ(points[count].x, 50.0);
    EXPECT_EQ(points[count].y, 0.0);
  }
}

TEST(pond_storage_test, says_when_memory_is_short) {
  std::size_t granted = 0;
  for (;; ++granted) {
    SCOPED_TRACE(granted);
    gate course = course_with_points(1500);
    const allocation_limit limit(granted);
    error_slot error = nullptr;
    survey_pond(course, &error);
    if (error == nullptr) break;
    EXPECT_STREQ(error, "failed to realloc pond array");
    EXPECT_EQ(course.pond, nullptr);
  }
  // 512, 1024 and 2048 points.
  EXPECT_EQ(granted, 3U);
}

// 512 points find room at once. Each that is stored leaves room for one more: for the 511th of a walk, or its closing
// point, or its terminator, there must be another block.
TEST(pond_storage_test, says_when_no_memory_is_left_for_the_end_of_the_list) {
  for (const std::size_t count : {509U, 510U, 511U}) {
    SCOPED_TRACE(count);
    gate course = course_with_points(count);
    const allocation_limit limit(1);
    error_slot error = nullptr;
    survey_pond(course, &error);
    EXPECT_STREQ(error, count == 509 ? nullptr : "failed to realloc pond array");
    EXPECT_EQ(course.pond != nullptr, count == 509);
  }
}

// A search that began anew on every leg from the first sample, or went back for each, would take minutes.
TEST(pond_storage_test, surveys_an_hour_in_one_pass) {
  for (const double step : {2.0, 0.0}) {
    SCOPED_TRACE(step);
    gate course = course_with_points(90000);
    for (std::size_t i = 0; i < 90000; ++i) course.track[i + 1].pos_ecef.y *= step / 2.0;
    const std::clock_t begin = std::clock();
    error_slot error = nullptr;
    survey_pond(course, &error);
    EXPECT_LT(static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC, 2.0);
    EXPECT_STREQ(error, nullptr);
    EXPECT_EQ(pond_points(course.pond.get()).size(), step == 0.0 ? 2U : 90001U);
  }
}

}  // namespace
}  // namespace tarvel
