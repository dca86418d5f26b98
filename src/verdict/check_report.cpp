#include "verdict/check_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "support/text_buffer.h"
#include "support/time.h"
#include "verdict/percent.h"
#include "verdict/reason_text.h"

namespace tarvel {

namespace {

enum class measure { length, speed, angle, time };

// One line. In the second and third line of a place the name of the phase is left out.
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

// Rounds the ends outward to the digits that are printed; 0 never has a minus sign.
double rounded(double value, int decimals, double (*round)(double)) {
  const double steps = decimals == 0 ? 1.0 : decimals == 1 ? 10.0 : 100.0;
  return round(value * steps) / steps + 0.0;
}

double round_down(double value) { return std::floor(value); }
double round_up(double value) { return std::ceil(value); }
double round_near(double value) { return std::nearbyint(value); }

// A figure that is printed as 0 gets no minus sign. printf rounds it, as in the report of tarvel, and not rounded():
// 7.825 is a little more in binary, which printf makes 7.83, but 7.825 * 100.0 is exactly 782.5, which would become
// 7.82.
double without_minus_zero(double value, int decimals) {
  return value <= 0.0 && rounded(value, decimals, round_near) == 0.0 ? 0.0 : value;
}

interval printed_range(const report_line &line, const figure_check &each, double factor) {
  const interval range = shown_range(line.which, each);
  return {rounded(range.low * factor, line.decimals, round_down),
          rounded(range.high * factor, line.decimals, round_up)};
}

void print_not_found(text_buffer &text, const report_line &line, const run_check &check, const display_units &units) {
  text_buffer_printf(text, "%-24s    ---- %s", line.label, unit_of(line, units));
  const double missing = check_of(check, line.which).missing;
  if (check.draws == 0 || missing >= 1.0) return;
  text_buffer_printf(text, "   found in %.0f %% of the draws", percent_rounded_up(1.0 - missing));
}

void print_bounds(text_buffer &text, const report_line &line, const figure_check &each, const display_units &units) {
  const interval range = printed_range(line, each, factor_of(line, units));
  text_buffer_printf(text, "%-24s    ---- %-4s %7.*f .. %7.*f   bounds: crossed while samples were missing", line.label,
                     unit_of(line, units), line.decimals, range.low, line.decimals, range.high);
}

void print_interval(text_buffer &text, const report_line &line, const figure_check &each, const display_units &units) {
  constexpr int longest_unit = 4;
  const int space = longest_unit - static_cast<int>(std::strlen(unit_of(line, units)));
  const interval range = printed_range(line, each, factor_of(line, units));
  text_buffer_printf(text, "%*s %7.*f .. %7.*f", space, "", line.decimals, range.low, line.decimals, range.high);
}

void print_direction(text_buffer &text, const figure_check &degrees, const run_check &check) {
  text_buffer_printf(text, "   %s", degrees.value >= 0.0 ? "right-hand" : "left-hand");
  if (check.other_hand > 0.0) {
    text_buffer_printf(text, " in %.0f %% of the draws", percent_rounded_down(1.0 - check.other_hand));
  } else if (check.draws != 0) {
    text_buffer_printf(text, " in all draws");
  }
}

void print_found(text_buffer &text, const report_line &line, const run_check &check, bool is_stop,
                 const display_units &units) {
  const figure_check &each = check_of(check, line.which);
  const double value = line.unit == measure::angle ? std::fabs(each.value) : each.value * factor_of(line, units);
  text_buffer_printf(text, "%-24s %7.*f %s", line.label, line.decimals, without_minus_zero(value, line.decimals),
                     unit_of(line, units));
  if (is_stop && depends_on_touchdown(line.which)) {
    const bool is_distance = line.which == figure::touchdown_distance;
    text_buffer_printf(text, is_distance ? "   is the stop: nobody marked the touchdown" : "   at the stop");
    return;
  }
  if (each.has_interval) print_interval(text, line, each, units);
  if (each.missing > 0.0) {
    text_buffer_printf(text, "   missing in %.0f %% of the draws", percent_rounded_up(each.missing));
  }
  if (line.which == figure::degrees) print_direction(text, each, check);
}

void print_line(text_buffer &text, const report_line &line, const run_check &check, bool is_stop,
                const display_units &units) {
  const figure_check &each = check_of(check, line.which);
  if (std::isnan(each.value)) {
    print_not_found(text, line, check, units);
  } else if (each.is_bounded) {
    print_bounds(text, line, each, units);
  } else {
    print_found(text, line, check, is_stop, units);
  }
  text_buffer_printf(text, "\n");
}

// "2026-05-16 13:05:31", the time on the logger's clock; a hyphen for a time that the calendar cannot express.
struct clock_text {
  char text[32] = "-";
};

clock_text clock_text_of(std::int64_t time) {
  clock_text clock;
  const std::time_t seconds = time / 1000;
  std::tm local = {};
  if (localtime_r(&seconds, &local) == nullptr) return clock;
  if (std::strftime(clock.text, sizeof clock.text, "%Y-%m-%d %H:%M:%S", &local) == 0) return {};
  return clock;
}

void print_head(text_buffer &text, const swoop &run) {
  const std::span<const gps_point> samples = samples_of(run, {run.top_of_turn, run.stop + 1});
  const double seconds = unsigned_seconds(samples.front().time, samples.back().time);
  const double rate = seconds > 0.0 ? static_cast<double>(samples.size() - 1) / seconds : 0.0;
  const auto [fewest, most] = std::minmax_element(
      samples.begin(), samples.end(), [](const gps_point &a, const gps_point &b) { return a.numsv < b.numsv; });
  char rate_text[32];
  std::snprintf(rate_text, sizeof rate_text, "%.3g", rate);
  text_buffer_printf(text, "%s: %s, %s %s a second, ", run.file ? run.file.get() : "",
                     clock_text_of(run.track[run.top_of_turn].time).text, rate_text,
                     std::strcmp(rate_text, "1") == 0 ? "sample" : "samples");
  if (fewest->numsv == most->numsv) {
    text_buffer_printf(text, "%d %s\n\n", most->numsv, most->numsv == 1 ? "satellite" : "satellites");
  } else {
    text_buffer_printf(text, "%d to %d satellites\n\n", fewest->numsv, most->numsv);
  }
}

void print_reason(text_buffer &text, const reason &each, const display_units &units) {
  const reason_rule &rule = rule_of(each.code);
  text_buffer_printf(text, "%s: %.*s: ", name_of_weight(rule.weight), static_cast<int>(rule.name.size()),
                     rule.name.data());
  append_reason_sentence(text, each, units);
  text_buffer_printf(text, "\n");
}

}  // namespace

owned_text format_check_report(const swoop &run, const run_check &check, const run_verdict &verdict, bool metric,
                               error_slot *error) {
  *error = nullptr;
  const display_units units = display_units_for(metric);
  text_buffer text = text_buffer_create(error);
  if (*error) return nullptr;

  print_head(text, run);
  const bool is_stop = !is_touchdown_marked(run);
  for (const report_line &line : lines) print_line(text, line, check, is_stop, units);
  text_buffer_printf(text, "\n");
  for (const reason &each : reasons_of(verdict)) print_reason(text, each, units);
  text_buffer_printf(text, "verdict: %s\n", name_of_verdict(verdict.worst));
  if (*error) return nullptr;
  return std::move(text.data);
}

const char *name_of_verdict(severity worst) {
  switch (worst) {
    case severity::note: return "good";
    case severity::doubtful: return "doubtful";
    case severity::unusable: return "unusable";
  }
  return "";
}

const char *name_of_weight(severity weight) { return weight == severity::note ? "note" : name_of_verdict(weight); }

// The direction is printed after the degrees, instead of a sign.
interval shown_range(figure which, const figure_check &each) {
  const bool is_turned = which == figure::degrees && each.value < 0.0;
  return is_turned ? interval{-each.range.high, -each.range.low} : each.range;
}

printed_ends print_ends(figure which, const figure_check &each, const display_units &units) {
  const report_line &line =
      *std::find_if(std::begin(lines), std::end(lines), [&](const report_line &one) { return one.which == which; });
  const interval range = printed_range(line, each, factor_of(line, units));
  printed_ends ends;
  std::snprintf(ends.low, sizeof ends.low, "%.*f", line.decimals, range.low);
  std::snprintf(ends.high, sizeof ends.high, "%.*f", line.decimals, range.high);
  return ends;
}

}  // namespace tarvel
