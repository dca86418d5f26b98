#include "check/flight_draws.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace tarvel {

namespace {

// The offset of the positions has a Student's t distribution with this many degrees of freedom.
constexpr int offset_degrees = 4;

constexpr double node_step = shortest_node_step - 1e-6;  // s; clocks have whole milliseconds

std::span<const double> view(const owned_array<double> &values, std::size_t count) { return {values.get(), count}; }

// Counts the nodes, and fills their indices where there is room for them.
std::size_t find_nodes(const motion_series &series, std::uint32_t *indices) {
  std::size_t count = 0;
  double latest = 0.0;
  for (std::size_t k = 0; k < series.count; ++k) {
    const bool is_end = k == 0 || k + 1 == series.count;
    if (!is_end && series.times[k] - latest < node_step) continue;
    latest = series.times[k];
    if (indices != nullptr) indices[count] = static_cast<std::uint32_t>(k);
    ++count;
  }
  return count;
}

void take_nodes(const motion_series &series, flight_draws &draws) {
  for (std::size_t j = 0; j < draws.nodes.count; ++j) {
    const std::size_t k = draws.node_samples[j];
    draws.nodes.times[j] = series.times[k];
    for (std::size_t axis = 0; axis < axis_count; ++axis) {
      draws.nodes.positions[axis][j] = series.positions[axis][k];
      draws.nodes.velocities[axis][j] = series.velocities[axis][k];
    }
  }
}

// A minute after the stop, where the pilot's place of rest is measured, positions no longer have the offset of the run.
// Their standard deviation is then at least this factor times the stated one.
constexpr double same_offset = 60.0;  // s
constexpr double later_offset = 2.0;

void set_sigmas(const noise_scale &noise, const measured_flight &flight, flight_draws &draws) {
  for (std::size_t k = 0; k < draws.nodes.count; ++k) {
    const gps_point &sample = flight.window.run.track[draws.node_samples[k]];
    const bool is_later = draws.nodes.times[k] - flown_times(flight).back() > same_offset;
    draws.velocity_sigmas[k] = noise.velocity * stated_velocity_sigma(sample);
    for (std::size_t axis = 0; axis < axis_count; ++axis) {
      const std::size_t group = group_of(axis);
      draws.position_sigmas[axis][k] = (is_later ? std::max(noise.wander[group], later_offset) : noise.wander[group]) *
                                       stated_position_sigma(sample, group);
    }
  }
}

// Position and velocity t seconds after the first of two states, on the polynomial of least jerk between them;
// `seconds` is the time from one to the other.
motion_state state_between(const motion_state &from, const motion_state &to, double seconds, double t) {
  const double d = seconds;
  const double position = to.position - (from.position + from.velocity * d + from.acceleration * d * d / 2.0);
  const double velocity = (to.velocity - (from.velocity + from.acceleration * d)) * d;
  const double acceleration = (to.acceleration - from.acceleration) * d * d;
  const double third = 10.0 * position - 4.0 * velocity + 0.5 * acceleration;
  const double fourth = -15.0 * position + 7.0 * velocity - acceleration;
  const double fifth = 6.0 * position - 3.0 * velocity + 0.5 * acceleration;
  const double u = t / d;
  const double bend = u * u * u * (third + u * (fourth + u * fifth));
  const double slope = u * u * (3.0 * third + u * (4.0 * fourth + u * 5.0 * fifth)) / d;
  return {from.position + from.velocity * t + from.acceleration * t * t / 2.0 + bend,
          from.velocity + from.acceleration * t + slope, 0.0};
}

// Fills states with those of one drawn flight along an axis.
void draw_states(const smoothed_axis &axis, double scale, double offset, random_source &source,
                 std::span<double> states) {
  draw_deviations(axis, source, states);
  for (std::size_t i = 0; i < states.size(); ++i) states[i] = axis.states[i] + scale * states[i];
  for (std::size_t i = 0; i < states.size(); i += 3) states[i] += offset;
}

motion_state node_state(const owned_array<double> &states, std::size_t j) {
  return {states[3 * j], states[3 * j + 1], states[3 * j + 2]};
}

void set_sample(const motion_series &series, const std::array<motion_state, axis_count> &state, gps_point &sample) {
  sample.pos_wgs84 =
      from_plane(series.plane, {state[axis_north].position, state[axis_east].position, state[axis_down].position});
  sample.vel_ltp = {state[axis_north].velocity, state[axis_east].velocity, state[axis_down].velocity};
}

// Sets the window's samples from the states at the nodes.
void set_samples(const flight_draws &draws, measured_flight &flight) {
  std::size_t j = 0;
  for (std::size_t k = 0; k < flight.series.count; ++k) {
    if (j + 1 < draws.nodes.count && draws.node_samples[j + 1] == k) ++j;
    std::array<motion_state, axis_count> state;
    for (std::size_t axis = 0; axis < axis_count; ++axis) {
      state[axis] = node_state(draws.states[axis], j);
      if (draws.node_samples[j] == k) continue;
      const double seconds = draws.nodes.times[j + 1] - draws.nodes.times[j];
      state[axis] = state_between(state[axis], node_state(draws.states[axis], j + 1), seconds,
                                  flight.series.times[k] - draws.nodes.times[j]);
    }
    set_sample(flight.series, state, flight.window.run.track[k]);
  }
}

}  // namespace

bool make_room(flight_draws &draws, const measured_flight &flight) {
  const std::size_t count = find_nodes(flight.series, nullptr);
  draws.nodes.count = count;
  if (!make_room(draws.nodes, count) || !try_resize(draws.node_samples, count)) return false;
  for (auto &sigmas : draws.position_sigmas) {
    if (!try_resize(sigmas, count)) return false;
  }
  for (auto &fits : draws.axes) {
    for (smoothed_axis &axis : fits) {
      if (!make_room(axis, count)) return false;
    }
  }
  for (auto &states : draws.states) {
    if (!try_resize(states, 3 * count)) return false;
  }
  return try_resize(draws.velocity_sigmas, count);
}

bool smooth_flight(const stated_noise &stated, const noise_scale &noise, measured_flight &flight, flight_draws &draws) {
  const std::size_t count = draws.nodes.count;
  find_nodes(flight.series, draws.node_samples.get());
  take_nodes(flight.series, draws);
  draws.degrees_of_freedom = noise.degrees_of_freedom;
  const bool is_implicit = flight.window.run.gate_type == gate_type_implicit;
  set_sigmas(noise, flight, draws);
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    // A frame that is made from the run moves with the offset. The offset cannot be estimated from the track: where the
    // speed errors are greater than stated, the offset is assumed to be greater by the same factor.
    draws.offset_sigmas[axis] =
        is_implicit ? 0.0 : std::max(noise.velocity, 1.0) * std::sqrt(stated.position[group_of(axis)]);
    const axis_measurement measured = {times_of(draws.nodes),
                                       view(draws.nodes.positions[axis], count),
                                       view(draws.nodes.velocities[axis], count),
                                       view(draws.position_sigmas[axis], count),
                                       view(draws.velocity_sigmas, count),
                                       noise.memory};
    const std::span<double> densities(flight.work.get(), count);
    for (std::size_t i = 0; i < jerk_factors.size(); ++i) {
      if (!smooth_axis_locally(measured, jerk_factors[i], densities, draws.axes[i][axis])) return false;
    }
  }
  return true;
}

// The noise scale and the offset are the same for all samples of a draw.
void draw_track(flight_draws &draws, std::uint32_t draw, random_source &source, measured_flight &flight) {
  const std::array<smoothed_axis, axis_count> &axes = draws.axes[draw % jerk_factors.size()];
  const double scale = std::sqrt(draws.degrees_of_freedom / source.chi_square(draws.degrees_of_freedom));
  // For a variance of 1: a t distribution with n degrees of freedom has the variance n / (n - 2).
  const double offset_scale = std::sqrt((offset_degrees - 2) / source.chi_square(offset_degrees));
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    const double offset = draws.offset_sigmas[axis] * offset_scale * source.normal();
    draw_states(axes[axis], scale, offset, source, {draws.states[axis].get(), 3 * draws.nodes.count});
  }
  set_samples(draws, flight);
}

}  // namespace tarvel
