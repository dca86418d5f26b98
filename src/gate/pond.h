// The pond's perimeter: the path of the walk from mark to mark.
#pragma once

#include "gate/gate.h"
#include "support/error_slot.h"

namespace tarvel {

// Fills the course's pond with points of the walk that are at least 5 ft apart within each of its four legs, and a copy
// of the first point. Without such points there is no pond. Derives the walk's local fields. Needs the course's matrix
// and the waypoints. Fails with "no point 50' from waypoint", "no point near next waypoint" or "failed to realloc pond
// array".
void survey_pond(gate &surveyed, error_slot *error);

}  // namespace tarvel
