// Finds the reader for a stream by its content; the file name is not considered.
#pragma once

#include <cstdio>

#include "support/error_slot.h"
#include "support/outcome.h"
#include "support/text_buffer.h"
#include "track/course.h"
#include "track/delimited_reader.h"
#include "track/gps_track.h"

namespace tarvel {

// The content of a gate file: a walked track, or the course of a container.
struct gate_file_data {
  gps_track track;  // empty for a container
  tarvel::course course;
};

// Try the readers of the container, tagged lines and header lines in this order, each from the start of the seekable
// stream. Stop at an I/O error or when memory is short, with that reader's message. When no reader fits, the message is
// that of the header-line reader. Unless the outcome is done the target is unchanged. A gate container fills the
// course, text the track. Set the track's kind.
[[nodiscard]] outcome load_gate_stream(std::FILE *stream, gate_file_data &gate_data, text_buffer &warnings,
                                       error_slot *error);
[[nodiscard]] outcome load_swoop_stream(std::FILE *stream, gps_track &track, text_buffer &warnings, error_slot *error);

// Like load_swoop_stream; also gives the offsets of the samples' rows in the text, none for a container.
[[nodiscard]] outcome load_swoop_rows(std::FILE *stream, gps_track &track, row_offsets &rows, text_buffer &warnings,
                                      error_slot *error);

}  // namespace tarvel
