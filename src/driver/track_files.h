// Reads and writes tracks, courses and runs by file name. Each function opens a file and calls one for streams. It adds
// inputs to the protected ones, prints the reader's warnings, and reports I/O errors with the file's name. Some of
// these functions are used only by tests and by programs over the library.
#pragma once

#include <cstdint>
#include <span>

#include "driver/file_handle.h"
#include "formats/kml.h"
#include "gate/gate.h"
#include "loader/track_loader.h"
#include "support/error_slot.h"
#include "swoop/swoop.h"
#include "track/gps_track.h"

namespace tarvel {

// Opens a track, as open_input does.
[[nodiscard]] file_handle open_track_file(const char *path, error_slot *error);

// These read, and fail with "strdup() failed" or "failed to open file: %s" (opening), "failed to read file: %s",
// "malloc() failed" (warnings), or a message of the function for streams. After a failure the track of the first two is
// empty; any other target is unchanged.
void read_track_header_csv(const char *path, gps_track &track, error_slot *error);
void read_track_tagged(const char *path, gps_track &track, error_slot *error);
void read_gate_file(const char *path, course &result, error_slot *error);
void read_swoop_file(const char *path, gps_track &track, error_slot *error);
void load_gate_track(const char *path, gate_file_data &gate_data, error_slot *error);
void load_swoop_track(const char *path, gps_track &track, error_slot *error);

// Null on failure; "gate filename not specified" for a gate without a name, an empty record for a run without one.
[[nodiscard]] owned_record<gate> gate_open(const char *path, owned_text *log_text, error_slot *error);
[[nodiscard]] owned_record<swoop> swoop_create(const char *path, error_slot *error);

// These write, and fail with "failed to open file: %s", "failed to write file: %s" or a message of the function for
// streams; a write that fails leaves an incomplete file.
void write_gate_file(const char *path, const course &surveyed, error_slot *error);
void write_swoop_file(const char *path, std::span<const gps_point> samples, error_slot *error);

// The map, and coord.txt in the working directory. Fail with "failed to open file: %s" or "failed to write file: %s".
void write_kml(const char *path, std::int64_t start_time, std::span<const gps_point> samples, const gate_ends *ends,
               error_slot *error);
void write_coord_dump(std::span<const gps_point> samples, error_slot *error);

// These write the .tvl copies of debug mode.
void export_gate_file(const char *path, const course &surveyed, error_slot *error);
void export_swoop_file(const char *path, std::span<const gps_point> samples, error_slot *error);
void write_trimmed_swoop(const char *path, const swoop &run, error_slot *error);

}  // namespace tarvel
