// The text of a check: each figure with its interval, the reasons to doubt it, and the verdict.
#pragma once

#include "check/reasons.h"
#include "check/run_check.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "support/units.h"
#include "swoop/swoop.h"

namespace tarvel {

// Behind the run's name: when its track begins, the rate and the satellites; a line for each figure, its ends rounded outward; a line for each
// reason with what to do; the verdict. Lengths and speeds are in feet and mph or, with metric, in metres and km/h. Null
// on failure, with "malloc() failed", "realloc failed" or "vsnprintf() failed (%d)\n".
[[nodiscard]] owned_text format_check_report(const swoop &run, const run_check &check, const run_verdict &verdict,
                                             bool metric, error_slot *error);

}  // namespace tarvel
