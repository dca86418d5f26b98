// The .tvl container: one surveyed course or the measured samples of one swoop.
#pragma once

#include <cstdio>
#include <span>

#include "support/error_slot.h"
#include "support/outcome.h"
#include "track/course.h"
#include "track/gps_track.h"

namespace tarvel {

// Read a course, or samples whose derived fields are zero, from a seekable stream. A file without samples gives an
// empty track, one without points an empty pond. Unless the outcome is done the record is unchanged, and the message is
// "failed to read TVL header", "invalid TVL header", "more/less than one section", "failed to read section header table
// entry", "malloc() failed" or, for a gate, "not a gate section", "failed to read gate header", "invalid gate header",
// "incorrect gate section size", "failed to read gate sample"; for a swoop the same five with "swoop". Memory is
// allocated only after the file's size has been compared with its count of samples.
[[nodiscard]] outcome read_gate_stream(std::FILE *stream, course &result, error_slot *error);
[[nodiscard]] outcome read_swoop_stream(std::FILE *stream, gps_track &track, error_slot *error);

// Write a course, whose pond is written without heights, or the measured fields of the samples. Fail with "failed to
// write TVL header", "failed to write section header table entry", "failed to write gate header", "failed to write gate
// sample" or, for a swoop, the last two with "swoop". The caller closes the stream and checks for write errors.
void write_gate_stream(std::FILE *stream, const course &surveyed, error_slot *error);
void write_swoop_stream(std::FILE *stream, std::span<const gps_point> samples, error_slot *error);

}  // namespace tarvel
