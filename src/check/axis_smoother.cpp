#include "check/axis_smoother.h"

#include <algorithm>

#include "check/fixed_math.h"

namespace tarvel {

namespace {

// m/s2; a weak prior of the first acceleration, so that the system is definite.
constexpr double widest_acceleration = 30.0;

constexpr int jerk_rounds = 3;
constexpr double jerk_reach = 0.75;          // s to either side
constexpr double first_density = 25.0;       // m2/s5; a brisk turn
constexpr double least_density = 0.01;       // 0.1 squared
constexpr double greatest_density = 225.0;   // 15 squared
constexpr double longest_steady_step = 1.0;  // s; over a longer gap the jerk is not known

// Row i of the unknowns of sample k: position, velocity, acceleration.
constexpr std::size_t position_row = 0;
constexpr std::size_t velocity_row = 1;

std::size_t row_of(std::size_t sample, std::size_t quantity) { return 3 * sample + quantity; }

// The measured flight. The system is solved for small deviations from it, which lose fewer digits than coordinates.
motion_state measured_state(const axis_measurement &measured, std::size_t k) {
  const std::size_t before = k == 0 ? 0 : k - 1;
  const std::size_t after = std::min(k + 1, measured.times.size() - 1);
  const double change = measured.velocities[after] - measured.velocities[before];
  const double seconds = measured.times[after] - measured.times[before];
  return {measured.positions[k], measured.velocities[k], seconds > 0.0 ? change / seconds : 0.0};
}

// The precision of two samples dt apart under white jerk of density 1. With the transition matrix F and the covariance
// Q of the step: late is inverse(Q), early is F' inverse(Q) F and cross is -inverse(Q) F.
struct jerk_precision {
  double late[3][3];
  double early[3][3];
  double cross[3][3];  // rows of the later sample, columns of the earlier
};

jerk_precision jerk_precision_over(double dt) {
  const double r = 1.0 / dt;
  const double r2 = r * r;
  const double r3 = r2 * r;
  const double r4 = r3 * r;
  const double r5 = r4 * r;
  return {
      {{720.0 * r5, -360.0 * r4, 60.0 * r3}, {-360.0 * r4, 192.0 * r3, -36.0 * r2}, {60.0 * r3, -36.0 * r2, 9.0 * r}},
      {{720.0 * r5, 360.0 * r4, 60.0 * r3}, {360.0 * r4, 192.0 * r3, 36.0 * r2}, {60.0 * r3, 36.0 * r2, 9.0 * r}},
      {{-720.0 * r5, -360.0 * r4, -60.0 * r3},
       {360.0 * r4, 168.0 * r3, 24.0 * r2},
       {-60.0 * r3, -24.0 * r2, -3.0 * r}}};
}

void add_jerk(std::span<band_row> rows, std::span<double> pull, const axis_measurement &measured, std::size_t k,
              double density) {
  const double dt = measured.times[k + 1] - measured.times[k];
  const jerk_precision precision = jerk_precision_over(dt);
  const motion_state from = measured_state(measured, k);
  const motion_state to = measured_state(measured, k + 1);
  // The difference between the measured flight and a step without jerk.
  const double missed[3] = {to.position - (from.position + from.velocity * dt + from.acceleration * dt * dt / 2.0),
                            to.velocity - (from.velocity + from.acceleration * dt),
                            to.acceleration - from.acceleration};
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) {
      if (j <= i) {
        band_entry(rows, row_of(k, i), row_of(k, j)) += precision.early[i][j] / density;
        band_entry(rows, row_of(k + 1, i), row_of(k + 1, j)) += precision.late[i][j] / density;
      }
      band_entry(rows, row_of(k + 1, i), row_of(k, j)) += precision.cross[i][j] / density;
      pull[row_of(k, i)] -= precision.cross[j][i] * missed[j] / density;
      pull[row_of(k + 1, i)] -= precision.late[i][j] * missed[j] / density;
    }
  }
}

// The error of one quantity at sample k + 1, given that at sample k. The deviations from the measured flight have mean
// 0, so that nothing is added to the right-hand side.
void add_error_step(std::span<band_row> rows, std::span<const double> sigmas, std::size_t quantity, std::size_t k,
                    double dt, double memory) {
  const double kept = fixed_exp(-dt / memory);
  const double precision = 1.0 / (1.0 - kept * kept);
  const std::size_t from = row_of(k, quantity);
  const std::size_t to = row_of(k + 1, quantity);
  band_entry(rows, from, from) += precision * kept * kept / (sigmas[k] * sigmas[k]);
  band_entry(rows, to, to) += precision / (sigmas[k + 1] * sigmas[k + 1]);
  band_entry(rows, to, from) -= precision * kept / (sigmas[k] * sigmas[k + 1]);
}

void add_first_sample(std::span<band_row> rows, const axis_measurement &measured) {
  const double position_sigma = measured.position_sigmas[0];
  const double velocity_sigma = measured.velocity_sigmas[0];
  band_entry(rows, 0, 0) += 1.0 / (position_sigma * position_sigma);
  band_entry(rows, 1, 1) += 1.0 / (velocity_sigma * velocity_sigma);
  band_entry(rows, 2, 2) += 1.0 / (widest_acceleration * widest_acceleration);
}

std::span<band_row> rows_of(smoothed_axis &axis) { return {axis.factor.get(), 3 * axis.count}; }

// The squared jerk between samples k and k + 1.
double squared_jerk(const axis_measurement &measured, const smoothed_axis &axis, std::size_t k) {
  const double jerk = (state_of(axis, k + 1).acceleration - state_of(axis, k).acceleration) /
                      (measured.times[k + 1] - measured.times[k]);
  return jerk * jerk;
}

// The sum over a moving window is computed afresh at each sample: a running sum would keep the rounding error of a
// large jerk.
void follow_jerk(const axis_measurement &measured, const smoothed_axis &axis, double factor,
                 std::span<double> densities) {
  const std::size_t last = measured.times.size() - 1;
  std::size_t first = 0;
  std::size_t end = 0;
  for (std::size_t k = 0; k < last; ++k) {
    const double middle = (measured.times[k] + measured.times[k + 1]) / 2.0;
    while (first < k && measured.times[first] < middle - jerk_reach) ++first;
    end = std::max(end, k + 1);
    while (end < last && measured.times[end + 1] <= middle + jerk_reach) ++end;
    double sum = 0.0;
    for (std::size_t i = first; i < end; ++i) sum += squared_jerk(measured, axis, i);
    const double mean = sum / static_cast<double>(end - first);
    const bool is_gap = measured.times[k + 1] - measured.times[k] > longest_steady_step;
    densities[k] = is_gap ? greatest_density : std::clamp(factor * mean, least_density, greatest_density);
  }
}

}  // namespace

bool make_room(smoothed_axis &axis, std::size_t count) {
  if (!try_resize(axis.states, 3 * count) || !try_resize(axis.factor, 3 * count)) return false;
  axis.count = count;
  return true;
}

bool smooth_axis(const axis_measurement &measured, std::span<const double> jerk_densities, smoothed_axis &axis) {
  const std::span<band_row> rows = rows_of(axis);
  const std::span<double> pull(axis.states.get(), 3 * axis.count);
  std::fill(rows.begin(), rows.end(), band_row{});
  std::fill(pull.begin(), pull.end(), 0.0);

  add_first_sample(rows, measured);
  for (std::size_t k = 0; k + 1 < axis.count; ++k) {
    const double dt = measured.times[k + 1] - measured.times[k];
    add_jerk(rows, pull, measured, k, jerk_densities[k]);
    add_error_step(rows, measured.position_sigmas, position_row, k, dt, measured.memory.position);
    add_error_step(rows, measured.velocity_sigmas, velocity_row, k, dt, measured.memory.velocity);
  }
  if (!factor_band(rows)) return false;
  solve_lower(rows, pull);
  solve_upper(rows, pull);
  for (std::size_t k = 0; k < axis.count; ++k) {
    const motion_state from = measured_state(measured, k);
    pull[row_of(k, 0)] += from.position;
    pull[row_of(k, 1)] += from.velocity;
    pull[row_of(k, 2)] += from.acceleration;
  }
  return true;
}

bool smooth_axis_locally(const axis_measurement &measured, double factor, std::span<double> densities,
                         smoothed_axis &axis) {
  std::fill(densities.begin(), densities.end(), first_density);
  if (!smooth_axis(measured, densities, axis)) return false;
  for (int round = 0; round < jerk_rounds; ++round) {
    follow_jerk(measured, axis, factor, densities);
    if (!smooth_axis(measured, densities, axis)) return false;
  }
  return true;
}

void draw_deviations(const smoothed_axis &axis, random_source &source, std::span<double> deviations) {
  for (double &deviation : deviations) deviation = source.normal();
  solve_upper({axis.factor.get(), 3 * axis.count}, deviations);
}

}  // namespace tarvel
