#include "check/contradiction.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

namespace tarvel {
namespace {

struct series {
  std::vector<double> times, positions, velocities;
};

// x = t to the third power: the integral is exact between samples with whole neighbours.
series cubic_flight() {
  series s;
  for (int i = 0; i <= 40; ++i) {
    const double t = 0.1 * i;
    s.times.push_back(t);
    s.positions.push_back(t * t * t);
    s.velocities.push_back(3.0 * t * t);
  }
  return s;
}

std::vector<double> drift_of(const series &s) {
  std::vector<double> drift(s.times.size());
  accumulate_contradiction(s.times, s.positions, s.velocities, drift);
  return drift;
}

TEST(contradiction_test, sees_none_in_a_smooth_flight) {
  const std::vector<double> drift = drift_of(cubic_flight());
  for (std::size_t k = 1; k + 1 < drift.size(); ++k) EXPECT_NEAR(drift[k] - drift[1], 0.0, 1e-12) << k;
}

TEST(contradiction_test, sees_a_velocity_that_is_too_fast) {
  series s = cubic_flight();
  for (double &velocity : s.velocities) velocity += 0.5;
  const std::vector<double> drift = drift_of(s);
  const span_contradiction second = contradiction_over(s.times, drift, 1.0);
  EXPECT_NEAR(second.seconds, 1.0, 1e-12);
  EXPECT_EQ(second.steps, 31U);
  EXPECT_NEAR(second.mean_square, 0.25, 1e-3);
}

TEST(contradiction_test, says_nothing_of_a_gap) {
  series s = cubic_flight();
  for (std::size_t k = 20; k < s.times.size(); ++k) {
    s.times[k] += 1.5;
    s.positions[k] += 100.0;
  }
  const std::vector<double> drift = drift_of(s);
  EXPECT_EQ(drift[20], drift[19]);
  EXPECT_NEAR(drift[40] - drift[21], 0.0, 1e-3);
}

TEST(contradiction_test, sees_a_second_that_stands_out) {
  const std::vector<double> times = {0.0, 1.0, 2.0, 3.0, 4.0, 5.0};
  const std::vector<double> drift = {0.0, 0.1, 0.2, 1.4, 1.5, 1.4};  // steps of 0.1 but for one of 1.2
  const std::vector<double> exact(times.size());
  std::vector<double> work(times.size());
  EXPECT_NEAR(contradiction_peak(times, drift, exact, times.size(), 1.0, work), 12.0, 1e-9);
  EXPECT_EQ(contradiction_peak(times, drift, exact, times.size(), 9.0, work), 0.0);
  // Only the first two steps are usual; the great one counts all the same.
  EXPECT_NEAR(contradiction_peak(times, drift, exact, 3, 1.0, work), 12.0, 1e-9);
  EXPECT_EQ(contradiction_peak(times, drift, exact, 1, 1.0, work), 0.0);
}

// The step of 1.2 may be an error of the integral by 0.5; the median stays.
TEST(contradiction_test, lets_no_error_of_the_integral_stand_out) {
  const std::vector<double> times = {0.0, 1.0, 2.0, 3.0, 4.0, 5.0};
  const std::vector<double> drift = {0.0, 0.1, 0.2, 1.4, 1.5, 1.4};
  const std::vector<double> squared_errors = {0.0, 0.0, 0.0, 0.25, 0.25, 0.25};
  std::vector<double> work(times.size());
  EXPECT_NEAR(contradiction_peak(times, drift, squared_errors, times.size(), 1.0, work), 7.0, 1e-9);
}

double fourth_power(int k) { return 1.0 * k * k * k * k; }

// The fourth differences of k to the fourth power are 24.
TEST(contradiction_test, expects_errors_of_the_integral_where_samples_are_far_apart) {
  const auto errors_at_steps_of = [](double step) {
    std::vector<double> times;
    std::vector<double> velocities;
    for (int k = 0; k < 8; ++k) {
      times.push_back(step * k);
      velocities.push_back(fourth_power(k));
    }
    std::vector<double> squared_errors(times.size(), 0.5);
    add_integration_errors(times, velocities, squared_errors);
    return squared_errors;
  };
  const std::vector<double> slow = errors_at_steps_of(0.5);
  for (std::size_t k = 0; k < slow.size(); ++k) EXPECT_NEAR(slow[k], 0.5 + 0.25 * static_cast<double>(k), 1e-12) << k;
  EXPECT_EQ(errors_at_steps_of(0.25), std::vector<double>(8, 0.5));
  EXPECT_EQ(errors_at_steps_of(1.25), std::vector<double>(8, 0.5));  // nothing is known of such a step
}

// Every 0.5 s a velocity of 0, once of 24 m/s. The five fourth differences around that one are 24 times 1, -4, 6, -4 and
// 1; a step's error is half a metre times the greatest of those whose five samples contain the step.
TEST(contradiction_test, seeks_the_errors_of_a_step_in_the_five_samples_around_it) {
  struct impulse_case {
    std::size_t at;
    std::vector<double> greatest;  // of each step
  };
  const impulse_case cases[] = {
      {0, {1.0, 1.0, 1.0, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0}},
      {4, {1.0, 4.0, 6.0, 6.0, 6.0, 6.0, 4.0, 1.0, 0.0}},
      {9, {0.0, 0.0, 0.0, 0.0, 0.0, 1.0, 1.0, 1.0, 1.0}},
  };
  std::vector<double> times;
  for (int k = 0; k < 10; ++k) times.push_back(0.5 * k);
  for (const impulse_case &c : cases) {
    SCOPED_TRACE(c.at);
    std::vector<double> velocities(times.size());
    velocities[c.at] = 24.0;
    std::vector<double> squared_errors(times.size());
    add_integration_errors(times, velocities, squared_errors);
    double sum = 0.0;
    for (std::size_t k = 1; k < times.size(); ++k) {
      sum += 0.25 * c.greatest[k - 1] * c.greatest[k - 1];
      EXPECT_NEAR(squared_errors[k], sum, 1e-12) << k;
    }
  }
}

// The first step lies in the five samples of each of the first four steps.
TEST(contradiction_test, expects_no_errors_of_the_integral_near_steps_of_0_3_s) {
  for (const auto &[first_step, error] : {std::pair(0.3, 0.0), std::pair(std::nextafter(0.3, 1.0), 0.25)}) {
    std::vector<double> times = {0.0};
    std::vector<double> velocities;
    for (int k = 0; k < 8; ++k) velocities.push_back(fourth_power(k));
    for (int k = 0; k < 7; ++k) times.push_back(first_step + 0.5 * k);
    std::vector<double> squared_errors(times.size());
    add_integration_errors(times, velocities, squared_errors);
    EXPECT_NEAR(squared_errors[4] - squared_errors[1], 3.0 * error, 1e-12) << first_step;
    EXPECT_NEAR(squared_errors[7] - squared_errors[4], 0.75, 1e-12) << first_step;
  }
}

// At 12 m/s the integral over a step is wrong by 1.3 m.
TEST(contradiction_test, sees_none_in_a_turn_by_100_degrees_a_sample) {
  series north;
  series east;
  const double rate = 100.0 * 3.141592653589793 / 180.0;
  for (int k = 0; k < 40; ++k) {
    const double t = k;
    north.times.push_back(t);
    north.positions.push_back(12.0 / rate * std::sin(rate * t));
    north.velocities.push_back(12.0 * std::cos(rate * t));
    east.positions.push_back(-12.0 / rate * std::cos(rate * t));
    east.velocities.push_back(12.0 * std::sin(rate * t));
  }
  east.times = north.times;
  const std::vector<double> exact(40);
  std::vector<double> errors(40);
  std::vector<double> work(40);
  add_integration_errors(north.times, north.velocities, errors);
  add_integration_errors(east.times, east.velocities, errors);
  const auto most = [&](const std::vector<double> &squared_errors) {
    return contradiction_quantile(north.times, drift_of(north), drift_of(east), squared_errors, 1.0, 0.9, work);
  };
  EXPECT_NEAR(most(exact), 1.3, 0.1);
  EXPECT_EQ(most(errors), 0.0);
  for (std::size_t k = 20; k < 40; ++k) north.positions[k] += 10.0;
  EXPECT_GT(contradiction_quantile(north.times, drift_of(north), drift_of(east), errors, 1.0, 1.0, work), 4.0);
}

TEST(contradiction_test, takes_the_sample_nearest_to_a_span) {
  const std::vector<double> times = {0.0, 0.2, 0.4, 0.6, 2.0};
  EXPECT_EQ(sample_after(times, 0, 0.0), 1U);
  EXPECT_EQ(sample_after(times, 0, 0.29), 1U);
  EXPECT_EQ(sample_after(times, 0, 0.31), 2U);
  EXPECT_EQ(sample_after(times, 3, 0.2), 4U);
  EXPECT_EQ(sample_after(times, 0, 2.5), 5U);
  EXPECT_EQ(sample_after(times, 4, 0.0), 5U);
}

TEST(contradiction_test, knows_nothing_of_spans_longer_than_the_track) {
  const series s = cubic_flight();
  const span_contradiction found = contradiction_over(s.times, drift_of(s), 10.0);
  EXPECT_EQ(found.steps, 0U);
  EXPECT_EQ(found.mean_square, 0.0);
}

// 0 to 10 m a step to the north, once 30 m to the east.
TEST(contradiction_test, knows_how_long_most_steps_are) {
  std::vector<double> times;
  std::vector<double> north = {0.0};
  std::vector<double> east(12);
  for (int i = 0; i <= 11; ++i) times.push_back(i);
  for (int i = 0; i <= 10; ++i) north.push_back(north.back() + i);
  const std::vector<double> exact(12);
  std::vector<double> work(12);
  EXPECT_EQ(contradiction_quantile(times, north, east, exact, 1.0, 0.95, work), 9.0);
  EXPECT_EQ(contradiction_quantile(times, north, east, exact, 1.0, 1.0, work), 10.0);
  east.back() = 30.0;
  EXPECT_NEAR(contradiction_quantile(times, north, east, exact, 1.0, 1.0, work), std::sqrt(1000.0), 1e-12);
  EXPECT_EQ(contradiction_quantile(times, north, east, exact, 20.0, 0.95, work), 0.0);
}

// Third differences of 1, -1, 1, -1, ... are 8; those of a parabola are 0.
TEST(contradiction_test, knows_how_rough_a_velocity_is) {
  std::vector<double> work(20);
  std::vector<double> rough;
  std::vector<double> smooth;
  for (int i = 0; i < 20; ++i) {
    rough.push_back(i % 2 == 0 ? 1.0 : -1.0);
    smooth.push_back(0.5 * i * i);
  }
  EXPECT_EQ(roughness_of(rough, work), 8.0);
  EXPECT_EQ(roughness_of(smooth, work), 0.0);
  EXPECT_EQ(roughness_of(std::vector<double>{1.0, -1.0, 1.0}, work), 0.0);
}

}  // namespace
}  // namespace tarvel
