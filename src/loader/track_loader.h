// Which reader fits a stream: decided by content, whatever the name says.
#pragma once

#include <cstdio>

#include "support/error_slot.h"
#include "support/outcome.h"
#include "support/text_buffer.h"
#include "track/course.h"
#include "track/delimited_reader.h"
#include "track/gps_track.h"

namespace tarvel {

// What a gate file holds: a walked track, or a container's finished course.
struct gate_file_data {
  gps_track track;  // empty for a container
  tarvel::course course;
};

// Try the container, then tagged lines, then header lines, each from the start of the seekable stream. A stream that
// cannot be read, or that there is no memory for, is not tried again: the slot has that reader's message. When no
// reader fits, the slot has the header-line reader's message. Unless done the target is as it was. A gate container
// fills the course, text the track. A track is told its kind.
[[nodiscard]] outcome load_gate_stream(std::FILE *stream, gate_file_data &gate_data, text_buffer &warnings,
                                       error_slot *error);
[[nodiscard]] outcome load_swoop_stream(std::FILE *stream, gps_track &track, text_buffer &warnings, error_slot *error);

// A run as load_swoop_stream loads it, and where the rows of its samples are in the text; none for a container.
[[nodiscard]] outcome load_swoop_rows(std::FILE *stream, gps_track &track, row_offsets &rows, text_buffer &warnings,
                                      error_slot *error);

}  // namespace tarvel
