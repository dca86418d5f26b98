// coord.txt: every sample in the local frame, as a table to look at in a spreadsheet.
#pragma once

#include <span>

#include "support/error_slot.h"
#include "track/gps_point.h"

namespace tarvel {

// Writes coord.txt in the working directory, in feet and mph whatever the report's units. Fails with "failed to open
// file: %s" or "failed to write file: %s".
void write_coord_dump(std::span<const gps_point> samples, error_slot *error);

}  // namespace tarvel
