// The columns of a delimited track: which field of the sample each one fills.
#pragma once

#include <string_view>

#include "support/error_slot.h"
#include "support/memory.h"
#include "support/outcome.h"
#include "support/text_buffer.h"
#include "track/gps_track.h"
#include "track/line_reader.h"

namespace tarvel {

// Stores one field's text, which a NUL follows, in the sample.
using column_action = void (*)(std::string_view text, gps_point &sample, error_slot *error);

// One action per column in column order, then a null action.
using column_actions = owned_array<column_action>;

// Reads the rest of the current line as field names. A name that Tarvel does not know is ignored, with a line in the
// warnings. Not this form when a required name is missing; unless done, the slot says "invalid field names", or has the
// message of the warnings that there was no memory for, and the list is as it was.
[[nodiscard]] outcome parse_field_names(track_file &file, column_actions &actions, text_buffer &warnings,
                                        error_slot *error);

// Reads the rest of the current line as one sample and appends it. A row with more fields than columns is dropped
// without a warning, as a logger that was cut off in mid-line writes them; a row with fewer leaves the rest of the
// sample zero. Fails with "failed to realloc gps_points" or "invalid time field".
[[nodiscard]] outcome append_gps_point(track_file &file, const column_actions &actions, gps_track &track,
                                       error_slot *error);

}  // namespace tarvel
