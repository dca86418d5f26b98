#include "check/motion_series.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "geo/wgs84.h"

namespace tarvel {
namespace {

TEST(motion_series_test, measures_metres_as_the_ellipsoid_does) {
  const vec3 origin = {48.5, 11.25, 420.0};
  const local_plane plane = local_plane_at(origin);
  const vec3 moved = from_plane(plane, {30.0, -40.0, -12.0});
  EXPECT_NEAR(vec3_length(vec3_sub(wgs84_to_ecef(origin), wgs84_to_ecef(moved))), std::hypot(50.0, 12.0), 1e-3);
  EXPECT_EQ(moved.z, 432.0);
}

TEST(motion_series_test, finds_its_way_back) {
  const local_plane plane = local_plane_at({-33.9, 151.0, 20.0});
  const vec3 place = {-33.9012345, 151.0054321, 33.25};
  const vec3 again = from_plane(plane, to_plane(plane, place));
  EXPECT_NEAR(again.x, place.x, 1e-13);
  EXPECT_NEAR(again.y, place.y, 1e-12);
  EXPECT_NEAR(again.z, place.z, 1e-12);
}

TEST(motion_series_test, goes_on_across_the_antimeridian) {
  const local_plane plane = local_plane_at({-17.0, 179.9999, 0.0});
  EXPECT_NEAR(to_plane(plane, {-17.0, -179.9999, 0.0})[axis_east], 0.0002 * plane.east_metres, 1e-6);
  EXPECT_NEAR(from_plane(plane, {0.0, 0.0002 * plane.east_metres, 0.0}).y, 180.0001, 1e-9);
  const local_plane east_of_it = local_plane_at({-17.0, -179.9999, 0.0});
  EXPECT_NEAR(to_plane(east_of_it, {-17.0, 179.9999, 0.0})[axis_east], -0.0002 * plane.east_metres, 1e-6);
}

TEST(motion_series_test, keeps_the_side_of_half_a_turn) {
  const local_plane plane = local_plane_at({0.0, 0.0, 0.0});
  EXPECT_EQ(to_plane(plane, {0.0, 180.0, 0.0})[axis_east], 180.0 * plane.east_metres);
  EXPECT_EQ(to_plane(plane, {0.0, -180.0, 0.0})[axis_east], -180.0 * plane.east_metres);
}

TEST(motion_series_test, holds_seconds_metres_and_velocities) {
  std::vector<gps_point> samples(2);
  samples[0].time = 5000;
  samples[1].time = 5200;
  samples[0].pos_wgs84 = {10.0, 20.0, 103.0};
  samples[1].pos_wgs84 = {10.0, 20.0, 100.0};
  samples[0].vel_ltp = {1.0, 2.0, 3.0};
  motion_series series;
  ASSERT_TRUE(series_of(samples, series));
  EXPECT_EQ(series.count, 2U);
  EXPECT_EQ(series.times[1], 0.2);
  EXPECT_EQ(series.positions[axis_down][0], -3.0);
  EXPECT_EQ(series.positions[axis_down][1], 0.0);
  EXPECT_EQ(series.velocities[axis_north][0], 1.0);
  EXPECT_EQ(series.velocities[axis_east][0], 2.0);
  EXPECT_EQ(series.velocities[axis_down][0], 3.0);
}

}  // namespace
}  // namespace tarvel
