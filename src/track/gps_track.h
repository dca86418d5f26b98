// A track: samples in file order, in one array that grows by doubling.
#pragma once

#include <cstdint>

#include "support/error_slot.h"
#include "support/memory.h"
#include "track/gps_point.h"

namespace tarvel {

// The three formats of a track.
enum class track_kind { header_lines, tagged_lines, container };

// Other records refer to samples by 32-bit index; index 0 means "not found".
struct gps_track {
  owned_array<gps_point> points;
  std::uint32_t count = 0;                     // samples in use
  std::uint32_t capacity = 0;                  // samples allocated; used while a delimited reader appends
  track_kind kind = track_kind::header_lines;  // format of the stream; set by the loader
};

// Makes room for one more sample. The capacity is 4096 at first (13 minutes at 5 Hz) and is doubled as needed. False
// with "failed to realloc gps_points" when memory is short; the samples are then unchanged.
[[nodiscard]] bool grow_track(gps_track &track, error_slot *error);

}  // namespace tarvel
