#include "check/measured_flight.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/hand_made_run.h"

namespace tarvel {
namespace {

// Samples at these times, s, with other values 0; the whole track is flown.
measured_flight flight_at(const std::vector<double> &times) {
  measured_flight flight;
  flight.window.run = run_of(std::vector<gps_point>(times.size()));
  flight.window.closely = {0, flight.window.run.track_len};
  flight.window.noise_end = flight.window.run.track_len;
  EXPECT_TRUE(fill_series(flight));
  for (std::size_t k = 0; k < times.size(); ++k) flight.series.times[k] = times[k];
  return flight;
}

std::vector<double> even_times(std::size_t count, double step) {
  std::vector<double> times;
  for (std::size_t k = 0; k < count; ++k) times.push_back(step * static_cast<double>(k));
  return times;
}

TEST(measured_flight_test, groups_horizontal_axes_and_the_vertical_one) {
  EXPECT_EQ(group_of(axis_north), 0U);
  EXPECT_EQ(group_of(axis_east), 0U);
  EXPECT_EQ(group_of(axis_down), 1U);
}

TEST(measured_flight_test, takes_what_the_logger_states_along_one_axis) {
  gps_point sample;
  sample.sacc = 3.0F;
  sample.hacc = 2.0F;
  sample.vacc = 5.0F;
  EXPECT_NEAR(stated_velocity_sigma(sample), std::sqrt(3.0), 1e-12);
  EXPECT_NEAR(stated_position_sigma(sample, 0), std::sqrt(2.0), 1e-12);
  EXPECT_EQ(stated_position_sigma(sample, 1), 5.0);
}

TEST(measured_flight_test, believes_no_logger_that_states_hardly_any_error) {
  const gps_point sample;
  EXPECT_NEAR(stated_velocity_sigma(sample), 0.02 / std::sqrt(3.0), 1e-12);
  EXPECT_NEAR(stated_position_sigma(sample, 0), 0.1 / std::sqrt(2.0), 1e-12);
  EXPECT_EQ(stated_position_sigma(sample, 1), 0.1);
}

// 1 and 7: their squares have the mean 25. The sample behind the stop does not count.
TEST(measured_flight_test, averages_the_squares_of_what_is_stated) {
  measured_flight flight = flight_at(even_times(3, 0.2));
  flight.window.noise_end = 2;
  const float stated[] = {1.0F, 7.0F, 100.0F};
  for (std::size_t k = 0; k < 3; ++k) {
    gps_point &sample = flight.window.run.track[k];
    sample.sacc = sample.hacc = sample.vacc = stated[k];
  }
  const stated_noise mean = mean_stated_noise(flight);
  EXPECT_NEAR(mean.velocity, 25.0 / 3.0, 1e-12);
  EXPECT_NEAR(mean.position[0], 25.0 / 2.0, 1e-12);
  EXPECT_NEAR(mean.position[1], 25.0, 1e-12);
}

TEST(measured_flight_test, knows_the_usual_and_the_longest_step) {
  std::vector<double> work(5);
  EXPECT_EQ(usual_step(std::vector<double>{0.0, 4.0, 5.0, 7.0}, work), 2.0);
  EXPECT_EQ(usual_step(std::vector<double>{0.0, 4.0, 5.0, 6.0, 8.0}, work), 2.0);  // the greater of the middle ones
  EXPECT_EQ(usual_step(std::vector<double>{0.0, 4.0}, work), 4.0);
  EXPECT_EQ(usual_step(std::vector<double>{1.0}, work), 0.0);
  EXPECT_EQ(longest_step(std::vector<double>{0.0, 4.0, 5.0, 7.0}), 4.0);
  EXPECT_EQ(longest_step(std::vector<double>{0.0, 1.0, 6.0}), 5.0);
  EXPECT_EQ(longest_step(std::vector<double>{1.0}), 0.0);
}

// Steady flight at 10 m/s with a jolt: within 0.4 s the acceleration grows from 0 to 25 m/s2, and so within 0.4 s.
TEST(measured_flight_test, measures_the_jerk_between_accelerations_over_0_4_s) {
  measured_flight flight = flight_at(even_times(31, 0.1));
  for (std::size_t k = 0; k < 31; ++k) {
    flight.series.velocities[axis_north][k] = 10.0;
    flight.series.velocities[axis_down][k] = k <= 10 ? 0.0 : k <= 14 ? 2.5 * static_cast<double>(k - 10) : 10.0;
  }
  EXPECT_NEAR(measure_jerk(flight), 62.5, 1e-9);
}

// From 10 m/s to 20 m/s down within one step: the accelerations differ by 10 m/s over the step, which is also the time
// between their middles.
TEST(measured_flight_test, measures_no_jerk_over_more_than_1_2_s) {
  for (const double step : {0.59, 0.61}) {
    measured_flight flight = flight_at(even_times(3, step));
    for (std::size_t k = 0; k < 3; ++k) flight.series.velocities[axis_north][k] = 10.0;
    flight.series.velocities[axis_down][2] = 10.0;
    EXPECT_NEAR(measure_jerk(flight), step < 0.6 ? 10.0 / step / step : 0.0, 1e-9) << step;
  }
}

// The jolt is that of a landing at less than 10 m/s.
TEST(measured_flight_test, measures_no_jerk_of_landings) {
  for (const double speed : {10.0, std::nextafter(10.0, 0.0)}) {
    measured_flight flight = flight_at(even_times(9, 0.1));
    for (std::size_t k = 0; k < 9; ++k) {
      flight.series.velocities[axis_north][k] = speed;
      flight.series.velocities[axis_down][k] = k <= 4 ? 0.0 : 10.0 * static_cast<double>(k - 4);
    }
    EXPECT_NEAR(measure_jerk(flight), speed == 10.0 ? 250.0 : 0.0, 1e-9) << speed;
  }
}

// The same of positions that jump: their steps over 1, 4, 10 and 30 samples at a velocity of 0.
TEST(measured_flight_test, measures_the_noise_of_steps_over_the_spans) {
  constexpr std::size_t count = 100;
  measured_flight flight = flight_at(even_times(count, 0.1));
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    for (std::size_t k = 0; k < count; ++k) {
      flight.series.positions[axis][k] = std::sin(static_cast<double>((axis + 1) * k * k));
    }
  }
  measured_noise by_hand;
  by_hand.step = 0.1;
  by_hand.duration = flight.series.times[count - 1];
  const std::size_t samples[] = {1, 4, 10, 30};
  for (std::size_t j = 0; j < 4; ++j) {
    const std::size_t steps = count - samples[j];
    by_hand.seconds[j] = 0.1 * static_cast<double>(samples[j]);
    for (std::size_t axis = 0; axis < axis_count; ++axis) {
      double sum = 0.0;
      for (std::size_t k = 0; k < steps; ++k) {
        const double moved = flight.series.positions[axis][k + samples[j]] - flight.series.positions[axis][k];
        sum += moved * moved;
      }
      const double mean = sum / static_cast<double>(steps);
      if (axis == axis_down) {
        by_hand.mean_square[1][j] = mean;
      } else {
        by_hand.mean_square[0][j] += mean / 2.0;
      }
    }
  }
  constexpr stated_noise stated = {0.03, {0.5, 2.0}};
  const noise_scale expected = fit_noise(by_hand, stated);
  const noise_scale found = measure_noise(flight, stated, 0.1);
  EXPECT_NEAR(found.velocity, expected.velocity, 1e-9 * expected.velocity);
  EXPECT_NEAR(found.wander[0], expected.wander[0], 1e-9 * expected.wander[0]);
  EXPECT_NEAR(found.wander[1], expected.wander[1], 1e-9 * expected.wander[1]);
  EXPECT_EQ(found.memory.velocity, expected.memory.velocity);
  EXPECT_NEAR(found.ratio, expected.ratio, 1e-9 * expected.ratio);
}

// Steps of 0 to 100 m to the north: over a second nineteen in twenty are shorter than 95 m.
TEST(measured_flight_test, measures_the_contradiction_over_a_second) {
  measured_flight flight = flight_at(even_times(102, 1.0));
  for (std::size_t k = 1; k < 102; ++k) {
    flight.series.positions[axis_north][k] = flight.series.positions[axis_north][k - 1] + static_cast<double>(k - 1);
  }
  EXPECT_NEAR(measure_contradiction(flight), 95.0, 1e-9);
}

// Positions that jump from sample to sample: the steps over 4, 10 and 30 samples, the median of those up to the stop.
TEST(measured_flight_test, compares_the_greatest_step_over_a_span_with_the_median) {
  constexpr std::size_t count = 100;
  constexpr std::size_t end = 80;
  for (std::size_t seed = 1; seed <= 20; ++seed) {
    measured_flight flight = flight_at(even_times(count, 0.1));
    flight.window.noise_end = end;
    for (std::size_t k = 0; k < count; ++k) {
      flight.series.positions[axis_east][k] = std::sin(static_cast<double>(seed * k * k));
    }
    double peak = 0.0;
    for (const std::size_t span : {4U, 10U, 30U}) {
      std::vector<double> steps;
      for (std::size_t k = 0; k + span < count; ++k) {
        steps.push_back(
            std::fabs(flight.series.positions[axis_east][k + span] - flight.series.positions[axis_east][k]));
      }
      const double greatest = *std::max_element(steps.begin(), steps.end());
      steps.resize(end - span);
      std::sort(steps.begin(), steps.end());
      peak = std::max(peak, greatest / steps[steps.size() / 2]);
    }
    EXPECT_NEAR(measure_peak(flight), peak, 1e-9) << seed;
  }
}

// Third differences of 8 along one axis of three.
TEST(measured_flight_test, averages_the_roughness_of_the_axes) {
  measured_flight flight = flight_at(even_times(20, 0.2));
  for (std::size_t k = 0; k < 20; ++k) flight.series.velocities[axis_east][k] = k % 2 == 0 ? 1.0 : -1.0;
  EXPECT_NEAR(measure_roughness(flight), 8.0 / 3.0, 1e-12);
}

// Late by less than 0.03 s, or by more, in a dive.
TEST(measured_flight_test, takes_out_lags_from_0_03_s_on) {
  for (const double lag : {0.029, 0.031}) {
    SCOPED_TRACE(lag);
    measured_flight flight = flight_at(even_times(200, 0.05));
    flight.window.run.top_of_turn = 100;
    for (std::size_t k = 0; k < 200; ++k) {
      const double t = flight.series.times[k];
      for (std::size_t axis = 0; axis < axis_count; ++axis) {
        flight.series.positions[axis][k] = -20.0 * std::cos(0.7 * t) / 0.7;
        flight.series.velocities[axis][k] = 20.0 * std::sin(0.7 * (t - lag));
      }
    }
    const double measured = flight.series.velocities[axis_down][150];
    const velocity_lag found = take_out_lag(flight);
    EXPECT_NEAR(found.horizontal, lag, 0.0005);
    EXPECT_NEAR(found.vertical, lag, 0.0005);
    EXPECT_EQ(flight.series.velocities[axis_down][150] == measured, lag < 0.03);
    EXPECT_EQ(flight.series.velocities[axis_north][150] == measured, lag < 0.03);
  }
}

}  // namespace
}  // namespace tarvel
