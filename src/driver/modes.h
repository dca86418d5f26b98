// The two modes of the program. A mode that fails prints its message and ends the program with status 1; the files that
// it has written by then stay.
#pragma once

#include "driver/options.h"
#include "swoop/swoop.h"

namespace tarvel {

// Surveys the walked course in config.gate_file and writes the course file.
void run_gate_mode(const run_config &config);

// Analyses the run in config.swoop_file over the course in matrix.txt, or without one, and writes its report and map.
void run_swoop_mode(const run_config &config);

// The run with ten seconds to either side: from the exit (without one, from before the highest point on the way to the
// rollout) to the stop, or to the end when the touchdown is not at the stop.
[[nodiscard]] sample_range trimmed_range(const swoop &run);

// Writes the .tvl copy of the trimmed run. Fails like write_swoop_file.
void write_trimmed_swoop(const char *filename, const swoop &run, error_slot *error);

}  // namespace tarvel
