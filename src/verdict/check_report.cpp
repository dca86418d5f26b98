#include "verdict/check_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "support/text_buffer.h"
#include "support/time.h"

namespace tarvel {

namespace {

enum class measure { length, speed, angle, time };

// One line. A place's second and third line have no name of the phase.
struct report_line {
  figure which;
  const char *label;
  measure unit;
  int decimals;
};

constexpr report_line lines[] = {
    {figure::entry_gate_speed, "entry gate speed:", measure::speed, 1},
    {figure::distance_to_stop, "distance to stop:", measure::length, 0},
    {figure::touchdown_distance, "touchdown estimate:", measure::length, 0},
    {figure::touchdown_speed, "  speed:", measure::speed, 1},
    {figure::carve_time, "speed carve time:", measure::time, 2},
    {figure::exit_gate_speed, "  speed:", measure::speed, 1},
    {figure::degrees, "degrees of rotation:", measure::angle, 0},
    {figure::turn_time, "time to execute turn:", measure::time, 2},
    {figure::rollout_time, "time during rollout:", measure::time, 2},
    {figure::time_aloft, "time aloft during swoop:", measure::time, 2},
    {figure::exit_height, "exited airplane:", measure::length, 0},
    {figure::turn_height, "initiated turn:", measure::length, 0},
    {figure::turn_back, "  back:", measure::length, 0},
    {figure::turn_offset, "  offset:", measure::length, 0},
    {figure::max_vertical_height, "max vertical speed:", measure::length, 0},
    {figure::max_vertical_back, "  back:", measure::length, 0},
    {figure::max_vertical_offset, "  offset:", measure::length, 0},
    {figure::max_vertical_speed, "  speed:", measure::speed, 1},
    {figure::rollout_start_height, "started rollout:", measure::length, 0},
    {figure::rollout_start_back, "  back:", measure::length, 0},
    {figure::rollout_start_offset, "  offset:", measure::length, 0},
    {figure::rollout_start_speed, "  speed:", measure::speed, 1},
    {figure::rollout_end_height, "finished rollout:", measure::length, 0},
    {figure::rollout_end_back, "  back:", measure::length, 0},
    {figure::rollout_end_offset, "  offset:", measure::length, 0},
    {figure::max_total_height, "max total speed:", measure::length, 0},
    {figure::max_total_back, "  back:", measure::length, 0},
    {figure::max_total_offset, "  offset:", measure::length, 0},
    {figure::max_total_speed, "  speed:", measure::speed, 1},
    {figure::max_horizontal_height, "max horizontal speed:", measure::length, 0},
    {figure::max_horizontal_back, "  back:", measure::length, 0},
    {figure::max_horizontal_offset, "  offset:", measure::length, 0},
    {figure::max_horizontal_speed, "  speed:", measure::speed, 1},
};
static_assert(std::size(lines) == figure_count);

const char *unit_of(const report_line &line, const display_units &units) {
  switch (line.unit) {
    case measure::length: return units.length;
    case measure::speed: return units.speed;
    case measure::angle: return "deg";
    case measure::time: return "sec";
  }
  return "";
}

double factor_of(const report_line &line, const display_units &units) {
  if (line.unit == measure::length) return units.length_factor;
  return line.unit == measure::speed ? units.speed_factor : 1.0;
}

// Outward, to the digits that are printed; never a minus sign before 0.
double rounded(double value, int decimals, double (*round)(double)) {
  const double steps = decimals == 0 ? 1.0 : decimals == 1 ? 10.0 : 100.0;
  return round(value * steps) / steps + 0.0;
}

double round_down(double value) { return std::floor(value); }
double round_up(double value) { return std::ceil(value); }
double round_near(double value) { return std::nearbyint(value); }

// Degrees are printed without their direction, which stands behind them.
interval printed_range(const report_line &line, const figure_check &each, double factor) {
  const bool is_turned = line.unit == measure::angle && each.value < 0.0;
  const double low = is_turned ? -each.range.high : each.range.low;
  const double high = is_turned ? -each.range.low : each.range.high;
  return {rounded(low * factor, line.decimals, round_down), rounded(high * factor, line.decimals, round_up)};
}

void print_line(text_buffer &text, const report_line &line, const run_check &check, const display_units &units) {
  const figure_check &each = check_of(check, line.which);
  const double factor = factor_of(line, units);
  if (std::isnan(each.value)) {
    text_buffer_printf(text, "%-24s    ---- %-4s", line.label, unit_of(line, units));
    if (check.draws != 0 && each.missing < 1.0) {
      text_buffer_printf(text, "   found in %.0f %% of the draws", std::ceil(100.0 * (1.0 - each.missing)));
    }
    text_buffer_printf(text, "\n");
    return;
  }
  const double value = line.unit == measure::angle ? std::fabs(each.value) : each.value * factor;
  text_buffer_printf(text, "%-24s %7.*f %-4s", line.label, line.decimals, rounded(value, line.decimals, round_near),
                     unit_of(line, units));
  if (each.has_interval) {
    const interval range = printed_range(line, each, factor);
    text_buffer_printf(text, " %7.*f .. %7.*f", line.decimals, range.low, line.decimals, range.high);
  }
  if (each.missing > 0.0) {
    text_buffer_printf(text, "   missing in %.0f %% of the draws", std::ceil(100.0 * each.missing));
  }
  if (line.which == figure::degrees) {
    text_buffer_printf(text, "   %s", each.value >= 0.0 ? "right-hand" : "left-hand");
    if (check.other_hand > 0.0) {
      text_buffer_printf(text, " in %.0f %% of the draws", std::floor(100.0 * (1.0 - check.other_hand)));
    } else if (check.draws != 0) {
      text_buffer_printf(text, " in all draws");
    }
  }
  text_buffer_printf(text, "\n");
}

void print_head(text_buffer &text, const swoop &run) {
  const std::span<const gps_point> samples = samples_of(run, {run.top_of_turn, run.stop + 1});
  const double seconds = unsigned_seconds(samples.front().time, samples.back().time);
  const double rate = seconds > 0.0 ? static_cast<double>(samples.size() - 1) / seconds : 0.0;
  const auto [fewest, most] = std::minmax_element(
      samples.begin(), samples.end(), [](const gps_point &a, const gps_point &b) { return a.numsv < b.numsv; });
  text_buffer_printf(text, "%s: %.3g samples a second, %d to %d satellites\n\n", run.file ? run.file.get() : "", rate,
                     fewest->numsv, most->numsv);
}

const char *name_of(severity weight) {
  switch (weight) {
    case severity::note: return "good";
    case severity::doubtful: return "doubtful";
    case severity::unusable: return "unusable";
  }
  return "";
}

void print_reason(text_buffer &text, const reason &each) {
  const reason_rule &rule = rule_of(each.code);
  const char *const weight = rule.weight == severity::note ? "note" : name_of(rule.weight);
  text_buffer_printf(text, "%s: %.*s (%.3g): %s\n", weight, static_cast<int>(rule.name.size()), rule.name.data(),
                     each.measured, advice_of(each.code));
}

}  // namespace

const char *advice_of(reason_code code) {
  switch (code) {
    case reason_code::gap:
      return "seconds without samples between the turn and the stop; mount the logger with a clear view of the sky";
    case reason_code::gap_at_gate:
      return "seconds without samples while the gate was crossed; the gate speed is not in the track: judge the run by "
             "eye";
    case reason_code::clock_steps_back:
      return "times go back between the turn and the stop; copy the track from the logger again";
    case reason_code::times_repeat:
      return "times repeat between the turn and the stop; copy the track from the logger again";
    case reason_code::fix_lost: return "samples without a position in three dimensions; do not score this run";
    case reason_code::few_satellites:
      return "satellites at the fewest; switch the logger on minutes before the exit, under the open sky";
    case reason_code::no_satellites: return "satellites at the fewest, too few for a position; do not score this run";
    case reason_code::poor_accuracy: return "times the usual accuracy; compare with a second logger before scoring";
    case reason_code::no_accuracy: return "times the usual accuracy; do not score this run";
    case reason_code::contradiction:
      return "m between the steps of the position and the velocity; compare with a second logger before scoring";
    case reason_code::no_agreement:
      return "m between the steps of the position and the velocity: they are not of one flight; do not score this run";
    case reason_code::noise_beyond_statement:
      return "times the noise that the logger states, so that no intervals are given; compare with a second logger";
    case reason_code::white_noise:
      return "times the usual roughness of the velocity, so that no intervals are given; switch the logger's filter on";
    case reason_code::not_drawn: return "no intervals: cut the track to the one run";
    case reason_code::draws_fail: return "of the draws are no run; look at the charts before scoring";
    case reason_code::wide_gate_speed:
      return "m/s from end to end of the gate speed; runs that differ by less are equal";
    case reason_code::wide_distance: return "m from end to end of the distance; runs that differ by less are equal";
    case reason_code::wide_carve_time:
      return "seconds from end to end of the carve time; runs that differ by less are equal";
    case reason_code::figures_missing: return "of the draws lack a score that the run has; judge the gates by eye";
    case reason_code::rotation_undecided:
      return "of the draws turn otherwise; look at the heading chart before you call the turn";
    case reason_code::horizontal_lag:
      return "seconds that horizontal speeds lag behind positions; times and speeds at the gate are that late";
    case reason_code::vertical_lag:
      return "seconds that vertical speeds lag behind positions; heights of turn and rollout are that late";
    case reason_code::no_dive: return "mph of descent at most: this is no swoop";
    case reason_code::too_fast_for_canopy: return "mph of descent: no canopy dives so fast; is this a fall?";
    case reason_code::ends_in_air: return "ft above the ground at the stop; the stop is none";
    case reason_code::ends_early: return "seconds recorded behind the stop; leave the logger on until you stand";
    case reason_code::several_runs: return "descents in this track; cut it to the one run";
    case reason_code::exit_of_another_run:
      return "ft between the exit and the turn: the exit is that of an earlier run; cut the track to the one run";
    case reason_code::levelled_high:
      return "ft above the ground at the end of the rollout; the distance cannot be compared with others";
    case reason_code::gate_not_crossed:
      return "m between the run and the gate, which was not crossed; is this the run's course?";
    case reason_code::far_from_gate: return "m between the run and the gate: this is not the run's course";
    case reason_code::beside_the_gate: return "m beside the gate's centre; was the run through the gate?";
    case reason_code::touchdown_is_stop:
      return "m: the touchdown is taken for the stop, since nobody marked it; give it with -t";
  }
  return "";
}

owned_text format_check_report(const swoop &run, const run_check &check, const run_verdict &verdict, bool metric,
                               error_slot *error) {
  *error = nullptr;
  const display_units units = display_units_for(metric);
  text_buffer text = text_buffer_create(error);
  if (*error) return nullptr;

  print_head(text, run);
  for (const report_line &line : lines) print_line(text, line, check, units);
  text_buffer_printf(text, "\n");
  for (const reason &each : reasons_of(verdict)) print_reason(text, each);
  text_buffer_printf(text, "verdict: %s\n", name_of(verdict.worst));
  if (*error) return nullptr;
  return std::move(text.data);
}

}  // namespace tarvel
