// The two comma-separated forms in which loggers write their samples.
#pragma once

#include <cstdio>

#include "support/error_slot.h"
#include "track/gps_track.h"

namespace tarvel {

// The header-line form: a line of field names, a line of units, then one sample a line. Values are stored as read.
// Unknown names are warned of on standard output. On success the track is replaced by the samples. Fails with "failed
// to open file: %s", "failed to malloc file.block_ptr", "missing field names", "invalid field names", "missing field
// units", "invalid time field", "failed to realloc gps_points", "line length exceeded size of buffer", "no GPS points
// found" or "failed to read file: %s"; the track is then empty.
void read_track_header_csv(const char *path, gps_track &track, error_slot *error);

// The tagged-line form: every line begins with '$'; the first "$COL,GNSS," line names the fields, and each "$GNSS,"
// line behind it is a sample. Fails like the header-line reader, and with "missing $ prefix".
void read_track_tagged(const char *path, gps_track &track, error_slot *error);

// The same from an open stream.
void read_track_header_csv_stream(std::FILE *stream, gps_track &track, error_slot *error);
void read_track_tagged_stream(std::FILE *stream, gps_track &track, error_slot *error);

}  // namespace tarvel
