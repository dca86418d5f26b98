#include "gate/waypoints.h"

#include <cmath>

#include "geo/wgs84.h"
#include "support/time.h"

namespace tarvel {

namespace {

constexpr float good_accuracy = 3.0F;         // m; one of the two accuracies must be better
constexpr double standing_distance = 2.0;     // m
constexpr std::int64_t standing_time = 7999;  // ms; a standstill is longer
constexpr std::int64_t trimmed_time = 1999;   // ms left out at both ends of a standstill
constexpr double walking_distance = 10.0;     // m
constexpr double height_tolerance = 3.5;      // m
constexpr double carried_height = 1.0;        // m; height of the walker's logger above the ground

double distance_between(std::span<const gps_point> track, std::size_t a, std::size_t b) {
  return distance_3d(track[a].pos_ecef, track[b].pos_ecef);
}

std::int64_t time_between(std::span<const gps_point> track, std::size_t a, std::size_t b) {
  return elapsed(track[a].time, track[b].time);
}

std::size_t find_start(std::span<const gps_point> track) {
  std::size_t i = 0;
  while (i < track.size() && !(track[i].hacc < good_accuracy || track[i].vacc < good_accuracy)) ++i;
  return i;
}

// Two samples of a standstill: its first, and the first that is late enough after it.
struct dwell {
  std::size_t anchor = 0;
  std::size_t proof = 0;
};

// Scans forward; when the walker is too far from the anchor, moves the anchor to the next sample that is near enough.
// False when there is no standstill, or when a distance is NaN, with which the search would not end.
bool find_dwell(std::span<const gps_point> track, std::size_t start, dwell &found) {
  std::size_t anchor = start;
  std::size_t i = start;
  double distance = 0.0;
  std::int64_t time = 0;
  const auto measure = [&] {
    time = time_between(track, anchor, i);
    distance = distance_between(track, anchor, i);
    return !std::isnan(distance);
  };
  const auto is_found = [&] { return time > standing_time && distance < standing_distance; };

  while (!is_found()) {
    while (time <= standing_time && distance < standing_distance) {
      if (++i >= track.size() || !measure()) return false;
    }
    while (distance >= standing_distance) {
      ++anchor;
      if (!measure()) return false;
    }
  }
  found = {anchor, i};
  return true;
}

// The last sample of the standstill.
std::size_t extend_dwell(std::span<const gps_point> track, const dwell &found) {
  std::size_t i = found.proof + 1;
  while (i < track.size() && distance_between(track, found.anchor, i) < standing_distance) ++i;
  return i - 1;
}

vec3 mean_position(std::span<const gps_point> samples) {
  vec3 sum = samples[0].pos_ecef;
  for (const gps_point &sample : samples.subspan(1)) {
    sum.x += sample.pos_ecef.x;
    sum.y += sample.pos_ecef.y;
    sum.z += sample.pos_ecef.z;
  }
  const auto count = static_cast<double>(samples.size());
  return {sum.x / count, sum.y / count, sum.z / count};
}

double largest_distance(std::span<const gps_point> samples, const vec3 &from) {
  double largest = 0.0;
  for (const gps_point &sample : samples) {
    const double distance = distance_3d(from, sample.pos_ecef);
    if (distance > largest) largest = distance;
  }
  return largest;
}

}  // namespace

void detect_motion(std::span<const gps_point> track, std::size_t start, std::size_t &next, text_buffer &log) {
  for (std::size_t i = start + 1; i < track.size(); ++i) {
    if (distance_between(track, start, i) >= walking_distance) {
      next = i;
      return;
    }
  }
  *log.error = "could not detect motion";
}

void detect_waypoint(std::span<const gps_point> track, std::size_t start, std::size_t &next, vec3 &waypoint,
                     text_buffer &log) {
  dwell found;
  if (start >= track.size() || !find_dwell(track, start, found)) {
    *log.error = "could not detect waypoint";
    return;
  }
  const std::size_t last = extend_dwell(track, found);
  std::size_t first_kept = found.anchor;
  while (first_kept <= last && time_between(track, found.anchor, first_kept) <= trimmed_time) ++first_kept;
  std::size_t end_kept = first_kept;
  while (end_kept <= last && time_between(track, end_kept, last) > trimmed_time) ++end_kept;
  if (first_kept > last || end_kept == first_kept) {
    *log.error = "not enough points for waypoint";
    return;
  }

  const std::span<const gps_point> kept = track.subspan(first_kept, end_kept - first_kept);
  next = end_kept - 1;
  waypoint = mean_position(kept);
  text_buffer_printf(log, "waypoint detected: %3d points, %5dms interval, %4.2fm deviation\n",
                     static_cast<int>(kept.size()), static_cast<int>(time_between(track, first_kept, next)),
                     largest_distance(kept, waypoint));
}

void find_waypoints(std::span<const gps_point> track, waypoint_list &waypoints, text_buffer &log) {
  constexpr std::size_t required = 5;
  waypoints = waypoint_list();
  if (track.empty()) {
    *log.error = "no points found in track";
    return;
  }
  std::size_t position = find_start(track);
  if (position == track.size()) {
    *log.error = "could not find start of track";
    return;
  }
  for (std::size_t i = 0; i < required; ++i) {
    if (i != 0) detect_motion(track, position, position, log);
    if (*log.error) return;
    detect_waypoint(track, position, position, waypoints[i], log);
    if (*log.error) return;
  }
  // The exit mark is optional.
  detect_motion(track, position, position, log);
  if (*log.error == nullptr) detect_waypoint(track, position, position, waypoints[required], log);
  if (*log.error) waypoints[required] = vec3();
  *log.error = nullptr;
}

void level_waypoints(std::array<vec3, 4> &corners, text_buffer &log) {
  std::array<vec3, 4> wgs84;
  for (std::size_t i = 0; i < 4; ++i) wgs84[i] = ecef_to_wgs84(corners[i]);
  const double average = (wgs84[0].z + wgs84[1].z + wgs84[2].z + wgs84[3].z) / 4.0;
  std::array<double, 4> deviations;
  double largest = 0.0;
  for (std::size_t i = 0; i < 4; ++i) {
    deviations[i] = wgs84[i].z - average;
    if (std::fabs(deviations[i]) > largest) largest = std::fabs(deviations[i]);
  }
  text_buffer_printf(log, "average height: %6.2fm (%4.2fm, %4.2fm, %4.2fm, %4.2fm deviation)\n", average, deviations[0],
                     deviations[1], deviations[2], deviations[3]);
  if (largest > height_tolerance) {
    *log.error = format_error("excessive error in waypoint height (%4.2fm)", largest);
    return;
  }
  for (std::size_t i = 0; i < 4; ++i) {
    corners[i] = wgs84_to_ecef({wgs84[i].x, wgs84[i].y, average - carried_height});
  }
}

}  // namespace tarvel
