// Writes a track and its entry gate as a KML 2.2 document.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <span>

#include "geo/vec3.h"
#include "track/gps_point.h"

namespace tarvel {

using gate_ends = std::array<vec3, 2>;  // WGS84: latitude, longitude (deg), height (m)

// Writes the samples as a line with a wall down to the ground, and the entry gate when ends is not null. The document's
// name is start_time (ms), the time of the first sample, as local clock time; it is empty when the calendar cannot
// express that. The caller checks the stream for errors.
void write_kml(std::FILE *stream, std::int64_t start_time, std::span<const gps_point> samples, const gate_ends *ends);

}  // namespace tarvel
