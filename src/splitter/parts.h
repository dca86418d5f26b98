// The files that the jumps of a track are written to.
#pragma once

#include <cstdio>
#include <span>

#include "split/stretches.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "track/delimited_reader.h"
#include "track/gps_point.h"

namespace tarvel {

// A track with the stream that it was read from; no rows for a container.
struct split_source {
  const char *path = nullptr;
  std::FILE *stream = nullptr;
  std::span<const gps_point> samples;
  std::span<const std::uint64_t> rows;
};

// The name of a jump's file: the number goes before the extension of "day.csv", and to the end of a name that has none.
// Null when memory is short.
[[nodiscard]] owned_text part_name(const char *path, unsigned number);

// Writes each descent beside the track: of text all that stands before the first row, and the bytes from the descent's
// first row to the next descent's; of a container its samples. No file that is there is touched: fails with "file exists: %s",
// "failed to open file: %s", "failed to read file: %s", "failed to write file: %s", "malloc() failed" or a message of the
// container's, and removes what it has written.
void write_parts(const split_source &source, std::span<const stretch> stretches, error_slot *error);

}  // namespace tarvel
