#include "track/gps_track.h"

namespace tarvel {

bool grow_track(gps_track &track, error_slot *error) {
  constexpr std::uint32_t first_capacity = 4096;
  if (try_reserve(track.points, track.capacity, std::uint64_t{track.count} + 1, first_capacity)) return true;
  *error = "failed to realloc gps_points";
  return false;
}

}  // namespace tarvel
