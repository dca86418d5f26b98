// The speed carve: a run around a curved course, and its exit gate.
#pragma once

#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// Fills exit_gate, exit_gate_time, exit_gate_speed and exit_gate_xpos when the run crossed the carve's exit gate near
// enough to be scored; otherwise they are 0. Sets carve_detected and carve_direction when the run was a carve. Examines
// only runs of gate_type_course that crossed their entry gate. Needs pos_ecef and the entry gate's results. Never
// fails.
void detect_speed_carve(swoop &run, error_slot *error);

}  // namespace tarvel
