// The .tvl container: one surveyed course or the measured samples of one swoop.
#pragma once

#include <cstdio>
#include <span>

#include "support/error_slot.h"
#include "support/outcome.h"
#include "track/course.h"
#include "track/gps_track.h"

namespace tarvel {

// Read a course, or samples whose derived fields are zero, from a seekable stream; a file of no samples gives an empty
// track, one of no points an empty pond. Unless done the record is as it was. The message is "failed to read TVL
// header", "invalid TVL header", "more/less than one section", "failed to read section header table entry", "malloc()
// failed" and, for a gate, "not a gate section", "failed to read gate header", "invalid gate header", "incorrect gate
// section size", "failed to read gate sample"; for a swoop the same five of a swoop. No memory is asked for before the
// file is known to hold the samples it counts.
[[nodiscard]] outcome read_gate_stream(std::FILE *stream, course &result, error_slot *error);
[[nodiscard]] outcome read_swoop_stream(std::FILE *stream, gps_track &track, error_slot *error);

// Write a course, its pond without heights, or the measured fields of the samples. Fail with "failed to write TVL
// header", "failed to write section header table entry", "failed to write gate header", "failed to write gate sample"
// or, for a swoop, the same two of a swoop. The caller closes the stream and checks that.
void write_gate_stream(std::FILE *stream, const course &surveyed, error_slot *error);
void write_swoop_stream(std::FILE *stream, std::span<const gps_point> samples, error_slot *error);

}  // namespace tarvel
