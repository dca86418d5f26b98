#include "split/jump_phases.h"

#include <algorithm>

#include "geo/course_frame.h"
#include "geo/wgs84.h"
#include "swoop/kinematics.h"
#include "swoop/plane_exit.h"
#include "swoop/sample_measures.h"
#include "swoop/stop.h"
#include "swoop/swoop.h"
#include "swoop/turn.h"
#include "track/track_frames.h"

namespace tarvel {

namespace {

constexpr double straight_descent = 25.0;  // mph; a canopy in straight flight descends more slowly
constexpr double level_descent = 10.0;     // mph; below it a dive is over

// A frame with its origin at this position and its x-axis to the north.
mat4 frame_at(const vec3 &wgs84) {
  constexpr double rise = 100.0;   // m; its value does not matter
  constexpr double ahead = 0.001;  // degrees
  const vec3 origin = wgs84_to_ecef(wgs84);
  frame_axes axes;
  frame_from_vertical(wgs84_to_ecef({wgs84.x, wgs84.y, wgs84.z + rise}), origin,
                      wgs84_to_ecef({wgs84.x + ahead, wgs84.y, wgs84.z}), axes);
  return mat4_from_axes(axes, origin);
}

bool has_dive(const swoop &run) {
  error_slot none = nullptr;
  const std::uint32_t dive = find_dive(run, &none);
  const std::span<const gps_point> samples = samples_of(run);
  if (none != nullptr || !(descent_mph(samples[dive]) > straight_descent)) return false;
  return std::any_of(samples.begin() + dive, samples.end(),
                     [](const gps_point &sample) { return descent_mph(sample) < level_descent; });
}

}  // namespace

jump_phases find_jump_phases(std::span<const gps_point> samples, error_slot *error) {
  swoop run;
  if (!try_resize(run.track, samples.size())) {
    *error = "realloc failed";
    return {};
  }
  std::copy(samples.begin(), samples.end(), run.track.get());
  run.track_len = static_cast<std::uint32_t>(samples.size());
  const std::span<gps_point> track(run.track.get(), run.track_len);
  derive_ecef(track);
  derive_local(track, frame_at(samples.back().pos_wgs84));
  derive_acceleration(run);
  derive_heading(run);

  // Messages are ignored: a jump from less than 2,500 ft has no pattern entry, and one that is cut off has no stop.
  error_slot none = nullptr;
  detect_plane_exit(run, &none);
  detect_pattern_entry(run, &none);
  none = nullptr;
  detect_stop(run, &none);
  return {run.plane_exit, run.track[run.plane_exit].pos_local.z, run.stop, has_dive(run)};
}

}  // namespace tarvel
