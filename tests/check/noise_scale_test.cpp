#include "check/noise_scale.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tarvel {
namespace {

struct noise_case {
  const char *name;
  double velocity, horizontal, vertical, memory;
};

const noise_case noise_cases[] = {
    {"as stated", 1.0, 0.3, 0.3, 2.0},
    {"half as noisy", 0.5, 0.3, 0.2, 2.0},
    {"lasting errors", 1.5, 0.2, 0.4, 8.0},
    {"short errors", 1.0, 0.3, 0.3, 0.5},
};

constexpr stated_noise stated = {0.03, {0.5, 2.0}};

// The mean square in a track of endless length, as a double sum over the weights of the trapezoids.
double integrated(double step, double span, double memory) {
  const int steps = static_cast<int>(std::lround(span / step));
  double sum = 0.0;
  for (int i = 0; i <= steps; ++i) {
    for (int j = 0; j <= steps; ++j) {
      const double weight_i = i == 0 || i == steps ? 0.5 : 1.0;
      const double weight_j = j == 0 || j == steps ? 0.5 : 1.0;
      sum += weight_i * weight_j * std::exp(-std::abs(i - j) * step / memory);
    }
  }
  return step * step * sum;
}

measured_noise noise_of(const noise_case &c) {
  measured_noise measured;
  measured.step = 0.1;
  measured.duration = 3000.0;  // so long that what is usual no longer counts
  measured.seconds = {0.1, 0.4, 1.0, 3.0};
  for (std::size_t j = 0; j < 4; ++j) {
    const double span = measured.seconds[j];
    const double wandered = 2.0 * (1.0 - std::exp(-span / 60.0));
    const double from_velocity = c.velocity * c.velocity * stated.velocity * integrated(0.1, span, c.memory);
    measured.mean_square[0][j] = from_velocity + c.horizontal * c.horizontal * stated.position[0] * wandered;
    measured.mean_square[1][j] = from_velocity + c.vertical * c.vertical * stated.position[1] * wandered;
  }
  return measured;
}

TEST(noise_scale_test, finds_the_noise_that_was_put_in) {
  for (const noise_case &c : noise_cases) {
    SCOPED_TRACE(c.name);
    const noise_scale found = fit_noise(noise_of(c), stated);
    EXPECT_NEAR(found.velocity, c.velocity, 0.03 * c.velocity);
    EXPECT_NEAR(found.wander[0], c.horizontal, 0.2 * c.horizontal);
    EXPECT_NEAR(found.wander[1], c.vertical, 0.2 * c.vertical);
    EXPECT_NEAR(std::log(found.memory.velocity / c.memory), 0.0, 0.36);  // one of the times that are tried
  }
}

// Where the clock jumps by years, the mean of the spans is as long. The integral's variance over n steps is then n times
// that of one step in an endless track, (1 + k) / (1 - k), where k is the correlation from step to step.
TEST(noise_scale_test, takes_spans_of_years) {
  constexpr double years = 4e8;  // s
  measured_noise measured = noise_of(noise_cases[0]);
  const double kept = std::exp(-measured.step / noise_cases[0].memory);
  const double variance = measured.step * years * (1.0 + kept) / (1.0 - kept);
  measured.seconds[3] = years;
  measured.mean_square[0][3] = stated.velocity * variance + 0.09 * stated.position[0] * 2.0;
  measured.mean_square[1][3] = stated.velocity * variance + 0.09 * stated.position[1] * 2.0;
  const noise_scale found = fit_noise(measured, stated);
  EXPECT_NEAR(found.velocity, 1.0, 0.03);
  EXPECT_NEAR(found.memory.velocity, 2.0, 1e-12);
}

TEST(noise_scale_test, holds_the_contradiction_against_what_is_stated) {
  EXPECT_NEAR(fit_noise(noise_of(noise_cases[0]), stated).ratio, 1.0, 1e-12);
  measured_noise twice = noise_of(noise_cases[0]);
  for (auto &group : twice.mean_square) {
    for (double &mean_square : group) mean_square *= 4.0;
  }
  EXPECT_NEAR(fit_noise(twice, stated).ratio, 2.0, 1e-12);
  // Only that over a second counts.
  measured_noise over_a_second = noise_of(noise_cases[0]);
  for (auto &group : over_a_second.mean_square) group[2] *= 4.0;
  EXPECT_NEAR(fit_noise(over_a_second, stated).ratio, 2.0, 1e-12);
}

// It is the first that is tried, and a fit of what fits already changes nothing.
TEST(noise_scale_test, finds_the_stated_noise_exactly) {
  const noise_scale found = fit_noise(noise_of(noise_cases[0]), stated);
  EXPECT_NEAR(found.velocity, 1.0, 1e-9);
  EXPECT_NEAR(found.wander[0], 0.3, 1e-9);
  EXPECT_NEAR(found.wander[1], 0.3, 1e-9);
  EXPECT_NEAR(found.memory.velocity, 2.0, 1e-9);
}

// What is measured is 1, 1, 1 and 4 times what is stated over the four spans, horizontally, and 3 times, vertically. With
// one kind of error, its squared factor is the mean of these, weighted with the number of independent spans. In a short
// stretch the correlation time is the usual one.
TEST(noise_scale_test, weights_spans_and_axes_by_the_number_of_independent_ones) {
  const double horizontal[] = {1.0, 1.0, 1.0, 4.0};
  const double vertical = 3.0;
  double sum = 0.0;
  double weights = 0.0;
  measured_noise of_velocity = noise_of(noise_cases[0]);
  of_velocity.duration = 1e-6;
  measured_noise of_wander = of_velocity;
  for (std::size_t j = 0; j < 4; ++j) {
    const double span = of_velocity.seconds[j];
    const double weight = 1.0 / (span + 2.0);
    sum += weight * horizontal[j];
    weights += weight;
    const double from_velocity = stated.velocity * integrated(0.1, span, 2.0);
    of_velocity.mean_square[0][j] = horizontal[j] * from_velocity;
    of_velocity.mean_square[1][j] = vertical * from_velocity;
    const double wandered = 2.0 * (1.0 - std::exp(-span / 60.0));
    of_wander.mean_square[0][j] = horizontal[j] * stated.position[0] * wandered;
    of_wander.mean_square[1][j] = vertical * stated.position[1] * wandered;
  }
  const double mean = sum / weights;
  EXPECT_NEAR(fit_noise(of_velocity, {stated.velocity, {}}).velocity, std::sqrt((2.0 * mean + vertical) / 3.0), 1e-9);
  const noise_scale found = fit_noise(of_wander, {0.0, stated.position});
  EXPECT_NEAR(found.wander[0], std::sqrt(mean), 1e-9);
  EXPECT_NEAR(found.wander[1], std::sqrt(vertical), 1e-9);
}

// Positions wander so far horizontally that only the vertical axis shows how long errors of the velocity last.
TEST(noise_scale_test, seeks_the_correlation_time_along_the_vertical_axis_too) {
  measured_noise measured = noise_of(noise_cases[0]);
  measured.duration = 1e6;
  constexpr stated_noise wandering = {0.03, {1e6, 1e-9}};
  for (std::size_t j = 0; j < 4; ++j) {
    const double span = measured.seconds[j];
    measured.mean_square[0][j] = 0.09 * wandering.position[0] * 2.0 * (1.0 - std::exp(-span / 60.0));
    measured.mean_square[1][j] = wandering.velocity * integrated(0.1, span, 8.0);
  }
  EXPECT_NEAR(fit_noise(measured, wandering).memory.velocity, 8.0, 1e-9);
}

// Mean squares that no noise fits exactly. The expected factors were computed by a second program, from sums over all
// pairs of samples. Eight rounds of twelve sweeps find eight of their digits, and these must not change either.
TEST(noise_scale_test, finds_the_same_digits_where_nothing_fits_exactly) {
  measured_noise measured;
  measured.duration = 30.0;
  measured.seconds = {0.1, 0.4, 1.0, 3.0};
  for (std::size_t j = 0; j < 4; ++j) {
    measured.mean_square[0][j] = 0.02 * std::pow(measured.seconds[j], 1.2);
    measured.mean_square[1][j] = 0.03 * std::pow(measured.seconds[j], 1.6);
  }
  const noise_scale found = fit_noise(measured, stated);
  EXPECT_NEAR(found.velocity, 0.625301293102788, 1e-11);
  EXPECT_NEAR(found.wander[0], 0.806474882164317, 1e-11);
  EXPECT_NEAR(found.wander[1], 0.400784738620975, 1e-11);
}

// Spans of 1e20 s have forgotten every error of the velocity, and their misfit of 1e19 outweighs what is usual.
TEST(noise_scale_test, takes_the_shortest_of_correlation_times_that_fit_equally_well) {
  measured_noise measured;
  measured.step = 1e20;
  measured.duration = 1e40;
  measured.seconds = {1e20, 1e20, 1e20, 1e20};
  measured.mean_square = {{{1.0, 2.0, 1.0, 2.0}, {1.0, 2.0, 1.0, 2.0}}};
  EXPECT_EQ(fit_noise(measured, {0.0, {0.5, 2.0}}).memory.velocity, 0.125);
}

TEST(noise_scale_test, knows_more_from_a_longer_stretch) {
  measured_noise measured = noise_of(noise_cases[0]);
  measured.duration = 30.0;
  EXPECT_EQ(fit_noise(measured, stated).degrees_of_freedom, 22);  // three axes, 30 s, errors that last 2 s either way
  measured.duration = 2.0;
  EXPECT_EQ(fit_noise(measured, stated).degrees_of_freedom, 4);
  measured.duration = 1e4;
  EXPECT_EQ(fit_noise(measured, stated).degrees_of_freedom, 200);
}

// A simulated track has no noise at all, and still no more digits than its file.
TEST(noise_scale_test, believes_no_track_to_be_perfect) {
  measured_noise measured = noise_of(noise_cases[0]);
  measured.mean_square = {};
  const noise_scale found = fit_noise(measured, stated);
  EXPECT_GE(found.velocity * std::sqrt(stated.velocity), 0.00999);
  EXPECT_GE(found.wander[0] * std::sqrt(stated.position[0] * 2.0 * 0.1 / 60.0), 0.00499);
  EXPECT_LT(found.ratio, 0.01);
}

// Recorded from the turn on: no span of 3 s fits.
TEST(noise_scale_test, does_without_the_spans_that_are_missing) {
  measured_noise measured = noise_of(noise_cases[0]);
  measured.seconds[3] = measured.mean_square[0][3] = measured.mean_square[1][3] = 0.0;
  const noise_scale found = fit_noise(measured, stated);
  EXPECT_NEAR(found.velocity, 1.0, 0.05);
  EXPECT_NEAR(found.wander[0], 0.3, 0.06);
  measured.seconds = {};
  measured.mean_square = {};
  EXPECT_TRUE(std::isfinite(fit_noise(measured, stated).velocity));
}

}  // namespace
}  // namespace tarvel
