#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <ctime>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "geo/wgs84.h"
#include "support/allocation_limit.h"
#include "support/hand_made_run.h"
#include "swoop/implicit_gate.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

gps_point raw_sample(std::int64_t time, const vec3 &position, const vec3 &velocity, float vacc = 1.0F) {
  gps_point sample;
  sample.time = time;
  sample.pos_wgs84 = position;
  sample.vel_ltp = velocity;
  sample.vacc = vacc;
  return sample;
}

// Finds the landing by scanning the samples after every candidate.
std::size_t landing_by_rescanning(std::span<const gps_point> s, std::size_t flight) {
  for (std::size_t i = flight; i + 1 < s.size(); ++i) {
    if (!(mph_per_mps * vec3_length(s[i].vel_ltp) < 10.0)) continue;
    if (s[i].vacc >= 10.0F) return i;
    bool is_landing = true;
    for (std::size_t j = i; j < s.size(); ++j) {
      if (elapsed(s[i].time, s[j].time) > 15000) break;
      if (!(feet_per_metre * std::fabs(s[j].pos_wgs84.z - s[i].pos_wgs84.z) <= 100.0)) {
        is_landing = false;
        break;
      }
    }
    if (is_landing) return i;
  }
  return 0;
}

std::size_t flight_by_scanning(std::span<const gps_point> s) {
  double highest = s[0].pos_wgs84.z;
  for (std::size_t i = 0; i + 1 < s.size(); ++i) {
    if (!(s[i].vacc < 20.0F)) continue;
    if (s[i].pos_wgs84.z > highest) highest = s[i].pos_wgs84.z;
    if (feet_per_metre * (highest - s[i].pos_wgs84.z) > 1500.0) return i;
  }
  return 0;
}

// Clocks that stand still, go back and jump; heights that change in steps near 100 ft. The longitude of a sample is its
// number, which identifies the landing.
TEST(implicit_landing_test, is_what_scanning_every_candidate_anew_finds) {
  std::mt19937 random(2);
  const auto up_to = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  int found = 0;
  int refused = 0;  // rounds in which a slow sample was no landing
  for (int round = 0; round < 20000; ++round) {
    std::vector<gps_point> samples = {raw_sample(0, {48.0, 0.0, 3000.0}, {30.0, 0.0, 0.0})};
    std::int64_t time = 0;
    double altitude = 100.0;
    for (int i = 1; i < 40; ++i) {
      const bool is_slow = up_to(4) != 0;
      samples.push_back(raw_sample(time, {48.0, static_cast<double>(i), altitude}, {is_slow ? 1.0 : 9.0, 0.0, 0.0},
                                   up_to(60) == 0 ? 12.0F : 3.0F));
      const int kind = up_to(20);
      if (kind < 8) time += 1000 * up_to(3);
      if (kind == 8) time -= 1000 * up_to(9);
      if (kind == 9) time += 9000;
      altitude += up_to(2) == 0 ? 9.0 * (up_to(9) - 4) : 0.0;
      if (up_to(200) == 0) altitude = not_a_number;
      if (std::isnan(altitude) && up_to(2) == 0) altitude = 100.0;
    }
    const swoop run = run_of(samples);
    const std::size_t flight = flight_by_scanning(samples_of(run));
    const std::size_t expected = flight == 0 ? 0 : landing_by_rescanning(samples_of(run), flight);
    for (std::size_t i = flight; flight != 0 && i < expected; ++i) {
      if (samples[i].vel_ltp.x < 2.0) {
        ++refused;
        break;
      }
    }
    vec3 gate;
    vec3 landing;
    error_slot error = nullptr;
    find_implicit_gate(run, gate, landing, &error);
    if (error == nullptr) {
      ASSERT_EQ(landing.y, static_cast<double>(expected)) << "round " << round;
      ++found;
    } else {
      ASSERT_EQ(std::string(error) == "could not find dive at 100 feet", expected != 0) << "round " << round;
    }
  }
  EXPECT_GT(found, 2000);
  EXPECT_GT(refused, 2000);
}

// Heights that change by 100 ft and more between slow samples, with clocks that go slowly, stand, go back and jump,
// some so far that differences of times wrap.
std::vector<gps_point> long_wandering_walk(std::mt19937 &random) {
  const auto up_to = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  const auto pace = static_cast<unsigned>(up_to(80));
  const double spread = 20.0 + up_to(25);  // m; 100 ft are 30.48 m
  const int seldom = 1 + up_to(200);
  std::vector<gps_point> samples = {raw_sample(0, {48.0, 0.0, 3000.0}, {30.0, 0.0, 0.0})};
  std::uint64_t time = up_to(2) == 0 ? 0 : std::uint64_t{1} << 63;
  for (int i = 1; i < 600; ++i) {
    double altitude = up_to(seldom) == 0 ? spread * (up_to(201) - 100) / 100.0 : spread * (up_to(21) - 10) / 100.0;
    if (up_to(1500) == 0) altitude = up_to(2) == 0 ? not_a_number : endless;
    const std::uint64_t own_time = up_to(300) == 0 ? std::uint64_t{random()} << 32 : time;
    samples.push_back(raw_sample(static_cast<std::int64_t>(own_time), {48.0, static_cast<double>(i), altitude},
                                 {up_to(4) != 0 ? 1.0 : 9.0, 0.0, 0.0}, 3.0F));
    time += up_to(40) == 0 ? std::uint64_t{0} - static_cast<unsigned>(up_to(500)) : pace;
    if (up_to(600) == 0) time += std::uint64_t{1} << (10 + up_to(54));
  }
  samples.push_back(raw_sample(static_cast<std::int64_t>(time), {48.0, 600.0, 500.0}, {9.0, 0.0, 0.0}));
  return samples;
}

void expect_landing(const swoop &run, std::size_t expected) {
  vec3 gate;
  vec3 landing;
  error_slot error = nullptr;
  find_implicit_gate(run, gate, landing, &error);
  if (error == nullptr) {
    ASSERT_EQ(landing.y, static_cast<double>(expected));
  } else {
    ASSERT_EQ(std::string(error) == "could not find dive at 100 feet", expected != 0);
  }
}

// The time of sample 200 is 292 million years after the landing's, since their difference wraps.
TEST(implicit_landing_test, has_lasted_at_a_time_whose_difference_wraps) {
  std::vector<gps_point> samples = {raw_sample(0, {48.0, 0.0, 3000.0}, {30.0, 0.0, 0.0})};
  for (int i = 1; i < 300; ++i) {
    samples.push_back(raw_sample(i, {48.0, static_cast<double>(i), i <= 250 ? 100.0 : 200.0}, {9.0, 0.0, 0.0}));
  }
  samples[100].vel_ltp.x = 1.0;
  samples[200].time = INT64_MIN;
  ASSERT_EQ(landing_by_rescanning(samples, 1), 100U);
  expect_landing(run_of(samples), 100);
}

// When memory is short, the search reads every sample and has the same result.
TEST(implicit_landing_test, is_what_scanning_finds_also_where_many_samples_are_asked_for) {
  std::mt19937 random(4);
  int found = 0;
  for (int round = 0; round < 3000; ++round) {
    SCOPED_TRACE(round);
    const swoop run = run_of(long_wandering_walk(random));
    const std::size_t flight = flight_by_scanning(samples_of(run));
    const std::size_t expected = flight == 0 ? 0 : landing_by_rescanning(samples_of(run), flight);
    ASSERT_NO_FATAL_FAILURE(expect_landing(run, expected));
    const allocation_limit limit(0);
    ASSERT_NO_FATAL_FAILURE(expect_landing(run, expected));
    if (expected > 1) ++found;
  }
  EXPECT_GT(found, 300);
  EXPECT_LT(found, 2700);
}

// Every second slow sample is refused by another sample at the end. Scanning for each candidate would take 10^10 steps.
TEST(implicit_landing_test, takes_linear_time_on_two_levels) {
  std::vector<gps_point> samples = {raw_sample(0, {48.0, 11.0, 3000.0}, {30.0, 0.0, 0.0})};
  for (int i = 0; i < 200000; ++i) {
    samples.push_back(raw_sample(-i, {48.0, 11.0, i % 2 == 0 ? 100.0 : 115.0}, {1.0, 0.0, 0.0}));
  }
  samples.push_back(raw_sample(-200000, {48.0, 11.0, 70.0}, {9.0, 0.0, 0.0}));
  samples.push_back(raw_sample(-200000, {48.0, 11.0, 135.0}, {9.0, 0.0, 0.0}));
  samples.push_back(raw_sample(-200000, {48.0, 11.0, 200.0}, {9.0, 0.0, 0.0}));
  const swoop run = run_of(samples);
  const std::clock_t start = std::clock();
  expect_landing(run, 0);
  EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 5.0);
}

// Scanning for each candidate would take 10^10 steps, half a minute and more.
TEST(implicit_landing_test, takes_linear_time_when_the_clock_stands_still) {
  std::vector<gps_point> samples = {raw_sample(0, {48.0, 11.0, 3000.0}, {30.0, 0.0, 0.0})};
  for (int i = 0; i < 200000; ++i) samples.push_back(raw_sample(0, {48.0, 11.0, 100.0}, {1.0, 0.0, 0.0}));
  samples.push_back(raw_sample(0, {48.0, 11.0, 200.0}, {1.0, 0.0, 0.0}));
  const swoop run = run_of(samples);
  vec3 gate;
  vec3 landing;
  error_slot error = nullptr;
  const std::clock_t start = std::clock();
  find_implicit_gate(run, gate, landing, &error);
  EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 5.0);
  EXPECT_STREQ(error, "could not detect landing");
}

// Flight at sample 1, dive at sample 2, bottom halfway between samples 3 and 4 (2.5 to 0 m/s), landing at sample 4. The
// ground is at 98 m.
std::vector<gps_point> plain_swoop() {
  return {raw_sample(0, {48.0, 11.0, 1000.0}, {30.0, 0.0, 5.0}),
          raw_sample(1000, {48.0, 11.0001, 500.0}, {30.0, 0.0, 9.0}),
          raw_sample(2000, {48.0, 11.0002, 140.0}, {30.0, 0.0, 9.0}),
          raw_sample(3000, {48.0, 11.0006, 100.5}, {30.0, 0.0, 2.5}),
          raw_sample(4000, {48.0, 11.0016, 100.0}, {0.0, 0.0, 0.0}),
          raw_sample(5000, {48.0, 11.0016, 100.0}, {0.0, 0.0, 0.0})};
}

TEST(implicit_frame_test, has_its_origin_at_the_gate_and_its_axis_towards_the_landing) {
  swoop run = run_of(plain_swoop());
  error_slot error = nullptr;
  build_implicit_frame(run, &error);
  ASSERT_EQ(error, nullptr);

  const vec3 origin = mat4_transform_point(run.matrix, wgs84_to_ecef({48.0, 11.0011, 98.0}));
  EXPECT_NEAR(origin.x, 0.0, 1e-8);
  EXPECT_NEAR(origin.y, 0.0, 1e-8);
  EXPECT_NEAR(origin.z, 0.0, 1e-8);

  // 30 digits, mpmath, from the ellipsoid's radii of curvature; the earth falls off by a tenth of a millimetre.
  const vec3 landing = mat4_transform_point(run.matrix, wgs84_to_ecef({48.0, 11.0016, 98.0}));
  EXPECT_NEAR(landing.x, 37.313249029007833, 1e-8);
  EXPECT_NEAR(landing.y, 0.0, 1e-8);
  EXPECT_NEAR(landing.z, -0.00010894099513178573, 1e-8);

  // Straight up, and 10 m to the north: towards +y, since the axis points east.
  const vec3 above = mat4_transform_point(run.matrix, wgs84_to_ecef({48.0, 11.0011, 148.0}));
  EXPECT_NEAR(above.x, 0.0, 1e-8);
  EXPECT_NEAR(above.y, 0.0, 1e-8);
  EXPECT_NEAR(above.z, 50.0, 1e-8);
  const vec3 north = mat4_transform_point(run.matrix, wgs84_to_ecef({48.00009, 11.0011, 98.0}));
  EXPECT_NEAR(north.y, 10.00728305047895, 1e-8);

  EXPECT_EQ(run.matrix.m[3][0], 0.0);
  EXPECT_EQ(run.matrix.m[3][1], 0.0);
  EXPECT_EQ(run.matrix.m[3][2], 0.0);
  EXPECT_EQ(run.matrix.m[3][3], 1.0);
}

TEST(implicit_frame_test, leaves_the_frame_alone_when_there_is_no_gate) {
  std::vector<gps_point> samples = plain_swoop();
  samples[0].pos_wgs84.z = samples[1].pos_wgs84.z;
  swoop run = run_of(samples);
  run.matrix.m[1][2] = 5.0;
  const mat4 before = run.matrix;
  error_slot error = nullptr;
  build_implicit_frame(run, &error);
  EXPECT_STREQ(error, "could not detect flight");
  EXPECT_TRUE(run.matrix == before);
}

}  // namespace

}  // namespace tarvel
