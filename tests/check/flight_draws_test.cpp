#include "check/flight_draws.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <vector>

#include "support/hand_made_run.h"

namespace tarvel {
namespace {

// A curved dive at these times, s. Each third sample is stated less exactly.
measured_flight dive_at(const std::vector<double> &times) {
  std::vector<gps_point> samples(times.size());
  for (std::size_t k = 0; k < samples.size(); ++k) {
    const double t = times[k];
    gps_point &sample = samples[k];
    sample.time = std::lround(1000.0 * t);
    sample.pos_wgs84 = {48.0 + 1e-4 * std::sin(t), 11.0 - 2e-4 * std::cos(t), 600.0 - 10.0 * t + 0.3 * t * t * t};
    sample.vel_ltp = {11.1 * std::cos(t), 15.0 * std::sin(t), 10.0 - 0.9 * t * t};
    sample.sacc = sample.hacc = sample.vacc = k % 3 == 0 ? 0.8F : 0.5F;
  }
  measured_flight flight;
  flight.window.run = run_of(samples);
  flight.window.closely = {0, flight.window.run.track_len};
  flight.window.noise_end = flight.window.run.track_len;
  EXPECT_TRUE(fill_series(flight));
  return flight;
}

std::vector<double> times_of_dive(std::size_t count) {
  std::vector<double> times;
  for (std::size_t k = 0; k < count; ++k) times.push_back(0.05 * static_cast<double>(k));
  return times;
}

constexpr stated_noise stated = {0.1, {4.0, 9.0}};

flight_draws smoothed(measured_flight &flight, const noise_scale &noise) {
  flight_draws draws;
  EXPECT_TRUE(make_room(draws, flight));
  EXPECT_TRUE(smooth_flight(stated, noise, flight, draws));
  return draws;
}

TEST(flight_draws_test, has_nodes_at_both_ends_and_at_least_0_2_s_apart) {
  measured_flight flight = dive_at({0.0, 0.199, 0.2, 0.399, 0.4, 0.7, 0.75});
  const flight_draws draws = smoothed(flight, {});
  const std::vector<std::uint32_t> expected = {0, 2, 4, 5, 6};
  EXPECT_EQ(std::vector(draws.node_samples.get(), draws.node_samples.get() + draws.nodes.count), expected);
}

TEST(flight_draws_test, takes_greater_position_errors_a_minute_after_the_stop) {
  measured_flight flight = dive_at({0.0, 1.0, 2.0, 62.0, 62.5});
  flight.window.noise_end = 3;
  noise_scale noise;
  noise.velocity = 1.5;
  noise.wander = {0.3, 3.0};
  const flight_draws draws = smoothed(flight, noise);
  const double horizontal[] = {0.3, 0.3, 0.3, 0.3, 2.0};
  for (std::size_t k = 0; k < 5; ++k) {
    const auto accuracy = static_cast<double>(flight.window.run.track[k].sacc);
    EXPECT_NEAR(draws.position_sigmas[axis_north][k], horizontal[k] * accuracy / std::sqrt(2.0), 1e-12) << k;
    EXPECT_NEAR(draws.position_sigmas[axis_east][k], horizontal[k] * accuracy / std::sqrt(2.0), 1e-12) << k;
    EXPECT_NEAR(draws.position_sigmas[axis_down][k], 3.0 * accuracy, 1e-12) << k;
    EXPECT_NEAR(draws.velocity_sigmas[k], 1.5 * accuracy / std::sqrt(3.0), 1e-12) << k;
  }
}

TEST(flight_draws_test, shifts_all_positions_unless_the_frame_is_that_of_the_run) {
  const auto offsets = [](std::int32_t gate_type, double velocity) {
    measured_flight flight = dive_at(times_of_dive(21));
    flight.window.run.gate_type = gate_type;
    noise_scale noise;
    noise.velocity = velocity;
    return smoothed(flight, noise).offset_sigmas;
  };
  using sigmas = std::array<double, axis_count>;
  EXPECT_EQ(offsets(gate_type_course, 0.5), (sigmas{2.0, 2.0, 3.0}));
  EXPECT_EQ(offsets(gate_type_course, 1.5), (sigmas{3.0, 3.0, 4.5}));
  EXPECT_EQ(offsets(gate_type_implicit, 1.5), (sigmas{0.0, 0.0, 0.0}));
}

std::span<const double> values_of(const owned_array<double> &values, std::size_t count) {
  return {values.get(), count};
}

TEST(flight_draws_test, follows_the_jerk_by_three_factors) {
  measured_flight flight = dive_at(times_of_dive(81));
  const noise_scale noise;
  const flight_draws draws = smoothed(flight, noise);
  const std::size_t count = draws.nodes.count;
  const double factors[] = {0.2, 0.08, 0.5};
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    const axis_measurement measured = {times_of(draws.nodes),
                                       values_of(draws.nodes.positions[axis], count),
                                       values_of(draws.nodes.velocities[axis], count),
                                       values_of(draws.position_sigmas[axis], count),
                                       values_of(draws.velocity_sigmas, count),
                                       noise.memory};
    for (std::size_t i = 0; i < 3; ++i) {
      smoothed_axis expected;
      ASSERT_TRUE(make_room(expected, count));
      std::vector<double> densities(count);
      ASSERT_TRUE(smooth_axis_locally(measured, factors[i], densities, expected));
      for (std::size_t k = 0; k < 3 * count; ++k) EXPECT_EQ(draws.axes[i][axis].states[k], expected.states[k]) << k;
    }
  }
}

// From the source in this order: the scale of the noise, that of the offset; for each axis an offset and deviations.
TEST(flight_draws_test, draws_around_the_smoothed_flight) {
  measured_flight flight = dive_at(times_of_dive(41));
  noise_scale noise;
  noise.degrees_of_freedom = 7;
  flight_draws draws = smoothed(flight, noise);
  const std::size_t count = 3 * draws.nodes.count;
  for (std::uint32_t draw = 0; draw < 4; ++draw) {
    random_source source(draw);
    draw_track(draws, draw, source, flight);
    random_source again(draw);
    const double scale = std::sqrt(7.0 / again.chi_square(7));
    const double offset_scale = std::sqrt(2.0 / again.chi_square(4));
    for (std::size_t axis = 0; axis < axis_count; ++axis) {
      const smoothed_axis &smooth = draws.axes[draw % 3][axis];
      const double offset = draws.offset_sigmas[axis] * offset_scale * again.normal();
      std::vector<double> deviations(count);
      draw_deviations(smooth, again, deviations);
      for (std::size_t i = 0; i < count; ++i) {
        const double expected = smooth.states[i] + scale * deviations[i] + (i % 3 == 0 ? offset : 0.0);
        EXPECT_NEAR(draws.states[axis][i], expected, 1e-9) << i;
      }
    }
  }
}

motion_state drawn_state(const flight_draws &draws, std::size_t axis, std::size_t node) {
  const double *const state = draws.states[axis].get() + 3 * node;
  return {state[0], state[1], state[2]};
}

// The quintic with the states of two nodes at its ends, by Hermite's polynomials; u is 0 at the first and 1 at the
// second.
double hermite_position(const motion_state &a, const motion_state &b, double d, double u) {
  const double u3 = u * u * u;
  const double u4 = u3 * u;
  const double u5 = u4 * u;
  const double to_b = 10.0 * u3 - 15.0 * u4 + 6.0 * u5;
  return (1.0 - to_b) * a.position + to_b * b.position +
         d * ((u - 6.0 * u3 + 8.0 * u4 - 3.0 * u5) * a.velocity + (-4.0 * u3 + 7.0 * u4 - 3.0 * u5) * b.velocity) +
         d * d / 2.0 * ((u * u - 3.0 * u3 + 3.0 * u4 - u5) * a.acceleration + (u3 - 2.0 * u4 + u5) * b.acceleration);
}

double hermite_velocity(const motion_state &a, const motion_state &b, double d, double u) {
  const double u2 = u * u;
  const double u3 = u2 * u;
  const double u4 = u3 * u;
  const double to_b = 30.0 * u2 - 60.0 * u3 + 30.0 * u4;
  return to_b * (b.position - a.position) / d + (1.0 - 18.0 * u2 + 32.0 * u3 - 15.0 * u4) * a.velocity +
         (-12.0 * u2 + 28.0 * u3 - 15.0 * u4) * b.velocity +
         d / 2.0 *
             ((2.0 * u - 9.0 * u2 + 12.0 * u3 - 5.0 * u4) * a.acceleration +
              (3.0 * u2 - 8.0 * u3 + 5.0 * u4) * b.acceleration);
}

// Four samples a node, and one more that the series does not have.
TEST(flight_draws_test, sets_samples_on_quintics_between_nodes) {
  measured_flight flight = dive_at(times_of_dive(42));
  flight.series.count = flight.window.noise_end = 41;
  flight_draws draws = smoothed(flight, {});
  ASSERT_EQ(draws.nodes.count, 11U);
  const vec3 behind = flight.window.run.track[41].pos_wgs84;
  random_source source(5);
  draw_track(draws, 0, source, flight);
  for (std::size_t k = 0; k < 41; ++k) {
    const gps_point &sample = flight.window.run.track[k];
    const std::array<double, axis_count> position = to_plane(flight.series.plane, sample.pos_wgs84);
    const double velocity[] = {sample.vel_ltp.x, sample.vel_ltp.y, sample.vel_ltp.z};
    const std::size_t node = std::min<std::size_t>(k / 4, 9);
    const double u = static_cast<double>(k - 4 * node) / 4.0;
    for (std::size_t axis = 0; axis < axis_count; ++axis) {
      const motion_state a = drawn_state(draws, axis, node);
      const motion_state b = drawn_state(draws, axis, node + 1);
      EXPECT_NEAR(position[axis], hermite_position(a, b, 0.2, u), 1e-8) << k;
      EXPECT_NEAR(velocity[axis], hermite_velocity(a, b, 0.2, u), 1e-8) << k;
    }
  }
  EXPECT_EQ(flight.window.run.track[41].pos_wgs84.x, behind.x);
}

}  // namespace
}  // namespace tarvel
