#include "track/track_frames.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "support/allocation_limit.h"
#include "support/plain_geodesy.h"

namespace tarvel {

namespace {

std::vector<gps_point> random_track(std::size_t count) {
  std::mt19937_64 random(23);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::vector<gps_point> samples(count);
  for (gps_point &sample : samples) {
    sample.pos_wgs84 = {90.0 * unit(random), 180.0 * unit(random), 2000.0 + 2400.0 * unit(random)};
    sample.vel_ltp = {60.0 * unit(random), 60.0 * unit(random), 60.0 * unit(random)};
  }
  return samples;
}

const mat4 numbered = {
    {{11.0, 12.0, 13.0, 14.0}, {21.0, 22.0, 23.0, 24.0}, {31.0, 32.0, 33.0, 34.0}, {0.0, 0.0, 0.0, 1.0}}};

TEST(track_frames_test, fills_ecef_of_every_sample) {
  std::vector<gps_point> samples = random_track(1000);
  derive_ecef(samples);
  for (const gps_point &sample : samples) {
    ASSERT_TRUE(plain::same(sample.pos_ecef, plain::ecef_from_wgs84(sample.pos_wgs84)));
    ASSERT_TRUE(plain::same(sample.vel_ecef, plain::ecef_velocity(sample.pos_wgs84, sample.vel_ltp)));
    ASSERT_TRUE(plain::same(sample.pos_local, {}));
    ASSERT_TRUE(plain::same(sample.vel_local, {}));
  }
}

TEST(track_frames_test, fills_local_of_every_sample_from_ecef) {
  std::vector<gps_point> samples(3);
  samples[0].pos_ecef = {1.0, 2.0, 3.0};
  samples[0].vel_ecef = {3.0, 2.0, 1.0};
  samples[2].pos_ecef = {0.0, 1.0, 0.0};
  samples[2].vel_ecef = {0.0, 0.0, 1.0};
  derive_local(samples, numbered);
  EXPECT_TRUE(plain::same(samples[0].pos_local, {88.0, 158.0, 228.0}));
  EXPECT_TRUE(plain::same(samples[0].vel_local, {70.0, 130.0, 190.0}));  // 33 + 24 + 13, without the translation
  EXPECT_TRUE(plain::same(samples[1].pos_local, {14.0, 24.0, 34.0}));
  EXPECT_TRUE(plain::same(samples[1].vel_local, {0.0, 0.0, 0.0}));
  EXPECT_TRUE(plain::same(samples[2].pos_local, {26.0, 46.0, 66.0}));
  EXPECT_TRUE(plain::same(samples[2].vel_local, {13.0, 23.0, 33.0}));
  EXPECT_TRUE(plain::same(samples[0].pos_ecef, {1.0, 2.0, 3.0}));
}

TEST(track_frames_test, needs_no_memory_and_no_samples) {
  const allocation_limit none(0);
  std::vector<gps_point> samples = random_track(2);
  derive_ecef(samples);
  derive_local(samples, numbered);
  derive_ecef({});
  derive_local({}, numbered);
  EXPECT_NE(samples[1].pos_local.x, 0.0);
}

TEST(track_frames_test, tells_horizontal_from_total_speed) {
  gps_point sample;
  sample.vel_local = {2.0, -3.0, -6.0};
  sample.vel_ecef = {100.0, 100.0, 100.0};
  EXPECT_EQ(total_speed(sample), 7.0);
  sample.vel_local = {-3.0, 4.0, 12.0};
  EXPECT_EQ(horizontal_speed(sample), 5.0);
  EXPECT_EQ(total_speed(sample), 13.0);
}

TEST(track_frames_test, adds_the_squares_of_a_speed_in_order) {
  for (const gps_point &other : random_track(20000)) {
    gps_point sample;
    sample.vel_local = other.vel_ltp;
    const vec3 &v = sample.vel_local;
    const double plan = v.x * v.x + v.y * v.y;
    const double all = plan + v.z * v.z;
    ASSERT_TRUE(plain::same(horizontal_speed(sample), std::sqrt(plan)));
    ASSERT_TRUE(plain::same(total_speed(sample), std::sqrt(all)));
  }
}

}  // namespace

}  // namespace tarvel
