#include "check/run_check.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "check/axis_smoother.h"
#include "check/check_window.h"
#include "check/contradiction.h"
#include "check/motion_series.h"
#include "check/random_draws.h"

namespace tarvel {

namespace {

// A lag below this is chance, and nothing to a figure.
constexpr double least_lag = 0.03;   // s
constexpr double before_turn = 2.0;  // s; the lag is sought from there to the stop

constexpr double greatest_ratio = 1.5;
constexpr double shortest_memory = 0.5;  // s
// White errors of the velocity hardly contradict the position, but show from sample to sample.
constexpr double greatest_roughness = 4.0;

// A gap is more than half a second and more than half as long again as the usual step.
constexpr double least_gap = 0.5;
constexpr double usual_steps = 1.6;

constexpr std::uint32_t most_samples = 50000;

// How strongly the jerk is followed; a third of the draws each. Each of them alone held the truth of fewer runs.
constexpr std::array<double, 3> jerk_factors = {0.2, 0.08, 0.5};

constexpr double other_turn = 45.0;  // degrees

// A logger's statement that cannot be true.
constexpr double least_stated_speed = 0.02;    // m/s
constexpr double least_stated_position = 0.1;  // m

// The offset of a position has the tails of a Student's t with so many degrees of freedom.
constexpr int offset_degrees = 4;

using axis_values = std::array<double, axis_count>;

// Everything the draws need.
struct draw_room {
  check_window window;
  motion_series series;
  std::array<owned_array<double>, axis_count> position_sigmas;
  owned_array<double> velocity_sigmas;
  std::array<std::array<smoothed_axis, axis_count>, jerk_factors.size()> axes;
  std::array<owned_array<double>, axis_count> deviations;
  owned_array<double> work;   // twice the series
  owned_array<double> drawn;  // a row of draws for each figure
  axis_values offset_sigmas{};
};

std::size_t group_of(std::size_t axis) { return axis == axis_down ? 1 : 0; }

double velocity_sigma(const gps_point &sample) {
  return std::max(static_cast<double>(sample.sacc), least_stated_speed) * stated_velocity_part;
}

double position_sigma(const gps_point &sample, std::size_t group) {
  if (group == 1) return std::max(static_cast<double>(sample.vacc), least_stated_position);
  return std::max(static_cast<double>(sample.hacc), least_stated_position) * stated_horizontal_part;
}

bool make_room(draw_room &room, std::uint32_t draws) {
  const std::size_t count = room.window.run.track_len;
  if (!series_of(samples_of(room.window.run), room.series)) return false;
  for (auto &sigmas : room.position_sigmas) {
    if (!try_resize(sigmas, count)) return false;
  }
  for (auto &fits : room.axes) {
    for (smoothed_axis &axis : fits) {
      if (!make_room(axis, count)) return false;
    }
  }
  for (auto &deviations : room.deviations) {
    if (!try_resize(deviations, 3 * count)) return false;
  }
  return try_resize(room.velocity_sigmas, count) && try_resize(room.work, 2 * count) &&
         try_resize(room.drawn, figure_count * std::max(draws, std::uint32_t{1}));
}

std::span<const double> view(const owned_array<double> &values, std::size_t count) { return {values.get(), count}; }

bool times_increase(const motion_series &series) {
  for (std::size_t k = 1; k < series.count; ++k) {
    if (!(series.times[k] > series.times[k - 1])) return false;
  }
  return true;
}

bool is_finite(const swoop &run, const motion_series &series) {
  for (const gps_point &sample : samples_of(run)) {
    if (!std::isfinite(sample.sacc) || !std::isfinite(sample.hacc) || !std::isfinite(sample.vacc)) return false;
  }
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    for (std::size_t k = 0; k < series.count; ++k) {
      if (!std::isfinite(series.positions[axis][k]) || !std::isfinite(series.velocities[axis][k])) return false;
    }
  }
  return true;
}

// The samples from before the turn to the stop: [first, noise_end).
std::span<const double> flown_times(const draw_room &room) {
  return times_of(room.series).subspan(room.window.closely.first, room.window.noise_end - room.window.closely.first);
}

double usual_step(std::span<const double> times) {
  return times.size() < 2 ? 0.0 : (times.back() - times.front()) / static_cast<double>(times.size() - 1);
}

double longest_step(std::span<const double> times) {
  double longest = 0.0;
  for (std::size_t k = 1; k < times.size(); ++k) longest = std::max(longest, times[k] - times[k - 1]);
  return longest;
}

void take_out_lag(draw_room &room, run_check &check) {
  motion_series &series = room.series;
  const swoop &run = room.window.run;
  std::size_t first = run.top_of_turn;
  while (first > room.window.closely.first && series.times[run.top_of_turn] - series.times[first] < before_turn) {
    --first;
  }
  const std::span<double> work(room.work.get(), 2 * series.count);
  check.lag = estimate_lag(series, first, room.window.noise_end, work);
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    const double lag = group_of(axis) == 0 ? check.lag.horizontal : check.lag.vertical;
    if (!(std::fabs(lag) >= least_lag)) continue;
    const std::span<double> moved = work.first(series.count);
    move_velocities(times_of(series), view(series.velocities[axis], series.count), lag, moved);
    std::copy(moved.begin(), moved.end(), series.velocities[axis].get());
  }
}

// Needs the lag taken out.
noise_scale measure_noise(draw_room &room) {
  const std::size_t first = room.window.closely.first;
  const std::span<const double> times = flown_times(room);
  const std::span<double> drift(room.work.get(), times.size());
  measured_noise measured;
  measured.duration = times.back() - times.front();
  measured.step = usual_step(times);
  stated_noise stated;
  for (std::size_t k = first; k < room.window.noise_end; ++k) {
    const gps_point &sample = room.window.run.track[k];
    const auto count = static_cast<double>(times.size());
    stated.velocity += velocity_sigma(sample) * velocity_sigma(sample) / count;
    for (std::size_t group = 0; group < 2; ++group) {
      stated.position[group] += position_sigma(sample, group) * position_sigma(sample, group) / count;
    }
  }
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    accumulate_contradiction(times, {room.series.positions[axis].get() + first, times.size()},
                             {room.series.velocities[axis].get() + first, times.size()}, drift);
    const std::size_t group = group_of(axis);
    for (std::size_t j = 0; j < contradiction_spans.size(); ++j) {
      const span_contradiction found = contradiction_over(times, drift, contradiction_spans[j]);
      measured.seconds[j] = found.seconds;
      measured.mean_square[group][j] += found.mean_square / (group == 0 ? 2.0 : 1.0);
    }
  }
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    room.offset_sigmas[axis] = room.window.run.gate_type == gate_type_implicit
                                   ? 0.0  // the frame moves with it
                                   : std::sqrt(stated.position[group_of(axis)]);
  }
  return fit_noise(measured, stated);
}

// The horizontal one over a second, after the lag is taken out.
double measure_contradiction(draw_room &room) {
  constexpr double most = 0.95;
  const std::size_t first = room.window.closely.first;
  const std::span<const double> times = flown_times(room);
  const std::span<double> north(room.work.get(), times.size());
  const std::span<double> east(room.work.get() + room.series.count, times.size());
  for (const std::size_t axis : {axis_north, axis_east}) {
    accumulate_contradiction(times, {room.series.positions[axis].get() + first, times.size()},
                             {room.series.velocities[axis].get() + first, times.size()},
                             axis == axis_north ? north : east);
  }
  return contradiction_quantile(times, north, east, contradiction_spans[2], most,
                                {room.deviations[0].get(), times.size()});
}

// Needs the velocities as measured: moved ones are smoother.
double measure_roughness(draw_room &room) {
  const std::size_t first = room.window.closely.first;
  const std::size_t count = room.window.noise_end - first;
  double sum = 0.0;
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    sum += roughness_of({room.series.velocities[axis].get() + first, count}, {room.work.get(), count});
  }
  return sum / static_cast<double>(axis_count);
}

double stated_velocity_sigma(const draw_room &room) {
  double sum = 0.0;
  for (std::size_t k = room.window.closely.first; k < room.window.noise_end; ++k) {
    sum += velocity_sigma(room.window.run.track[k]);
  }
  return sum / (room.window.noise_end - room.window.closely.first);
}

bool smooth_flight(draw_room &room, const noise_scale &noise) {
  const std::size_t count = room.series.count;
  for (std::size_t k = 0; k < count; ++k) {
    const gps_point &sample = room.window.run.track[k];
    room.velocity_sigmas[k] = noise.velocity * velocity_sigma(sample);
    for (std::size_t axis = 0; axis < axis_count; ++axis) {
      const std::size_t group = group_of(axis);
      room.position_sigmas[axis][k] = noise.wander[group] * position_sigma(sample, group);
    }
  }
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    const axis_measurement measured = {times_of(room.series),
                                       view(room.series.positions[axis], count),
                                       view(room.series.velocities[axis], count),
                                       view(room.position_sigmas[axis], count),
                                       view(room.velocity_sigmas, count),
                                       noise.memory};
    for (std::size_t i = 0; i < jerk_factors.size(); ++i) {
      const std::span<double> densities(room.work.get(), count);
      if (!smooth_axis_locally(measured, jerk_factors[i], densities, room.axes[i][axis])) return false;
    }
  }
  return true;
}

// Scale and offset are one for a whole draw.
void draw_track(draw_room &room, const std::array<smoothed_axis, axis_count> &axes, int degrees,
                random_source &source) {
  const std::size_t count = room.series.count;
  const double scale = std::sqrt(degrees / source.chi_square(degrees));
  // Of variance 1: that of a t with n degrees of freedom is n / (n - 2).
  const double offset_scale = std::sqrt((offset_degrees - 2) / source.chi_square(offset_degrees));
  axis_values offsets{};
  for (std::size_t axis = 0; axis < axis_count; ++axis) {
    offsets[axis] = room.offset_sigmas[axis] * offset_scale * source.normal();
    draw_deviations(axes[axis], source, {room.deviations[axis].get(), 3 * count});
  }
  for (std::size_t k = 0; k < count; ++k) {
    axis_values position{};
    axis_values velocity{};
    for (std::size_t axis = 0; axis < axis_count; ++axis) {
      const motion_state state = state_of(axes[axis], k);
      const double *const deviation = room.deviations[axis].get() + 3 * k;
      position[axis] = state.position + scale * deviation[0] + offsets[axis];
      velocity[axis] = state.velocity + scale * deviation[1];
    }
    gps_point &sample = room.window.run.track[k];
    sample.pos_wgs84 = from_plane(room.series.plane, position);
    sample.vel_ltp = {velocity[axis_north], velocity[axis_east], velocity[axis_down]};
  }
}

// Each figure's draws that are numbers, at the beginning of its row.
struct drawn_counts {
  std::array<std::size_t, figure_count> present{};
  std::uint32_t failed = 0;
  std::uint32_t other_hand = 0;
  std::uint32_t other_degrees = 0;
};

void collect(const swoop &drawn, const swoop &run, std::uint32_t draws, double *rows, drawn_counts &counts) {
  const figure_values values = values_of(drawn);
  for (std::size_t i = 0; i < figure_count; ++i) {
    if (std::isfinite(values[i])) rows[i * draws + counts.present[i]++] = values[i];
  }
  if ((drawn.turn_degrees < 0.0) != (run.turn_degrees < 0.0)) ++counts.other_hand;
  if (!(std::fabs(drawn.turn_degrees - run.turn_degrees) < other_turn)) ++counts.other_degrees;
}

drawn_counts draw_runs(draw_room &room, const swoop &run, const check_settings &settings, int degrees) {
  drawn_counts counts;
  random_source source(settings.seed);
  for (std::uint32_t draw = 0; draw < settings.draws; ++draw) {
    draw_track(room, room.axes[draw % jerk_factors.size()], degrees, source);
    error_slot failure = nullptr;
    analyze_like(run, room.window.run, &failure);
    if (failure != nullptr) {
      ++counts.failed;
    } else {
      collect(room.window.run, run, settings.draws, room.drawn.get(), counts);
    }
  }
  return counts;
}

void fill_intervals(const drawn_counts &counts, std::uint32_t draws, double step, double *rows, run_check &check) {
  const auto part_of = [&](std::size_t count) { return static_cast<double>(count) / draws; };
  for (std::size_t i = 0; i < figure_count; ++i) {
    figure_check &figure_of_run = check.figures[i];
    figure_of_run.missing = part_of(draws - counts.present[i]);
    if (counts.present[i] == 0 || !std::isfinite(figure_of_run.value)) continue;
    const std::span<double> drawn(rows + i * draws, counts.present[i]);
    figure_of_run.range =
        containing(interval_of(drawn, widening_of(static_cast<figure>(i), step)), figure_of_run.value);
    figure_of_run.has_interval = true;
  }
  check.draws = draws;
  check.failed = part_of(counts.failed);
  check.other_hand = part_of(counts.other_hand);
  check.other_degrees = part_of(counts.other_degrees);
}

withheld reason_in(const run_check &check, double step) {
  if (check.longest_gap > std::max(least_gap, usual_steps * step)) return withheld::gap;
  if (check.noise.ratio > greatest_ratio) return withheld::contradiction;
  if (check.noise.memory.velocity < shortest_memory || check.roughness > greatest_roughness)
    return withheld::white_velocity_noise;
  return withheld::nothing;
}

}  // namespace

void check_run(const swoop &run, const check_settings &settings, run_check &check, error_slot *error) {
  check = run_check();
  const figure_values values = values_of(run);
  for (std::size_t i = 0; i < figure_count; ++i) check.figures[i].value = values[i];

  draw_room room;
  choose_window(run, room.window, error);
  if (*error) return;
  check.is_whole_track = room.window.is_whole_track;
  if (room.window.run.track_len > most_samples) {
    check.reason = withheld::too_many_samples;
    return;
  }
  if (!make_room(room, settings.draws)) {
    *error = "failed to allocate memory for swoop";
    return;
  }
  const std::span<const double> times = flown_times(room);
  check.longest_gap = longest_step(times);
  if (!times_increase(room.series) || times.size() < 3) {
    check.reason = withheld::times_out_of_order;
    return;
  }
  if (!is_finite(room.window.run, room.series)) {
    check.reason = withheld::unsolvable;
    return;
  }
  const double roughness = measure_roughness(room);
  take_out_lag(room, check);
  check.contradiction = measure_contradiction(room);
  check.noise = measure_noise(room);
  check.roughness = roughness / expected_roughness(check.noise.velocity * stated_velocity_sigma(room),
                                                   usual_step(times), check.noise.memory.velocity);
  check.reason = reason_in(check, usual_step(times));
  if (settings.draws == 0 || (check.reason != withheld::nothing && !settings.even_if_withheld)) return;
  if (!smooth_flight(room, check.noise)) {
    check.reason = withheld::unsolvable;
    return;
  }
  const drawn_counts counts = draw_runs(room, run, settings, check.noise.degrees_of_freedom);
  fill_intervals(counts, settings.draws, usual_step(times), room.drawn.get(), check);
}

}  // namespace tarvel
