#include "check/velocity_lag.h"

#include <algorithm>
#include <cmath>

#include "check/contradiction.h"

namespace tarvel {

namespace {

constexpr double lag_span = 1.0;  // s
constexpr int lag_rounds = 4;
constexpr double greatest_lag = 1.0;        // s; a greater estimate is reduced to this
constexpr double farthest_neighbour = 1.0;  // s
constexpr double least_change = 2.0;        // m/s, root mean square over a span: less shows no lag

// The sums from which a least-squares slope is computed.
struct slope_sums {
  double products = 0.0;
  double squares = 0.0;
  std::size_t count = 0;
};

void add_spans(std::span<const double> times, std::span<const double> drift, std::span<const double> velocities,
               slope_sums &sums) {
  for (std::size_t k = 0; k < times.size(); ++k) {
    const std::size_t later = sample_after(times, k, lag_span);
    if (later >= times.size()) return;
    const double change = velocities[later] - velocities[k];
    sums.products += change * (drift[later] - drift[k]);
    sums.squares += change * change;
    ++sums.count;
  }
}

double slope_of(const slope_sums &sums) {
  const double least = least_change * least_change * static_cast<double>(sums.count);
  return sums.count != 0 && sums.squares >= least ? sums.products / sums.squares : 0.0;
}

double estimate_common_lag(const motion_series &series, std::size_t first, std::size_t end, std::size_t first_axis,
                           std::size_t end_axis, std::span<double> work) {
  const std::size_t count = end - first;
  const std::span<const double> times = times_of(series).subspan(first, count);
  const std::span<double> moved = work.first(count);
  const std::span<double> drift = work.subspan(series.count, count);
  double lag = 0.0;
  for (int round = 0; round < lag_rounds; ++round) {
    slope_sums sums;
    for (std::size_t axis = first_axis; axis < end_axis; ++axis) {
      move_velocities(times, {series.velocities[axis].get() + first, count}, lag, moved);
      accumulate_contradiction(times, {series.positions[axis].get() + first, count}, moved, drift);
      add_spans(times, drift, moved, sums);
    }
    lag = std::clamp(lag + slope_of(sums), -greatest_lag, greatest_lag);
  }
  return lag;
}

// Interpolates between the values k and k + 1 by a cubic with their slopes; part is 0 at the first and 1 at the second.
double cubic_between(std::span<const double> times, std::span<const double> values, std::size_t k, double part) {
  const double dt = times[k + 1] - times[k];
  const auto slope = [&](std::size_t i) {
    const std::size_t before = i == 0 || times[i] - times[i - 1] > farthest_neighbour ? i : i - 1;
    const std::size_t after = i + 1 == times.size() || times[i + 1] - times[i] > farthest_neighbour ? i : i + 1;
    return (values[after] - values[before]) / (times[after] - times[before]) * dt;
  };
  const double rest = 1.0 - part;
  return rest * rest * (1.0 + 2.0 * part) * values[k] + part * part * (1.0 + 2.0 * rest) * values[k + 1] +
         part * rest * (rest * slope(k) - part * slope(k + 1));
}

}  // namespace

velocity_lag estimate_lag(const motion_series &series, std::size_t first, std::size_t end, std::span<double> work) {
  return {estimate_common_lag(series, first, end, axis_north, axis_down, work),
          estimate_common_lag(series, first, end, axis_down, axis_count, work)};
}

void move_velocities(std::span<const double> times, std::span<const double> velocities, double lag,
                     std::span<double> moved) {
  for (std::size_t k = 0; k < times.size(); ++k) {
    moved[k] = velocities[k];
    if (lag == 0.0) continue;
    const double time = times[k] + lag;
    const auto later = static_cast<std::size_t>(std::upper_bound(times.begin(), times.end(), time) - times.begin());
    if (later == 0 || later == times.size()) continue;
    const double dt = times[later] - times[later - 1];
    if (dt > farthest_neighbour) continue;
    moved[k] = cubic_between(times, velocities, later - 1, (time - times[later - 1]) / dt);
  }
}

}  // namespace tarvel
