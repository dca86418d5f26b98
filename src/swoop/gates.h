// The entry gate: checks that the run was flown at this course, and finds where it crossed the gate.
#pragma once

#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// Fails with "invalid gate location (%0.1f miles between gate and swoop)" when no sample comes within 1,000 m of the
// gate.
void check_gate_location(swoop &run, error_slot *error);

// Fills entry_gate, entry_gate_time, entry_gate_speed and entry_gate_ypos, and sets reversal_detected when the gate was
// crossed against the course's x-axis. Except for that flag they are 0 when the gate was missed or crossed more than 15
// m from its centre. Needs run.rollout and run.stop. Never fails.
void detect_entry_gate(swoop &run, error_slot *error);

}  // namespace tarvel
