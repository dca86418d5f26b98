// One jump of a track as a file of its own.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>

#include "split/stretches.h"
#include "support/error_slot.h"
#include "support/memory.h"
#include "track/gps_point.h"

namespace tarvel {

// A track with the stream that it was read from; no rows for a container.
struct split_source {
  const char *path = nullptr;
  std::FILE *stream = nullptr;
  std::span<const gps_point> samples;
  std::span<const std::uint64_t> rows;
};

// The name of a jump's file: the number is put before the extension, "day-2.csv" for "day.csv", or at the end of a name
// without one. Null when memory is short.
[[nodiscard]] owned_text part_name(const char *path, unsigned number);

// Writes a part of the track. Of a text track these are the bytes before the first sample's row, and those from the
// part's first row to the row after its last; of a container, the part's samples. Fails with "failed to read file: %s"
// or a message of write_swoop_stream; the caller checks the written stream for errors.
void write_part(const split_source &source, const stretch &part, std::FILE *file, error_slot *error);

}  // namespace tarvel
