// The columns of a delimited track, and the field of the sample that each one fills.
#pragma once

#include <string_view>

#include "support/error_slot.h"
#include "support/memory.h"
#include "support/outcome.h"
#include "support/text_buffer.h"
#include "track/gps_track.h"
#include "track/line_reader.h"

namespace tarvel {

// Converts the text of one field, which is followed by a NUL, and stores it in the sample.
using column_action = void (*)(std::string_view text, gps_point &sample, error_slot *error);

// One action per column in column order, then a null action.
using column_actions = owned_array<column_action>;

// Reads the rest of the current line as field names. Columns of unknown names are ignored, with a warning for each. The
// outcome is not_this_form when a required name is missing. Unless it is done, the message is "invalid field names", or
// that of a warning that could not be appended, and actions is unchanged.
[[nodiscard]] outcome parse_field_names(track_file &file, column_actions &actions, text_buffer &warnings,
                                        error_slot *error);

// Reads the rest of the current line as one sample and appends it. A row with more fields than columns is dropped
// without a warning. In a row with fewer, the missing fields of the sample are zero. Fails with "failed to realloc
// gps_points" or "invalid time field".
[[nodiscard]] outcome append_gps_point(track_file &file, const column_actions &actions, gps_track &track,
                                       error_slot *error);

}  // namespace tarvel
