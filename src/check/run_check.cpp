#include "check/run_check.h"

#include <algorithm>
#include <cmath>

#include "check/flight_draws.h"
#include "check/measured_flight.h"
#include "check/random_draws.h"

namespace tarvel {

namespace {

constexpr double greatest_ratio = 1.5;
constexpr double shortest_memory = 0.5;  // s
// White errors of the velocity hardly contradict the position, but show from sample to sample.
constexpr double greatest_roughness = 4.0;

// A gap is more than half a second and more than half as long again as the usual step.
constexpr double least_gap = 0.5;
constexpr double usual_steps = 1.6;

constexpr std::uint32_t most_samples = 50000;

constexpr double other_turn = 45.0;  // degrees

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

double mean_velocity_sigma(const measured_flight &flight) {
  double sum = 0.0;
  for (std::size_t k = flight.window.closely.first; k < flight.window.noise_end; ++k) {
    sum += stated_velocity_sigma(flight.window.run.track[k]);
  }
  return sum / (flight.window.noise_end - flight.window.closely.first);
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

// What noise and lag say, and whether intervals would hold.
void measure(measured_flight &flight, const stated_noise &stated, run_check &check) {
  const std::span<const double> times = flown_times(flight);
  const double roughness = measure_roughness(flight);
  check.lag = take_out_lag(flight);
  check.contradiction = measure_contradiction(flight);
  check.noise = measure_noise(flight, stated);
  check.roughness = roughness / expected_roughness(check.noise.velocity * mean_velocity_sigma(flight),
                                                   usual_step(times), check.noise.memory.velocity);
  check.reason = reason_in(check, usual_step(times));
}

// Why nothing can be measured.
withheld reason_against(const measured_flight &flight) {
  if (!times_increase(flight.series) || flown_times(flight).size() < 3) return withheld::times_out_of_order;
  return is_finite(flight.window.run, flight.series) ? withheld::nothing : withheld::unsolvable;
}

}  // namespace

void check_run(const swoop &run, const check_settings &settings, run_check &check, error_slot *error) {
  check = run_check();
  const figure_values values = values_of(run);
  for (std::size_t i = 0; i < figure_count; ++i) check.figures[i].value = values[i];

  measured_flight flight;
  choose_window(run, flight.window, error);
  if (*error) return;
  check.is_whole_track = flight.window.is_whole_track;
  if (flight.window.run.track_len > most_samples) {
    check.reason = withheld::too_many_samples;
    return;
  }
  flight_draws draws;
  owned_array<double> rows;  // of draws, one for each figure
  if (!fill_series(flight) || !make_room(draws, flight) ||
      !try_resize(rows, figure_count * std::max(settings.draws, std::uint32_t{1}))) {
    *error = "failed to allocate memory for swoop";
    return;
  }
  check.longest_gap = longest_step(flown_times(flight));
  check.reason = reason_against(flight);
  if (check.reason != withheld::nothing) return;
  const stated_noise stated = mean_stated_noise(flight);
  measure(flight, stated, check);
  if (settings.draws == 0 || (check.reason != withheld::nothing && !settings.even_if_withheld)) return;
  if (!smooth_flight(stated, check.noise, flight, draws)) {
    check.reason = withheld::unsolvable;
    return;
  }
  const drawn_counts counts = draw_runs(run, settings, flight, draws, rows.get());
  fill_intervals(counts, settings.draws, usual_step(flown_times(flight)), rows.get(), check);
}

}  // namespace tarvel
