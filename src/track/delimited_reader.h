// Readers for the two comma-separated formats of loggers.
#pragma once

#include <cstdint>
#include <cstdio>

#include "support/error_slot.h"
#include "support/memory.h"
#include "support/outcome.h"
#include "support/text_buffer.h"
#include "track/gps_track.h"

namespace tarvel {

// The offset of each sample's row, in bytes from the start of the stream.
struct row_offsets {
  owned_array<std::uint64_t> offsets;
  std::uint32_t count = 0;
  std::uint32_t capacity = 0;
};

// The header-line format: a line of field names, a line of units, then one sample a line. Values are stored as read.
// Unless the outcome is done the track is unchanged. Each unknown name gives a warning. Messages of not_this_form:
// "missing field names", "invalid field names", "missing field units", "invalid time field", "line length exceeded size
// of buffer" or "no GPS points found". Of no_memory: "failed to malloc file.block_ptr", "invalid field names", "failed
// to realloc gps_points" or "realloc failed" (a warning). Of unreadable: "failed to read track".
[[nodiscard]] outcome read_track_header_csv_stream(std::FILE *stream, gps_track &track, text_buffer &warnings,
                                                   error_slot *error);

// The tagged-line format: every line begins with '$'. The first "$COL,GNSS," line names the fields; each "$GNSS," line
// after it is a sample. Messages as for the header-line format, and "missing $ prefix" of not_this_form.
[[nodiscard]] outcome read_track_tagged_stream(std::FILE *stream, gps_track &track, text_buffer &warnings,
                                               error_slot *error);

// The same; they also fill rows, unless it is null. It is empty when the outcome is not done.
[[nodiscard]] outcome read_track_header_csv_stream(std::FILE *stream, gps_track &track, row_offsets *rows,
                                                   text_buffer &warnings, error_slot *error);
[[nodiscard]] outcome read_track_tagged_stream(std::FILE *stream, gps_track &track, row_offsets *rows,
                                               text_buffer &warnings, error_slot *error);

}  // namespace tarvel
