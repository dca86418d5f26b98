// The two comma-separated forms in which loggers write their samples.
#pragma once

#include <cstdint>
#include <cstdio>

#include "support/error_slot.h"
#include "support/memory.h"
#include "support/outcome.h"
#include "support/text_buffer.h"
#include "track/gps_track.h"

namespace tarvel {

// Where the row of each sample begins, in bytes from the start of the stream.
struct row_offsets {
  owned_array<std::uint64_t> offsets;
  std::uint32_t count = 0;
  std::uint32_t capacity = 0;
};

// The header-line form: a line of field names, a line of units, then one sample a line. Values are stored as read.
// Unless done the track is as it was. Unknown names get a line each in the warnings. Not this form: "missing field
// names", "invalid field names", "missing field units", "invalid time field", "line length exceeded size of buffer" or
// "no GPS points found". No memory: "failed to malloc file.block_ptr", "invalid field names", "failed to realloc
// gps_points" or "realloc failed" (the warnings). Unreadable: "failed to read track".
[[nodiscard]] outcome read_track_header_csv_stream(std::FILE *stream, gps_track &track, text_buffer &warnings,
                                                   error_slot *error);

// The tagged-line form: every line begins with '$'; the first "$COL,GNSS," line names the fields, and each "$GNSS,"
// line behind it is a sample. Ends like the header-line reader, and with "missing $ prefix" for not this form.
[[nodiscard]] outcome read_track_tagged_stream(std::FILE *stream, gps_track &track, text_buffer &warnings,
                                               error_slot *error);

// The same, and the rows of the samples, none unless done; null when nobody asks for them.
[[nodiscard]] outcome read_track_header_csv_stream(std::FILE *stream, gps_track &track, row_offsets *rows,
                                                   text_buffer &warnings, error_slot *error);
[[nodiscard]] outcome read_track_tagged_stream(std::FILE *stream, gps_track &track, row_offsets *rows,
                                               text_buffer &warnings, error_slot *error);

}  // namespace tarvel
