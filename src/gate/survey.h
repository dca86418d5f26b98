// Computes the course frame and the speed-carve rotation from the standstills of a walk.
#pragma once

#include "gate/gate.h"
#include "geo/vec3.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "support/text_buffer.h"

namespace tarvel {

// Local or ECEF. AC is the course's centre line, C before the entry gate and A after it; B and D are the entry gate's
// marks.
struct course_corners {
  vec3 a;
  vec3 b;
  vec3 c;
  vec3 d;
};

// Fills the course's matrix and theta and the waypoints from the walk, and derives the walk's ECEF fields. The progress
// text is stored in log_text unless it is empty, also after a failure; log_text may be null. Fails with "malloc()
// failed", a message of find_waypoints, level_waypoints or locate_gate_centre, or the log's own.
void survey_gate(gate &surveyed, owned_text *log_text, error_slot *error);

// The point where AC and BD cross in plan, with z 0. Local coordinates. Fails with "AC and BD do not intersect".
[[nodiscard]] vec3 locate_gate_centre(const course_corners &corners, error_slot *error);

// The rotation of a speed-carve course in radians. With an exit mark that fits, it turns the carve's exit gate onto the
// mark; otherwise it turns the gate mark b onto the +y axis. Local coordinates; exit_mark may be null.
[[nodiscard]] double exit_gate_theta(const vec3 &b, const vec3 *exit_mark, text_buffer &log);

}  // namespace tarvel
