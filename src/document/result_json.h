// What the analysis has found, as JSON.
#pragma once

#include "document/json_values.h"
#include "support/units.h"
#include "swoop/swoop.h"

namespace tarvel {

// Each figure of the report: its value, its unit, and its text and unit as printed.
[[nodiscard]] json figures_as_json(const swoop &run, const display_units &units);

// Each phase: where, when and how fast; null when it was not found.
[[nodiscard]] json phases_as_json(const swoop &run);

}  // namespace tarvel
