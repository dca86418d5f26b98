// A track: samples in file order, in one array that grows by doubling.
#pragma once

#include <cstdint>

#include "support/error_slot.h"
#include "support/memory.h"
#include "track/gps_point.h"

namespace tarvel {

// The three forms of a track, told by content.
enum class track_kind { header_lines, tagged_lines, container };

// Results refer to samples by 32-bit index; index 0 stands for "not found".
struct gps_track {
  owned_array<gps_point> points;
  std::uint32_t count = 0;                     // samples in use
  std::uint32_t capacity = 0;                  // samples allocated, while a delimited reader appends
  track_kind kind = track_kind::header_lines;  // of the stream that a loader has read
};

// Makes room for one more sample: 4096 at first (13 minutes at 5 Hz), then twice as many. False when memory is short:
// the slot then says "failed to realloc gps_points" and the samples are as they were.
[[nodiscard]] bool grow_track(gps_track &track, error_slot *error);

}  // namespace tarvel
