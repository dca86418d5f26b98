// coord.txt: a table of all samples in the local frame.
#pragma once

#include <cstdio>
#include <span>

#include "track/gps_point.h"

namespace tarvel {

// Always in feet and mph. The caller checks the stream for errors.
void write_coord_dump(std::FILE *stream, std::span<const gps_point> samples);

}  // namespace tarvel
