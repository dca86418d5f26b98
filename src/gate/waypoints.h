// The standstills of a course walk, each averaged to one position. All distances are straight lines between ECEF
// positions.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "geo/vec3.h"
#include "support/text_buffer.h"
#include "track/gps_point.h"

namespace tarvel {

// ECEF. 0 is the start of the walk, 1 to 4 are the course's corners, 5 is the exit mark of a speed carve, zero when the
// walk has none.
using waypoint_list = std::array<vec3, 6>;

// Fills the list from the first sample of good accuracy on. Needs pos_ecef; logs a line for each standstill. Fails,
// with the message in the log's slot, with "no points found in track", "could not find start of track", "could not
// detect waypoint", "not enough points for waypoint" or "could not detect motion"; only waypoint 5 may be missing.
void find_waypoints(std::span<const gps_point> track, waypoint_list &waypoints, text_buffer &log);

// Finds the next standstill from sample start on: at least 8 s within 2 m. Its first and last 2 s are left out of the
// average. Sets next to the last sample of the average. Fails with "could not detect waypoint" or "not enough points
// for waypoint".
void detect_waypoint(std::span<const gps_point> track, std::size_t start, std::size_t &next, vec3 &waypoint,
                     text_buffer &log);

// Sets next to the first sample that is 10 m or more from sample start. Fails with "could not detect motion".
void detect_motion(std::span<const gps_point> track, std::size_t start, std::size_t &next, text_buffer &log);

// Sets the four course corners (ECEF) to the same height: 1 m below their average, since the logger is carried above
// the ground. Fails with "excessive error in waypoint height (%4.2fm)" when a corner is more than 3.5 m from the
// average; the corners are then unchanged.
void level_waypoints(std::array<vec3, 4> &corners, text_buffer &log);

}  // namespace tarvel
