// From the standstills of a walk to the course frame and the speed-carve rotation.
#pragma once

#include "gate/gate.h"
#include "geo/vec3.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "support/text_buffer.h"

namespace tarvel {

// Local or ECEF. AC is the course's centre line, C behind the entry gate and A ahead of it; B and D are the entry
// gate's marks.
struct course_corners {
  vec3 a;
  vec3 b;
  vec3 c;
  vec3 d;
};

// Fills the course's matrix and theta and the waypoints from the walk, and derives its ECEF fields. The progress text
// goes to log_text when there is any, also after a failure; log_text may be null. Fails with "malloc() failed", a
// message of find_waypoints, level_waypoints or locate_gate_centre, or the log's own.
void survey_gate(gate &surveyed, owned_text *log_text, error_slot *error);

// Where AC and BD cross in plan; its z is 0. Local. Fails with "AC and BD do not intersect".
[[nodiscard]] vec3 locate_gate_centre(const course_corners &corners, error_slot *error);

// The rotation of a speed-carve course in radians. Without an exit mark, or with one that does not fit, it turns the
// gate mark b onto the +y axis; with one, it turns the carve's exit gate onto the mark. Local; exit_mark may be null.
[[nodiscard]] double exit_gate_theta(const vec3 &b, const vec3 *exit_mark, text_buffer &log);

}  // namespace tarvel
