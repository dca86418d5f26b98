// The .tvl container: one surveyed gate or the measured samples of one swoop.
#pragma once

#include <cstdio>
#include <span>

#include "geo/mat4.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "track/gps_track.h"

namespace tarvel {

// What a gate file yields: a walked track from the text readers, or a finished course from a container.
struct gate_file_data {
  gps_track track;         // empty for a container
  mat4 matrix;             // ECEF to local
  double theta = 0.0;      // speed-carve rotation, radians
  owned_array<vec3> pond;  // local metres, ended by a point whose x, y and z are all 0; or none
};

// The points of a pond perimeter before its terminator: the first point whose x, y and z are all 0, minus zero
// included. None for null.
[[nodiscard]] std::span<const vec3> pond_points(const vec3 *pond);

// Fills matrix, theta and pond. Fails with "failed to open file: %s", "failed to read file: %s" or what is wrong with
// the container, in the words of read_gate_stream; the record then stays as it was.
void read_gate_file(const char *path, gate_file_data &gate_data, error_slot *error);

// Fills the track with samples whose derived fields are zero; a file of no samples gives an empty track. Fails like
// read_gate_file.
void read_swoop_file(const char *path, gps_track &track, error_slot *error);

// The same from an open, seekable stream. Fail with "failed to read TVL header", "invalid TVL header", "more/less than
// one section", "failed to read section header table entry", "malloc() failed" and, for a gate, "not a gate section",
// "failed to read gate header", "invalid gate header", "incorrect gate section size", "failed to read gate sample"; for
// a swoop the same five of a swoop. No memory is asked for before the file is known to hold the samples it counts.
void read_gate_stream(std::FILE *stream, gate_file_data &gate_data, error_slot *error);
void read_swoop_stream(std::FILE *stream, gps_track &track, error_slot *error);

// Writes matrix, theta and pond, without the pond's terminator and heights. Fails with "failed to open file: %s",
// "failed to write TVL header", "failed to write section header table entry", "failed to write gate header", "failed
// to write gate sample" or "failed to write file: %s"; a failed write leaves a partial file.
void write_gate_file(const char *path, const gate_file_data &gate_data, error_slot *error);

// Writes the measured fields of the samples. Fails like write_gate_file, in the words of a swoop.
void write_swoop_file(const char *path, std::span<const gps_point> samples, error_slot *error);

}  // namespace tarvel
