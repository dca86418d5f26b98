// The analysis of one run, from its samples and a frame to its scores.
#pragma once

#include <cstdint>

#include "geo/mat4.h"
#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// Settles the frame and fills everything that the record holds of the run. The frame (ECEF to local) is not read for
// gate type 2, which builds its own; theta in radians is read for gate type 0 alone, whose frame is turned, and the run
// analysed again, after a reversal or a speed carve. Given again, a course that the run's frame was turned in, a fixed
// course or the implicit gate does no work. Fails with "no points found in track", "invalid gate type" or a detector's
// message; what was found before that stays in the record.
void analyze_swoop(swoop &run, std::int32_t gate_type, const mat4 &frame, double theta, error_slot *error);

// How far the course is turned about the vertical for the run as it was flown, radians: half a turn for a reversal, the
// course's theta for a speed carve. The course's pond is turned by it as well.
[[nodiscard]] double correction_angle(const swoop &run);

// Derives every sample's kinematics in run.matrix and finds and scores the phases, stopping at the first error. The
// reversal and carve flags are only ever set.
void run_swoop_pipeline(swoop &run, error_slot *error);

}  // namespace tarvel
