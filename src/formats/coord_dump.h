// coord.txt: every sample in the local frame, as a table to look at in a spreadsheet.
#pragma once

#include <cstdio>
#include <span>

#include "track/gps_point.h"

namespace tarvel {

// In feet and mph whatever the report's units. The caller checks the stream for errors.
void write_coord_dump(std::FILE *stream, std::span<const gps_point> samples);

}  // namespace tarvel
