// A track and its entry gate as a KML 2.2 document for a globe viewer.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <span>

#include "geo/vec3.h"
#include "track/gps_point.h"

namespace tarvel {

using gate_ends = std::array<vec3, 2>;  // WGS84: latitude, longitude (deg), height (m)

// Writes the samples as a line down to the ground, and the entry gate when ends is not null. The document is named
// after the local clock time of start_time (ms), that of the first sample; it has no name when the calendar cannot
// express that. The caller checks the stream for errors.
void write_kml(std::FILE *stream, std::int64_t start_time, std::span<const gps_point> samples, const gate_ends *ends);

}  // namespace tarvel
