// Writes each jump of a track into a file.
#pragma once

#include <cstdio>
#include <span>

#include "split/stretches.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "track/delimited_reader.h"
#include "track/gps_point.h"

namespace tarvel {

// A track and the stream that it was read from. A container has no rows.
struct split_source {
  const char *path = nullptr;
  std::FILE *stream = nullptr;
  std::span<const gps_point> samples;
  std::span<const std::uint64_t> rows;
};

// The name of a jump's file: "day-1.csv" for jump 1 of "day.csv", "day-1" for a name without an extension. Null when
// memory is short.
[[nodiscard]] owned_text part_name(const char *path, unsigned number);

// Writes each descent into a file in the directory of the track. For a text track the file gets the bytes before the
// first sample's row, and those from the descent's first row to the first row after the descent; for a container, the
// descent's samples. Existing files are not changed. Fails with "file exists: %s", "failed to open file: %s", "failed
// to read file: %s", "failed to write file: %s", "malloc() failed" or a message of the container; the files written
// before are then removed.
void write_parts(const split_source &source, std::span<const stretch> stretches, error_slot *error);

}  // namespace tarvel
