// The table of a track's stretches.
#pragma once

#include <cstdio>
#include <span>

#include "split/stretches.h"
#include "track/gps_point.h"

namespace tarvel {

// A line of titles, then one for each stretch: number, time of its first sample as local time, height of the exit above the
// landing, duration, kind.
void print_stretches(std::FILE *stream, std::span<const gps_point> samples, std::span<const stretch> stretches,
                     bool metric);

}  // namespace tarvel
