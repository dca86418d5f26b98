#include "check/measured_flight.h"

#include <algorithm>
#include <cmath>

#include "check/contradiction.h"

namespace tarvel {

namespace {

// A lag below this may be chance, and changes no figure.
constexpr double least_lag = 0.03;       // s
constexpr double lag_before_turn = 2.0;  // s; the lag is sought from there to the stop

// The least errors of a logger; smaller stated ones are replaced by these.
constexpr double least_stated_speed = 0.02;    // m/s
constexpr double least_stated_position = 0.1;  // m

// s. Positions that are pulled aside for a shorter or longer time contradict the velocities most over such a span.
constexpr std::array<double, 3> peak_spans = {0.4, 1.0, 3.0};

constexpr double jerk_span = 0.4;            // s from one acceleration to the next, over which each is the mean
constexpr double least_flying_speed = 10.0;  // m/s; below it the pilot may be landing, and an impact has any jerk

// The values at the samples of flown_times.
std::span<const double> flown(const measured_flight &flight, const owned_array<double> &values) {
  const std::size_t first = flight.window.closely.first;
  return {values.get() + first, flight.window.noise_end - first};
}

// Fills drift with the contradiction along an axis, from this sample on.
void accumulate_along(const measured_flight &flight, std::size_t axis, std::size_t first, std::span<double> drift) {
  accumulate_contradiction(times_of(flight.series).subspan(first, drift.size()),
                           {flight.series.positions[axis].get() + first, drift.size()},
                           {flight.series.velocities[axis].get() + first, drift.size()}, drift);
}

// Adds the squared errors of the integral along an axis, from this sample on.
void add_errors_along(const measured_flight &flight, std::size_t axis, std::size_t first, std::span<double> errors) {
  add_integration_errors(times_of(flight.series).subspan(first, errors.size()),
                         {flight.series.velocities[axis].get() + first, errors.size()}, errors);
}

// Two seconds before the turn.
std::size_t first_of_lag(const measured_flight &flight) {
  const std::size_t turn = flight.window.run.top_of_turn;
  const owned_array<double> &times = flight.series.times;
  std::size_t first = turn;
  while (first > flight.window.closely.first && times[turn] - times[first] < lag_before_turn) --first;
  return first;
}

double speed_at(const motion_series &series, std::size_t k) {
  double sum = 0.0;
  for (const owned_array<double> &axis : series.velocities) sum += axis[k] * axis[k];
  return std::sqrt(sum);
}

// The jerk from sample k to twice jerk_span after it, m/s3; 0 where the flight ends before, or samples are missing.
double jerk_at(const measured_flight &flight, std::size_t k) {
  const std::span<const double> times = times_of(flight.series).first(flight.window.noise_end);
  const std::size_t middle = sample_after(times, k, jerk_span);
  const std::size_t last = middle < times.size() ? sample_after(times, middle, jerk_span) : middle;
  if (last >= times.size() || times[last] - times[k] > 3.0 * jerk_span) return 0.0;
  double sum = 0.0;
  for (const owned_array<double> &velocities : flight.series.velocities) {
    const double before = (velocities[middle] - velocities[k]) / (times[middle] - times[k]);
    const double behind = (velocities[last] - velocities[middle]) / (times[last] - times[middle]);
    sum += (behind - before) * (behind - before);
  }
  return std::sqrt(sum) / ((times[last] - times[k]) / 2.0);
}

}  // namespace

bool fill_series(measured_flight &flight) {
  return series_of(samples_of(flight.window.run), flight.series) && try_resize(flight.work, 4 * flight.series.count);
}

double stated_velocity_sigma(const gps_point &sample) {
  return std::max(static_cast<double>(sample.sacc), least_stated_speed) * stated_velocity_part;
}

double stated_position_sigma(const gps_point &sample, std::size_t group) {
  if (group == 1) return std::max(static_cast<double>(sample.vacc), least_stated_position);
  return std::max(static_cast<double>(sample.hacc), least_stated_position) * stated_horizontal_part;
}

stated_noise mean_stated_noise(const measured_flight &flight) {
  stated_noise stated;
  const auto count = static_cast<double>(flown_times(flight).size());
  for (std::size_t k = flight.window.closely.first; k < flight.window.noise_end; ++k) {
    const gps_point &sample = flight.window.run.track[k];
    stated.velocity += stated_velocity_sigma(sample) * stated_velocity_sigma(sample) / count;
    for (std::size_t group = 0; group < 2; ++group) {
      stated.position[group] += stated_position_sigma(sample, group) * stated_position_sigma(sample, group) / count;
    }
  }
  return stated;
}

velocity_lag take_out_lag(measured_flight &flight) {
  motion_series &series = flight.series;
  const std::span<double> work(flight.work.get(), 2 * series.count);
  const velocity_lag found = estimate_lag(series, first_of_lag(flight), flight.window.noise_end, work);
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    const double lag = group_of(axis) == 0 ? found.horizontal : found.vertical;
    if (!(std::fabs(lag) >= least_lag)) continue;
    const std::span<double> moved = work.first(series.count);
    move_velocities(times_of(series), {series.velocities[axis].get(), series.count}, lag, moved);
    std::copy(moved.begin(), moved.end(), series.velocities[axis].get());
  }
  return found;
}

noise_scale measure_noise(measured_flight &flight, const stated_noise &stated, double step) {
  const std::span<const double> times = flown_times(flight);
  const std::span<double> drift(flight.work.get(), times.size());
  measured_noise measured;
  measured.duration = times.back() - times.front();
  measured.step = step;
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    accumulate_along(flight, axis, flight.window.closely.first, drift);
    const std::size_t group = group_of(axis);
    for (std::size_t j = 0; j < contradiction_spans.size(); ++j) {
      const span_contradiction found = contradiction_over(times, drift, contradiction_spans[j]);
      measured.seconds[j] = found.seconds;
      measured.mean_square[group][j] += found.mean_square / (group == 0 ? 2.0 : 1.0);
    }
  }
  return fit_noise(measured, stated);
}

double measure_peak(measured_flight &flight) {
  const auto [first, end] = flight.window.closely;
  const std::size_t count = end - first;
  const std::span<const double> times = times_of(flight.series).subspan(first, count);
  const std::span<double> drift(flight.work.get(), count);
  const std::span<double> squared_errors(drift.data() + count, count);
  const std::span<double> work(squared_errors.data() + count, count);
  double peak = 0.0;
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    accumulate_along(flight, axis, first, drift);
    std::fill(squared_errors.begin(), squared_errors.end(), 0.0);
    add_errors_along(flight, axis, first, squared_errors);
    for (const double span : peak_spans) {
      peak = std::max(peak, contradiction_peak(times, drift, squared_errors, flown_times(flight).size(), span, work));
    }
  }
  return peak;
}

double measure_jerk(const measured_flight &flight) {
  double greatest = 0.0;
  for (std::size_t k = flight.window.closely.first; k < flight.window.noise_end; ++k) {
    if (speed_at(flight.series, k) < least_flying_speed) continue;
    greatest = std::max(greatest, jerk_at(flight, k));
  }
  return greatest;
}

double measure_contradiction(measured_flight &flight) {
  constexpr double most = 0.95;
  const std::span<const double> times = flown_times(flight);
  const std::span<double> north(flight.work.get(), times.size());
  const std::span<double> east(north.data() + times.size(), times.size());
  const std::span<double> squared_errors(east.data() + times.size(), times.size());
  const std::span<double> work(squared_errors.data() + times.size(), times.size());
  std::fill(squared_errors.begin(), squared_errors.end(), 0.0);
  for (const std::size_t axis : {axis_north, axis_east}) {
    const std::span<double> drift = axis == axis_north ? north : east;
    accumulate_along(flight, axis, flight.window.closely.first, drift);
    add_errors_along(flight, axis, flight.window.closely.first, squared_errors);
  }
  return contradiction_quantile(times, north, east, squared_errors, contradiction_spans[one_second], most, work);
}

double measure_roughness(measured_flight &flight) {
  double sum = 0.0;
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    const std::span<const double> velocities = flown(flight, flight.series.velocities[axis]);
    sum += roughness_of(velocities, {flight.work.get(), velocities.size()});
  }
  return sum / static_cast<double>(axis_count);
}

double usual_step(std::span<const double> times, std::span<double> work) {
  if (times.size() < 2) return 0.0;
  const std::span<double> steps = work.first(times.size() - 1);
  for (std::size_t k = 0; k < steps.size(); ++k) steps[k] = times[k + 1] - times[k];
  const auto median = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
  std::nth_element(steps.begin(), median, steps.end());
  return *median;
}

double longest_step(std::span<const double> times) {
  double longest = 0.0;
  for (std::size_t k = 1; k < times.size(); ++k) longest = std::max(longest, times[k] - times[k - 1]);
  return longest;
}

}  // namespace tarvel
