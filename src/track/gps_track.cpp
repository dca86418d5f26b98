#include "track/gps_track.h"

namespace tarvel {

bool grow_track(gps_track &track, error_slot *error) {
  constexpr std::uint32_t first_capacity = 4096;
  if (track.count < track.capacity) return true;

  const auto doubled = static_cast<std::uint64_t>(track.capacity) * 2;
  const std::uint64_t capacity = track.capacity == 0 ? first_capacity : doubled;
  if (capacity > UINT32_MAX || !try_resize(track.points, capacity)) {
    *error = "failed to realloc gps_points";
    return false;
  }
  track.capacity = static_cast<std::uint32_t>(capacity);
  return true;
}

}  // namespace tarvel
