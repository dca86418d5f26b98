#include "check/flight_draws.h"

#include <cmath>
#include <span>

namespace tarvel {

namespace {

// The offset of a position has the tails of a Student's t with so many degrees of freedom.
constexpr int offset_degrees = 4;

std::span<const double> view(const owned_array<double> &values, std::size_t count) { return {values.get(), count}; }

void set_sigmas(const noise_scale &noise, const measured_flight &flight, flight_draws &draws) {
  for (std::size_t k = 0; k < flight.series.count; ++k) {
    const gps_point &sample = flight.window.run.track[k];
    draws.velocity_sigmas[k] = noise.velocity * stated_velocity_sigma(sample);
    for (std::size_t axis = 0; axis < axis_count; ++axis) {
      const std::size_t group = group_of(axis);
      draws.position_sigmas[axis][k] = noise.wander[group] * stated_position_sigma(sample, group);
    }
  }
}

}  // namespace

bool make_room(flight_draws &draws, const measured_flight &flight) {
  const std::size_t count = flight.series.count;
  for (auto &sigmas : draws.position_sigmas) {
    if (!try_resize(sigmas, count)) return false;
  }
  for (auto &fits : draws.axes) {
    for (smoothed_axis &axis : fits) {
      if (!make_room(axis, count)) return false;
    }
  }
  for (auto &deviations : draws.deviations) {
    if (!try_resize(deviations, 3 * count)) return false;
  }
  return try_resize(draws.velocity_sigmas, count);
}

bool smooth_flight(const stated_noise &stated, const noise_scale &noise, measured_flight &flight, flight_draws &draws) {
  const std::size_t count = flight.series.count;
  draws.degrees_of_freedom = noise.degrees_of_freedom;
  const bool is_implicit = flight.window.run.gate_type == gate_type_implicit;
  set_sigmas(noise, flight, draws);
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    // A frame that is made of the run moves with it.
    draws.offset_sigmas[axis] = is_implicit ? 0.0 : std::sqrt(stated.position[group_of(axis)]);
    const axis_measurement measured = {times_of(flight.series),
                                       view(flight.series.positions[axis], count),
                                       view(flight.series.velocities[axis], count),
                                       view(draws.position_sigmas[axis], count),
                                       view(draws.velocity_sigmas, count),
                                       noise.memory};
    for (std::size_t i = 0; i < jerk_factors.size(); ++i) {
      const std::span<double> densities(flight.work.get(), count);
      if (!smooth_axis_locally(measured, jerk_factors[i], densities, draws.axes[i][axis])) return false;
    }
  }
  return true;
}

// Scale and offset are one for a whole draw.
void draw_track(flight_draws &draws, std::uint32_t draw, random_source &source, measured_flight &flight) {
  const std::array<smoothed_axis, axis_count> &axes = draws.axes[draw % jerk_factors.size()];
  const std::size_t count = flight.series.count;
  const double scale = std::sqrt(draws.degrees_of_freedom / source.chi_square(draws.degrees_of_freedom));
  // Of variance 1: that of a t with n degrees of freedom is n / (n - 2).
  const double offset_scale = std::sqrt((offset_degrees - 2) / source.chi_square(offset_degrees));
  std::array<double, axis_count> offsets{};
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    offsets[axis] = draws.offset_sigmas[axis] * offset_scale * source.normal();
    draw_deviations(axes[axis], source, {draws.deviations[axis].get(), 3 * count});
  }
  for (std::size_t k = 0; k < count; ++k) {
    std::array<double, axis_count> position{};
    std::array<double, axis_count> velocity{};
    for (std::size_t axis = 0; axis < axis_count; ++axis) {
      const motion_state state = state_of(axes[axis], k);
      const double *const deviation = draws.deviations[axis].get() + 3 * k;
      position[axis] = state.position + scale * deviation[0] + offsets[axis];
      velocity[axis] = state.velocity + scale * deviation[1];
    }
    gps_point &sample = flight.window.run.track[k];
    sample.pos_wgs84 = from_plane(flight.series.plane, position);
    sample.vel_ltp = {velocity[axis_north], velocity[axis_east], velocity[axis_down]};
  }
}

}  // namespace tarvel
