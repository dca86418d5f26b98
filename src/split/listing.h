// Prints the table of a track's stretches.
#pragma once

#include <cstdio>
#include <span>

#include "split/stretches.h"
#include "track/gps_point.h"

namespace tarvel {

// A line of titles, then a line for each stretch: its number, the local time of its first sample, the height of the
// exit above the landing, its duration and its kind.
void print_stretches(std::FILE *stream, std::span<const gps_point> samples, std::span<const stretch> stretches,
                     bool metric);

}  // namespace tarvel
