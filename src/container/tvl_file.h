// The .tvl container: one surveyed gate or the measured samples of one swoop.
#pragma once

#include <cstdio>
#include <span>

#include "geo/mat4.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "support/outcome.h"
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

// Fill matrix, theta and pond, or the track with samples whose derived fields are zero, from a seekable stream; a file
// of no samples gives an empty track. Unless done the record is as it was. The message is "failed to read TVL header",
// "invalid TVL header", "more/less than one section", "failed to read section header table entry", "malloc() failed"
// and, for a gate, "not a gate section", "failed to read gate header", "invalid gate header", "incorrect gate section
// size", "failed to read gate sample"; for a swoop the same five of a swoop. No memory is asked for before the file is
// known to hold the samples it counts.
[[nodiscard]] outcome read_gate_stream(std::FILE *stream, gate_file_data &gate_data, error_slot *error);
[[nodiscard]] outcome read_swoop_stream(std::FILE *stream, gps_track &track, error_slot *error);

// Write matrix, theta and pond, without the pond's terminator and heights, or the measured fields of the samples. Fail
// with "failed to write TVL header", "failed to write section header table entry", "failed to write gate header",
// "failed to write gate sample" or, for a swoop, the same two of a swoop. What the stream still buffers is the caller's
// to look after.
void write_gate_stream(std::FILE *stream, const gate_file_data &gate_data, error_slot *error);
void write_swoop_stream(std::FILE *stream, std::span<const gps_point> samples, error_slot *error);

}  // namespace tarvel
