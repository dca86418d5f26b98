// The analysis of one run: computes its phases and scores from its samples and a frame.
#pragma once

#include <cstdint>

#include "geo/mat4.h"
#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// Chooses the frame and fills all results in the record. frame (ECEF to local) is not used for gate_type_implicit,
// which builds its own; theta (radians) is used only for gate_type_course: after a reversal or a speed carve the frame
// is rotated and the run analysed again. A second call with the same gate type and frame does nothing, except for a
// course that was not rotated. Fails with "no points found in track", "invalid gate type" or a detector's message; what
// was found before that stays in the record.
void analyze_swoop(swoop &run, std::int32_t gate_type, const mat4 &frame, double theta, error_slot *error);

// The angle in radians by which the course is rotated about the vertical for this run: pi for a reversal, plus the
// course's theta for a speed carve. The course's pond must be rotated by it as well.
[[nodiscard]] double correction_angle(const swoop &run);

// Derives every sample's kinematics in run.matrix and finds and scores the phases, stopping at the first error. The
// reversal and carve flags may be set, but are not cleared.
void run_swoop_pipeline(swoop &run, error_slot *error);

}  // namespace tarvel
