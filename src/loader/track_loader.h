// Which reader fits a file: decided by content, whatever the name says.
#pragma once

#include "container/tvl_file.h"
#include "support/error_slot.h"
#include "track/gps_track.h"

namespace tarvel {

// Try the container, then tagged lines, then header lines. A file that cannot be opened or read, or that there is no
// memory for, is not tried again: the slot has that reader's message. When no reader fits, the slot has the header-line
// reader's message. Either way the target is as it was. A gate container fills matrix, theta and pond; a text file
// fills only the track.
void load_gate_track(const char *path, gate_file_data &gate_data, error_slot *error);
void load_swoop_track(const char *path, gps_track &track, error_slot *error);

}  // namespace tarvel
