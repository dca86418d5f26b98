// coord.txt: every sample in the local frame, as a table to look at in a spreadsheet.
#pragma once

#include <cstdio>
#include <span>

#include "track/gps_point.h"

namespace tarvel {

// In feet and mph whatever the report's units. Whether the stream has failed is the caller's to look after.
void write_coord_dump(std::FILE *stream, std::span<const gps_point> samples);

}  // namespace tarvel
