// Levels four corners. On the equator at longitude 0 the ECEF x is the sum of the semi-major axis and the height, so
// that the heights of the rows are exact.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "gate/waypoints.h"
#include "geo/wgs84.h"

namespace tarvel {
namespace {

constexpr double semi_major_axis = 6378137.0;

using four_heights = std::array<double, 4>;

struct levelled {
  std::array<vec3, 4> corners;
  std::string log;
  std::string message;  // empty for success
};

levelled level(const std::array<vec3, 4> &corners) {
  levelled result;
  result.corners = corners;
  error_slot error = nullptr;
  text_buffer log = text_buffer_create(&error);
  level_waypoints(result.corners, log);
  result.log = log.data.get();
  if (error != nullptr) result.message = error;
  return result;
}

std::array<vec3, 4> on_the_equator(const four_heights &heights) {
  std::array<vec3, 4> corners;
  for (std::size_t i = 0; i < 4; ++i) corners[i] = {semi_major_axis + heights[i], 0.0, 0.0};
  return corners;
}

// The next number above 6378140.5 is 2^-30 m away.
constexpr double hair = 1.0 / (1 << 30);

struct level_case {
  const char *name;
  four_heights heights;
  const char *log;
  const char *message;
};

const level_case level_cases[] = {
    {"all level", {20.0, 20.0, 20.0, 20.0}, "average height:  20.00m (0.00m, 0.00m, 0.00m, 0.00m deviation)\n", ""},
    {"signed deviations, in the order of the corners",
     {101.0, 102.0, 103.5, 101.5},
     "average height: 102.00m (-1.00m, 0.00m, 1.50m, -0.50m deviation)\n",
     ""},
    {"below the ellipsoid",
     {-40.25, -40.5, -40.75, -40.5},
     "average height: -40.50m (0.25m, 0.00m, -0.25m, 0.00m deviation)\n",
     ""},
    {"3.5 m above and below the average",
     {3.5, -3.5, 0.0, 0.0},
     "average height:   0.00m (3.50m, -3.50m, 0.00m, 0.00m deviation)\n",
     ""},
    {"hardly more above",
     {3.5 + hair, -3.5, 0.0, -hair},
     "average height:   0.00m (3.50m, -3.50m, 0.00m, -0.00m deviation)\n",
     "excessive error in waypoint height (3.50m)"},
    {"hardly more below",
     {3.5, hair, 0.0, -3.5 - hair},
     "average height:   0.00m (3.50m, 0.00m, 0.00m, -3.50m deviation)\n",
     "excessive error in waypoint height (3.50m)"},
    {"3.51 m above",
     {0.0, 3.51, -3.51, 0.0},
     "average height:   0.00m (0.00m, 3.51m, -3.51m, 0.00m deviation)\n",
     "excessive error in waypoint height (3.51m)"},
    {"the largest deviation, not the last",
     {0.0, 0.0, 16.0, -8.0},
     "average height:   2.00m (-2.00m, -2.00m, 14.00m, -10.00m deviation)\n",
     "excessive error in waypoint height (14.00m)"},
    {"the fourth corner alone",
     {0.0, 0.0, 0.0, -8.0},
     "average height:  -2.00m (2.00m, 2.00m, 2.00m, -6.00m deviation)\n",
     "excessive error in waypoint height (6.00m)"},
    {"summed from the first corner on",
     // With the axis added and subtracted the first height comes back as 2^53 + 4, which 1.0 more does not change in
     // double precision: (1 + 1) + (2^53 + 4) would make an average of 2^51 + 1.5.
     {9007199254740994.0, 1.0, 1.0, 0.0},
     "average height: 2251799813685249.00m (6755399441055747.00m, -2251799813685248.00m, -2251799813685248.00m, "
     "-2251799813685249.00m deviation)\n",
     "excessive error in waypoint height (6755399441055747.00m)"},
};

TEST(levelling_test, refuses_a_corner_more_than_3_5_m_off_the_average) {
  for (const level_case &c : level_cases) {
    SCOPED_TRACE(c.name);
    const std::array<vec3, 4> corners = on_the_equator(c.heights);
    const levelled result = level(corners);
    // A deviation that rounds to nothing prints its sign.
    EXPECT_EQ(result.log, c.log);
    EXPECT_EQ(result.message, c.message);
    if (*c.message == '\0') continue;
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(result.corners[i].x, corners[i].x);
  }
}

TEST(levelling_test, lays_the_corners_a_metre_below_their_average) {
  for (const level_case &c : level_cases) {
    if (*c.message != '\0') continue;
    SCOPED_TRACE(c.name);
    const double average = (c.heights[0] + c.heights[1] + c.heights[2] + c.heights[3]) / 4.0;
    for (const vec3 &corner : level(on_the_equator(c.heights)).corners) {
      EXPECT_EQ(corner.x, semi_major_axis + (average - 1.0));
      EXPECT_EQ(corner.y, 0.0);
      EXPECT_EQ(corner.z, 0.0);
    }
  }
}

TEST(levelling_test, keeps_latitude_and_longitude) {
  const vec3 places[] = {{52.1, 6.07, 25.0}, {52.101, 6.071, 26.0}, {52.102, 6.069, 24.5}, {52.1015, 6.0695, 24.5}};
  std::array<vec3, 4> corners;
  for (std::size_t i = 0; i < 4; ++i) corners[i] = wgs84_to_ecef(places[i]);
  const levelled result = level(corners);
  EXPECT_EQ(result.message, "");
  for (std::size_t i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    const vec3 corner = ecef_to_wgs84(result.corners[i]);
    // 1e-12 degrees are 0.1 um on the ground.
    EXPECT_NEAR(corner.x, places[i].x, 1e-12);
    EXPECT_NEAR(corner.y, places[i].y, 1e-12);
    EXPECT_NEAR(corner.z, 24.0, 1e-6);
  }
}

// Whatever the order of the walk, each deviation stays with its corner.
TEST(levelling_test, levels_a_slope_about_its_middle) {
  const levelled result = level(on_the_equator({1.0, 3.0, -3.0, -1.0}));
  EXPECT_EQ(result.log, "average height:   0.00m (1.00m, 3.00m, -3.00m, -1.00m deviation)\n");
  for (const vec3 &corner : result.corners) EXPECT_EQ(corner.x, semi_major_axis - 1.0);
}

}  // namespace
}  // namespace tarvel
