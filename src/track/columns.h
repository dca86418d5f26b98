// The columns of a delimited track: which field of the sample each one fills.
#pragma once

#include <cstddef>
#include <string_view>

#include "support/error_slot.h"
#include "support/memory.h"
#include "track/gps_track.h"
#include "track/line_reader.h"

namespace tarvel {

// Stores one field's text, which a NUL follows, in the sample.
using column_action = void (*)(std::string_view text, gps_point &sample, error_slot *error);

// One action per column in column order, then a null action.
using column_actions = owned_array<column_action>;

// Reads the rest of the current line as field names. Names that Tarvel does not know are warned of on standard output
// and ignored. False when a required name is missing or memory is short; the list is then empty.
[[nodiscard]] bool parse_field_names(track_file &file, column_actions &actions);

// Reads the rest of the current line as one sample and appends it. A row with more fields than columns is dropped
// without a word, as a logger that was cut off in mid-line writes them; a row with fewer leaves the rest of the sample
// zero. Fails with "failed to realloc gps_points" or "invalid time field".
void append_gps_point(track_file &file, const column_actions &actions, gps_track &track, error_slot *error);

}  // namespace tarvel
