// The reasons to doubt the figures of a run, and the verdict that follows from them.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "check/run_check.h"
#include "swoop/swoop.h"

namespace tarvel {

// A note does not change the verdict. One doubtful reason makes the run doubtful, one unusable reason unusable.
enum class severity { note, doubtful, unusable };

enum class reason_code : std::size_t {
  gap,
  gap_at_gate,
  clock_steps_back,
  times_repeat,
  times_out_of_order,
  fix_lost,
  few_satellites,
  no_satellites,
  poor_accuracy,
  no_accuracy,
  contradiction,
  no_agreement,
  passing_contradiction,
  impossible_jerk,
  noise_beyond_statement,
  noise_far_beyond_statement,
  white_noise,
  sparse_samples,
  not_drawn,
  unsolvable,
  draws_fail,
  wide_gate_speed,
  wide_distance,
  wide_carve_time,
  figures_missing,
  rotation_undecided,
  rotation_uncertain,
  horizontal_lag,
  vertical_lag,
  no_dive,
  too_fast_for_canopy,
  levelled_slow,
  ends_in_air,
  ends_early,
  several_runs,
  exit_of_another_run,
  gate_of_another_run,
  levelled_high,
  gate_not_crossed,
  far_from_gate,
  beside_the_gate,
  heights_differ,
  touchdown_moves,
  touchdown_is_stop,
};
constexpr std::size_t reason_count = static_cast<std::size_t>(reason_code::touchdown_is_stop) + 1;

// The rule behind a code: its name, which does not change from version to version, its weight, and the limit that the
// measured figure has passed.
struct reason_rule {
  reason_code code;
  std::string_view name;
  severity weight;
  double limit;
};
[[nodiscard]] const reason_rule &rule_of(reason_code code);

struct reason {
  reason_code code = reason_code::gap;
  double measured = 0.0;  // in the unit of the rule's limit
};

struct run_verdict {
  severity worst = severity::note;  // note: good
  std::array<reason, reason_count> reasons;
  std::size_t count = 0;
};

[[nodiscard]] inline std::span<const reason> reasons_of(const run_verdict &verdict) {
  return {verdict.reasons.data(), verdict.count};
}

// The reasons to doubt an analysed run, in the order of the codes, and the worst of their weights.
[[nodiscard]] run_verdict judge_run(const swoop &run, const run_check &check);

}  // namespace tarvel
