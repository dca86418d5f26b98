#include "track/course.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "support/allocation_limit.h"

namespace tarvel {
namespace {

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

pond_outline outline_of(const std::vector<vec3> &points) {
  pond_outline pond;
  for (const vec3 &point : points) EXPECT_TRUE(append_pond_point(pond, point));
  return pond;
}

// Each can be told from all others.
vec3 numbered(std::size_t i) { return {static_cast<double>(i), -static_cast<double>(i), 0.5}; }

TEST(course_test, is_made_without_a_pond) {
  const course fresh;
  EXPECT_FALSE(fresh.pond);
  EXPECT_EQ(fresh.theta, 0.0);
}

TEST(course_test, an_outline_of_no_points_needs_no_memory) {
  const allocation_limit limit(0);
  pond_outline pond;
  EXPECT_TRUE(points_of(pond).empty());
  EXPECT_TRUE(points_of(static_cast<const pond_outline &>(pond)).empty());
  EXPECT_TRUE(points_before_origin(pond).empty());
  EXPECT_EQ(pond.points, nullptr);
  EXPECT_EQ(pond.capacity, 0U);
}

TEST(course_test, an_outline_grows_by_doubling) {
  pond_outline pond;
  for (std::size_t i = 0; i < 2500; ++i) {
    const std::size_t before = pond.capacity;
    ASSERT_TRUE(append_pond_point(pond, numbered(i)));
    ASSERT_EQ(pond.count, i + 1);
    ASSERT_TRUE(pond.capacity == before || (before == i && pond.capacity >= 2 * before)) << pond.capacity;
  }
  const std::span<const vec3> points = points_of(static_cast<const pond_outline &>(pond));
  ASSERT_EQ(points.size(), 2500U);
  for (std::size_t i = 0; i < points.size(); ++i) {
    ASSERT_EQ(points[i].x, numbered(i).x);
    ASSERT_EQ(points[i].y, numbered(i).y);
    ASSERT_EQ(points[i].z, numbered(i).z);
  }
  EXPECT_EQ(points_of(pond).data(), points.data());
  EXPECT_EQ(points_of(pond).size(), points.size());
}

TEST(course_test, an_outline_is_as_it_was_when_memory_is_short) {
  pond_outline pond;
  for (int growth = 0; growth < 3; ++growth) {
    SCOPED_TRACE(growth);
    while (pond.count < pond.capacity) ASSERT_TRUE(append_pond_point(pond, numbered(pond.count)));
    const std::size_t count = pond.count;
    {
      const allocation_limit limit(0);
      EXPECT_FALSE(append_pond_point(pond, {7.0, 7.0, 7.0}));
    }
    ASSERT_EQ(pond.count, count);
    EXPECT_EQ(pond.capacity, count);
    for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(pond.points[i].x, numbered(i).x);
    EXPECT_TRUE(append_pond_point(pond, numbered(count)));
    EXPECT_EQ(pond.points[count].x, numbered(count).x);
  }
}

struct filed_case {
  const char *name;
  std::vector<vec3> points;
  std::size_t filed;
};

const filed_case filed_cases[] = {
    {"none", {}, 0},
    {"all of them", {{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}}, 2},
    {"zeros at once", {{0.0, 0.0, 0.0}, {1.0, 2.0, 3.0}}, 0},
    {"zeros in the middle", {{1.0, 2.0, 3.0}, {0.0, 0.0, 0.0}, {4.0, 5.0, 6.0}}, 1},
    {"the first of two", {{1.0, 2.0, 3.0}, {0.0, 0.0, 0.0}, {4.0, 5.0, 6.0}, {0.0, 0.0, 0.0}, {7.0, 8.0, 9.0}}, 1},
    {"zeros at the end", {{1.0, 2.0, 3.0}, {0.0, 0.0, 0.0}}, 1},
    {"minus zeros", {{1.0, 2.0, 3.0}, {-0.0, -0.0, -0.0}, {4.0, 5.0, 6.0}}, 1},
    {"zeros of either sign", {{1.0, 2.0, 3.0}, {0.0, -0.0, 0.0}, {4.0, 5.0, 6.0}}, 1},
    {"one of the three is not 0", {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}, 3},
    {"the smallest numbers are not 0", {{5e-324, 0.0, 0.0}, {0.0, -5e-324, 0.0}, {0.0, 0.0, 5e-324}}, 3},
    {"what is not a number is not 0",
     {{not_a_number, 0.0, 0.0}, {0.0, not_a_number, 0.0}, {0.0, 0.0, not_a_number}},
     3},
};

TEST(course_test, a_file_keeps_the_points_before_the_first_of_zeros) {
  for (const filed_case &c : filed_cases) {
    SCOPED_TRACE(c.name);
    pond_outline pond = outline_of(c.points);
    const std::span<const vec3> filed = points_before_origin(pond);
    EXPECT_EQ(filed.size(), c.filed);
    EXPECT_EQ(filed.data(), pond.points.get());
    EXPECT_EQ(pond.count, c.points.size());
    cut_at_origin(pond);
    EXPECT_EQ(pond.count, c.filed);
  }
}

}  // namespace
}  // namespace tarvel
