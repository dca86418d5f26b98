// The two modes of the program. A mode that fails prints its message and ends the program with status 1; files written
// before are kept.
#pragma once

#include "driver/options.h"

namespace tarvel {

// Surveys the walked course in config.gate_file and writes the course file.
void run_gate_mode(const run_config &config);

// Analyses the run in config.swoop_file over the course in matrix.txt, or without one, and writes its report, map and
// charts.
void run_swoop_mode(const run_config &config);

}  // namespace tarvel
