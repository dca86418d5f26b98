#include "document/check_json.h"

#include <cmath>

#include "support/text_buffer.h"
#include "verdict/check_report.h"
#include "verdict/reason_text.h"

namespace tarvel {

namespace {

// The names of the figures in the document, indexed by figure.
constexpr std::array<const char *, figure_count> figure_names = {
    "exit_altitude",
    "turn_altitude",
    "turn_back",
    "turn_offset",
    "max_vertical_speed_altitude",
    "max_vertical_speed_back",
    "max_vertical_speed_offset",
    "max_vertical_speed",
    "rollout_start_altitude",
    "rollout_start_back",
    "rollout_start_offset",
    "rollout_start_vertical_speed",
    "rollout_end_altitude",
    "rollout_end_back",
    "rollout_end_offset",
    "max_total_speed_altitude",
    "max_total_speed_back",
    "max_total_speed_offset",
    "max_total_speed",
    "max_horizontal_speed_altitude",
    "max_horizontal_speed_back",
    "max_horizontal_speed_offset",
    "max_horizontal_speed",
    "rotation",
    "turn_time",
    "rollout_time",
    "aloft_time",
    "entry_gate_speed",
    "stop_distance",
    "touchdown_distance",
    "touchdown_speed",
    "carve_time",
    "exit_gate_speed",
};

const char *name_of(withheld reason) {
  switch (reason) {
    case withheld::nothing: break;
    case withheld::times_out_of_order: return "times-out-of-order";
    case withheld::gap: return "gap";
    case withheld::contradiction: return "contradiction";
    case withheld::white_velocity_noise: return "white-noise";
    case withheld::sparse_samples: return "sparse-samples";
    case withheld::too_many_samples: return "too-many-samples";
    case withheld::unsolvable: return "unsolvable";
  }
  return nullptr;
}

// Why a figure has no interval; null when it has one.
const char *why_none(const swoop &run, const run_check &check, figure which) {
  const figure_check &each = check_of(check, which);
  if (std::isnan(each.value)) return "not-found";
  if (run.touchdown_time == run.track[run.stop].time && depends_on_touchdown(which)) return "touchdown-is-stop";
  if (each.has_interval) return nullptr;
  return check.reason == withheld::nothing ? "missing-in-all-draws" : name_of(check.reason);
}

json ends_as_json(figure which, const figure_check &each, const display_units &units) {
  const interval range = shown_range(which, each);
  const printed_ends ends = print_ends(which, each, units);
  return {{"low", json_number(range.low)},
          {"high", json_number(range.high)},
          {"low_text", static_cast<const char *>(ends.low)},
          {"high_text", static_cast<const char *>(ends.high)}};
}

json interval_as_json(const swoop &run, const run_check &check, figure which, const display_units &units) {
  const figure_check &each = check_of(check, which);
  const char *const why = why_none(run, check, which);
  json made = {{"low", json()}, {"high", json()}, {"low_text", json()}, {"high_text", json()}};
  if (why == nullptr) made = ends_as_json(which, each, units);
  made["missing"] = std::lround(each.missing * check.draws);
  made["why"] = json_text(why);
  made["bounds"] = each.is_bounded ? ends_as_json(which, each, units) : json();
  return made;
}

json reason_as_json(const reason &each, const display_units &units, error_slot *error) {
  const reason_rule &rule = rule_of(each.code);
  const reason_value measured = value_of(each);
  text_buffer sentence = text_buffer_create(error);
  if (*error) return {};
  append_reason_sentence(sentence, each, units);
  if (*error) return {};
  return {{"code", rule.name},
          {"severity", name_of_weight(rule.weight)},
          {"value", json_number(measured.value)},
          {"unit", json_text(measured.unit)},
          {"text", static_cast<const char *>(sentence.data.get())}};
}

}  // namespace

json check_as_json(const swoop &run, const checked_run &checked, const display_units &units, error_slot *error) {
  json intervals = json::object();
  for (std::size_t i = 0; i < figure_count; ++i) {
    intervals[figure_names[i]] = interval_as_json(run, checked.check, static_cast<figure>(i), units);
  }
  json reasons = json::array();
  for (const reason &each : reasons_of(checked.verdict)) {
    reasons.push_back(reason_as_json(each, units, error));
    if (*error) return {};
  }
  return {{"verdict", name_of_verdict(checked.verdict.worst)},
          {"draws", checked.check.draws},
          {"intervals", intervals},
          {"reasons", reasons}};
}

}  // namespace tarvel
