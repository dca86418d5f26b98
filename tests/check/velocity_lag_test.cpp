#include "check/velocity_lag.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <utility>
#include <vector>

namespace tarvel {
namespace {

motion_series flown(int count, double step, const std::function<double(double)> &position,
                    const std::function<double(double)> &velocity, double horizontal_lag, double vertical_lag) {
  motion_series series;
  std::vector<gps_point> samples(static_cast<std::size_t>(count));
  EXPECT_TRUE(series_of(samples, series));
  for (std::size_t k = 0; k < series.count; ++k) {
    const double t = step * static_cast<double>(k);
    series.times[k] = t;
    for (std::size_t axis = 0; axis < axis_count; ++axis) {
      series.positions[axis][k] = position(t);
      series.velocities[axis][k] = velocity(t - (axis == axis_down ? vertical_lag : horizontal_lag));
    }
  }
  return series;
}

double dive_position(double t) { return -20.0 * std::cos(0.7 * t) / 0.7; }
double dive_velocity(double t) { return 20.0 * std::sin(0.7 * t); }

TEST(velocity_lag_test, finds_the_lag_of_either_axis) {
  for (const double step : {0.05, 0.1, 0.2}) {
    SCOPED_TRACE(step);
    const motion_series series = flown(static_cast<int>(12.0 / step), step, dive_position, dive_velocity, 0.12, 0.31);
    std::vector<double> work(2 * series.count);
    const velocity_lag lag = estimate_lag(series, 0, series.count, work);
    EXPECT_NEAR(lag.horizontal, 0.12, 0.005);
    EXPECT_NEAR(lag.vertical, 0.31, 0.005);
  }
}

TEST(velocity_lag_test, finds_a_velocity_that_is_early) {
  const motion_series series = flown(120, 0.1, dive_position, dive_velocity, -0.1, 0.0);
  std::vector<double> work(2 * series.count);
  const velocity_lag lag = estimate_lag(series, 0, series.count, work);
  EXPECT_NEAR(lag.horizontal, -0.1, 0.005);
  EXPECT_NEAR(lag.vertical, 0.0, 0.005);
}

TEST(velocity_lag_test, sees_none_where_nothing_changes) {
  const motion_series series = flown(
      100, 0.1, [](double t) { return 12.0 * t + 0.3 * std::sin(t); }, [](double) { return 12.0; }, 0.0, 0.0);
  std::vector<double> work(2 * series.count);
  const velocity_lag lag = estimate_lag(series, 0, series.count, work);
  EXPECT_EQ(lag.horizontal, 0.0);
  EXPECT_EQ(lag.vertical, 0.0);
}

// Speeds that grow by 2 m/s in a second, or by less; late by a quarter of a second.
TEST(velocity_lag_test, shows_from_changes_of_2_m_s_on) {
  for (const auto &[growth, lag] : {std::pair(2.0, 0.25), std::pair(1.9375, 0.0)}) {
    const motion_series series = flown(
        80, 0.125, [g = growth](double t) { return g * t * t / 2.0; }, [g = growth](double t) { return g * t; }, 0.25,
        0.25);
    std::vector<double> work(2 * series.count);
    EXPECT_NEAR(estimate_lag(series, 0, series.count, work).horizontal, lag, 1e-9) << growth;
    EXPECT_NEAR(estimate_lag(series, 0, series.count, work).vertical, lag, 1e-9) << growth;
  }
}

TEST(velocity_lag_test, moves_velocities_along_a_curve) {
  std::vector<double> times;
  std::vector<double> velocities;
  for (int k = 0; k < 20; ++k) {
    times.push_back(0.2 * k);
    velocities.push_back(times.back() * times.back());
  }
  std::vector<double> moved(times.size());
  move_velocities(times, velocities, 0.15, moved);
  for (std::size_t k = 1; k < 18; ++k) EXPECT_NEAR(moved[k], (times[k] + 0.15) * (times[k] + 0.15), 1e-12) << k;
  EXPECT_EQ(moved[19], velocities[19]);
  move_velocities(times, velocities, -0.15, moved);
  for (std::size_t k = 2; k < 19; ++k) EXPECT_NEAR(moved[k], (times[k] - 0.15) * (times[k] - 0.15), 1e-12) << k;
  EXPECT_EQ(moved[0], velocities[0]);
}

TEST(velocity_lag_test, moves_nothing_across_a_gap_or_without_a_lag) {
  const std::vector<double> times = {0.0, 0.2, 5.0, 5.2};
  const std::vector<double> velocities = {1.0, 2.0, 30.0, 40.0};
  std::vector<double> moved(4);
  move_velocities(times, velocities, 0.1, moved);
  EXPECT_EQ(moved[1], 2.0);
  EXPECT_NEAR(moved[0], 1.5, 1e-9);
  EXPECT_NEAR(moved[2], 35.0, 1e-9);
  move_velocities(times, velocities, 0.0, moved);
  EXPECT_EQ(moved, velocities);
}

// The first step takes a second, the next one hardly longer.
TEST(velocity_lag_test, moves_velocities_across_a_second) {
  const std::vector<double> times = {0.0, 1.0, std::nextafter(2.0, 3.0)};
  const std::vector<double> velocities = {0.0, 10.0, 20.0};
  std::vector<double> moved(3);
  move_velocities(times, velocities, 0.5, moved);
  EXPECT_NEAR(moved[0], 5.0, 1e-12);
  EXPECT_EQ(moved[1], 10.0);
}

}  // namespace
}  // namespace tarvel
