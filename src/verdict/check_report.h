// The text of a check: each figure with its interval, the reasons to doubt the run, and the verdict.
#pragma once

#include "check/figures.h"
#include "check/interval.h"
#include "check/reasons.h"
#include "check/run_check.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "support/units.h"
#include "swoop/swoop.h"

namespace tarvel {

// A line with the run's name, the time of its first sample, the rate and the satellites; a line for each figure with
// its interval, rounded outward; a line for each reason with what to do; the verdict. Lengths and speeds are in feet
// and mph or, with metric, in metres and km/h. Null on failure, with "malloc() failed", "realloc failed" or
// "vsnprintf() failed (%d)\n".
[[nodiscard]] owned_text format_check_report(const swoop &run, const run_check &check, const run_verdict &verdict,
                                             bool metric, error_slot *error);

// "good", "doubtful" or "unusable".
[[nodiscard]] const char *name_of_verdict(severity worst);

// "note", "doubtful" or "unusable".
[[nodiscard]] const char *name_of_weight(severity weight);

// The interval of a figure as it is shown: the degrees of a left-hand turn are positive, too. Needs an interval.
[[nodiscard]] interval shown_range(figure which, const figure_check &each);

// The ends of that interval as printed: rounded outward.
struct printed_ends {
  char low[328];
  char high[328];
};
[[nodiscard]] printed_ends print_ends(figure which, const figure_check &each, const display_units &units);

}  // namespace tarvel
