#include "check/run_check.h"

#include <algorithm>
#include <cmath>

#include "check/contradiction.h"
#include "check/crossing_bounds.h"
#include "check/flight_draws.h"
#include "check/measured_flight.h"
#include "check/random_draws.h"
#include "check/turn_start.h"
#include "support/time.h"

namespace tarvel {

namespace {

constexpr double greatest_ratio = 1.5;
constexpr double longest_white_memory = 0.5;  // s
// White errors of the velocity hardly change its integral, but show as differences from sample to sample.
constexpr double greatest_roughness = 4.0;

// s. In simulated runs with a sample every 0.5 s the intervals of the phases hold; with one a second the errors of the
// integral hide the noise, and half of the intervals of the greatest speeds and of the degrees miss the truth.
constexpr double longest_measured_step = 0.6;

// A gap is more than half a second and more than half as long again as the usual step. A usual step counts as a second
// at the most: velocities are not integrated over longer ones, so that no interval contains what was flown in them.
constexpr double least_gap = 0.5;
constexpr double usual_steps = 1.6;
constexpr double longest_usual_step = 1.0;

constexpr double other_turn = 45.0;  // degrees

// In standard deviations of the velocity's noise: a smaller jolt may be noise. Of 800 simulated turns 6 had begun
// earlier than found by more than one and a half widths of the interval. With a limit of 1.5 there were 3 left, with a
// limit of 2 there was 1.
constexpr double smallest_jolt = 2.0;
// In widths of the interval: starts that lie less far before its end are among those that draws find.
constexpr double other_start = 3.0;

std::uint32_t count_unordered(const motion_series &series) {
  std::uint32_t count = 0;
  for (std::size_t k = 1; k < series.count; ++k) count += series.times[k] > series.times[k - 1] ? 0U : 1U;
  return count;
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

double mean_velocity_sigma(const measured_flight &flight) {
  double sum = 0.0;
  for (std::size_t k = flight.window.closely.first; k < flight.window.noise_end; ++k) {
    sum += stated_velocity_sigma(flight.window.run.track[k]);
  }
  return sum / (flight.window.noise_end - flight.window.closely.first);
}

// How many draws of each figure are finite; these are at the beginning of the figure's row.
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

drawn_counts draw_runs(const swoop &run, const check_settings &settings, measured_flight &flight, flight_draws &draws,
                       double *rows) {
  drawn_counts counts;
  random_source source(settings.seed);
  for (std::uint32_t draw = 0; draw < settings.draws; ++draw) {
    draw_track(draws, draw, source, flight);
    error_slot failure = nullptr;
    analyze_like(run, flight.window.run, &failure);
    if (failure != nullptr) {
      ++counts.failed;
    } else {
      collect(flight.window.run, run, settings.draws, rows, counts);
    }
  }
  return counts;
}

// The speed at touchdown is that of a stretch in which the pilot stops within a second or two.
bool is_withheld(const run_check &check, figure which) {
  if (check.reason == withheld::sparse_samples && which == figure::touchdown_speed) return true;
  return check.reason != withheld::nothing && !is_score(which);
}

void fill_intervals(const swoop &run, const drawn_counts &counts, const check_settings &settings, double *rows,
                    run_check &check) {
  const figure_values resolutions = resolutions_of(run);
  const std::uint32_t draws = settings.draws;
  // A touchdown that is not marked is the stop, and the interval of the stop says nothing about it.
  const bool is_touchdown_told = is_touchdown_marked(run) || settings.even_if_withheld;
  const auto part_of = [&](std::size_t count) { return static_cast<double>(count) / draws; };
  for (std::size_t i = 0; i < figure_count; ++i) {
    figure_check &figure_of_run = check.figures[i];
    figure_of_run.missing = part_of(draws - counts.present[i]);
    if (counts.present[i] == 0 || !std::isfinite(figure_of_run.value)) continue;
    if (!settings.even_if_withheld && is_withheld(check, static_cast<figure>(i))) continue;
    if (!is_touchdown_told && depends_on_touchdown(static_cast<figure>(i))) continue;
    const std::span<double> drawn(rows + i * draws, counts.present[i]);
    const interval range = interval_of(drawn, widening_of(static_cast<figure>(i)));
    figure_of_run.range =
        containing(containing(range, figure_of_run.value - resolutions[i]), figure_of_run.value + resolutions[i]);
    figure_of_run.has_interval = true;
  }
  check.draws = draws;
  check.failed = part_of(counts.failed);
  check.other_hand = part_of(counts.other_hand);
  check.other_degrees = part_of(counts.other_degrees);
}

// A turn may begin before a jolt that is too small to be distinguished from noise. The detector's search ends at the
// jolt, in almost every draw as well, since it needs an acceleration at each sample. When the turn without the jolt
// starts far outside of the interval, the intervals are widened to that start.
void contain_earlier_start(const swoop &run, double jolt, run_check &check) {
  const turn_figures earlier = figures_of_turn_from(run, start_before_jolts(run, jolt));
  const interval &time = check_of(check, figure::turn_time).range;
  if (!(earlier.back().value > time.high + other_start * (time.high - time.low))) return;
  for (const turn_figure &each : earlier) {
    figure_check &changed = check.figures[index_of(each.which)];
    if (changed.has_interval) changed.range = containing(changed.range, each.value);
  }
}

void bound(run_check &check, figure which, const interval &range) {
  figure_check &each = check.figures[index_of(which)];
  each.is_bounded = true;
  each.has_interval = false;
  each.range = containing(range, each.value);
}

// The draws change their speed evenly between two samples; a pilot may brake at once. Between samples that are far apart
// the difference matters.
void contain_bends(const swoop &run, run_check &check) {
  if (!(check.step > longest_measured_step) || run.entry_gate == 0) return;
  const auto widen = [&](figure which, std::uint32_t before) {
    figure_check &each = check.figures[index_of(which)];
    const interval bend = bend_at_crossing(run, before);
    each.range = containing(containing(each.range, each.value + bend.low), each.value + bend.high);
  };
  widen(figure::entry_gate_speed, run.entry_gate);
  if (run.exit_gate_time != 0) widen(figure::exit_gate_speed, run.exit_gate);
}

double greatest_usual_step(double step) {
  return std::max(least_gap, usual_steps * std::min(step, longest_usual_step));
}

// Needs both gates crossed.
void bound_carve(const swoop &run, double usual, run_check &check) {
  const crossing_bounds entry = bounds_of_crossing(run, run.entry_gate);
  const crossing_bounds exit = bounds_of_crossing(run, run.exit_gate);
  if (exit.gap > usual) bound(check, figure::exit_gate_speed, exit.speed);
  if (!(entry.gap > usual || exit.gap > usual)) return;
  check.gate_gap = std::max(entry.gap, exit.gap);
  const auto known = [&](const crossing_bounds &gate, std::int64_t time) {
    const auto at = static_cast<double>(time);
    return gate.gap > usual ? gate.time : interval{at, at};
  };
  const interval from = known(entry, run.entry_gate_time);
  const interval to = known(exit, run.exit_gate_time);
  bound(check, figure::carve_time, {std::max(to.low - from.high, 0.0) / 1000.0, (to.high - from.low) / 1000.0});
}

void bound_crossings(const swoop &run, double usual, run_check &check) {
  if (run.entry_gate == 0) return;
  const crossing_bounds entry = bounds_of_crossing(run, run.entry_gate);
  if (entry.gap > usual) {
    check.gate_gap = entry.gap;
    bound(check, figure::entry_gate_speed, entry.speed);
  }
  if (run.exit_gate_time != 0) bound_carve(run, usual, check);
}

// Finds a gap, and returns how long a step between samples may be without being one.
double find_gap(std::span<const double> times, double step, run_check &check) {
  const double usual = greatest_usual_step(step);
  const double longest = longest_step(times);
  if (longest > usual) check.longest_gap = longest;
  return usual;
}

// For a run whose figures depend on too many samples: finds gaps, and draws nothing. False when memory is short.
bool check_undrawn(const swoop &run, run_check &check) {
  check.reason = withheld::too_many_samples;
  const std::span<const gps_point> samples = samples_of(run, {run.top_of_turn, run.stop + 1});
  const std::size_t count = samples.size();
  owned_array<double> times;
  owned_array<double> work;
  if (!try_resize(times, count) || !try_resize(work, count)) return false;
  for (std::size_t k = 0; k < count; ++k) {
    times[k] = static_cast<double>(elapsed(samples[0].time, samples[k].time)) / 1000.0;
  }
  const std::span<const double> all(times.get(), count);
  bound_crossings(run, find_gap(all, usual_step(all, {work.get(), count}), check), check);
  return true;
}

withheld reason_in(const run_check &check) {
  if (check.longest_gap > 0.0) return withheld::gap;
  if (check.step > longest_measured_step) return withheld::sparse_samples;
  if (check.noise.ratio > greatest_ratio) return withheld::contradiction;
  const bool is_white = check.noise.memory.velocity < longest_white_memory || check.roughness > greatest_roughness;
  if (!is_white) return withheld::nothing;
  // Between samples so far apart, velocities of a flight differ as if they had such errors.
  return check.step > longest_exact_step ? withheld::sparse_samples : withheld::white_velocity_noise;
}

// Measures noise and lag, and decides whether the phases get intervals.
void measure(measured_flight &flight, const stated_noise &stated, double step, run_check &check) {
  const double roughness = measure_roughness(flight);
  check.lag = take_out_lag(flight);
  check.contradiction = measure_contradiction(flight);
  check.peak = measure_peak(flight);
  check.jerk = measure_jerk(flight);
  check.noise = measure_noise(flight, stated, step);
  // In a short flight the estimated correlation time may be very long; compared with it the rounding of a file would
  // count as rough.
  const double memory = std::min(check.noise.memory.velocity, stated_memory.velocity);
  check.roughness = roughness / expected_roughness(check.noise.velocity * mean_velocity_sigma(flight), step, memory);
  check.step = step;
  check.reason = reason_in(check);
}

// Why nothing can be measured.
withheld reason_against(const measured_flight &flight, const run_check &check) {
  if (check.unordered != 0) return withheld::times_out_of_order;
  const bool is_solvable = flown_times(flight).size() >= 3 && is_finite(flight.window.run, flight.series);
  return is_solvable ? withheld::nothing : withheld::unsolvable;
}

}  // namespace

void check_run(const swoop &run, const check_settings &settings, run_check &check, error_slot *error) {
  check = run_check();
  const figure_values values = values_of(run);
  for (std::size_t i = 0; i < figure_count; ++i) check.figures[i].value = values[i];

  measured_flight flight;
  choose_window(run, most_samples, flight.window, error);
  if (*error) return;
  check.samples = flight.window.run.track_len;
  if (!flight.window.is_enough) {
    if (!check_undrawn(run, check)) *error = "failed to allocate memory for swoop";
    return;
  }
  flight_draws draws;
  owned_array<double> rows;  // a row of draws for each figure
  if (!fill_series(flight) || !make_room(draws, flight) ||
      !try_resize(rows, figure_count * std::max(settings.draws, std::uint32_t{1}))) {
    *error = "failed to allocate memory for swoop";
    return;
  }
  const double step = usual_step(flown_times(flight), {flight.work.get(), flight.series.count});
  const double usual = find_gap(flown_times(flight), step, check);
  check.unordered = count_unordered(flight.series);
  check.reason = reason_against(flight, check);
  if (check.reason != withheld::nothing) return bound_crossings(run, usual, check);
  const stated_noise stated = mean_stated_noise(flight);
  measure(flight, stated, step, check);
  if (settings.draws != 0 && smooth_flight(stated, check.noise, flight, draws)) {
    const drawn_counts counts = draw_runs(run, settings, flight, draws, rows.get());
    fill_intervals(run, counts, settings, rows.get(), check);
    contain_earlier_start(run, smallest_jolt * check.noise.velocity * mean_velocity_sigma(flight), check);
    contain_bends(run, check);
  } else if (settings.draws != 0) {
    check.reason = withheld::unsolvable;
  }
  bound_crossings(run, usual, check);
}

}  // namespace tarvel
