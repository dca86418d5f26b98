// The report of a run.
#pragma once

#include "support/error_slot.h"
#include "support/memory.h"
#include "swoop/swoop.h"

namespace tarvel {

// The report of an analysed run, in feet and mph or, with metric, in metres and km/h. Positions are given as height,
// distance back from the entry gate (-x) and offset (-y). Hyphens replace figures that were not found. Null on failure,
// with "malloc() failed", "realloc failed" or "vsnprintf() failed (%d)\n".
[[nodiscard]] owned_text format_swoop_report(const swoop &run, bool metric, error_slot *error);

}  // namespace tarvel
