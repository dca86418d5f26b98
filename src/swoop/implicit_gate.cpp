#include "swoop/implicit_gate.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "geo/course_frame.h"
#include "geo/wgs84.h"
#include "support/time.h"
#include "swoop/rollout.h"
#include "swoop/sample_measures.h"
#include "swoop/sample_tree.h"

namespace tarvel {

namespace {

constexpr double flight_descent_feet = 1500.0;
constexpr float usable_vacc = 20.0F;  // m; samples with worse heights are not used to find the flight
constexpr double standing_speed_mph = 10.0;
constexpr float unusable_vacc = 10.0F;        // m; with this accuracy or worse the height of a landing is not checked
constexpr double landed_height_feet = 100.0;  // largest change of the height after a landing
constexpr std::int64_t landed_time = 15000;   // ms; a landing lasts longer
constexpr std::int64_t ground_time = 3000;    // ms after the landing over which the ground's height is averaged
constexpr double carried_height = 2.0;        // m; height of a standing pilot's logger above the ground
constexpr double dive_height_feet = 100.0;

// The first sample more than 1,500 ft below the greatest height before it; 0 when there is none. The last sample is not
// examined.
std::size_t find_flight(std::span<const gps_point> samples) {
  double highest = raw_altitude(samples[0]);
  for (std::size_t i = 0; i + 1 < samples.size(); ++i) {
    if (!(samples[i].vacc < usable_vacc)) continue;
    const double altitude = raw_altitude(samples[i]);
    if (altitude > highest) highest = altitude;
    if (feet_per_metre * (highest - altitude) > flight_descent_feet) return i;
  }
  return 0;
}

bool is_slow(const gps_point &sample) { return mph_per_mps * vec3_length(sample.vel_ltp) < standing_speed_mph; }

bool has_moved_away(const gps_point &from, double altitude) {
  return !(feet_per_metre * std::fabs(altitude - raw_altitude(from)) <= landed_height_feet);
}

// A summary of samples, for ends_stay.
struct ground_summary {
  double least = std::numeric_limits<double>::infinity();  // m; above greatest when there are no samples
  double greatest = -std::numeric_limits<double>::infinity();
  time_range times;

  void add(const gps_point &sample) {
    const double altitude = raw_altitude(sample);
    least = std::min(least, altitude);
    greatest = std::max(greatest, altitude);
    // No altitude is near NaN.
    if (std::isnan(altitude)) greatest = std::numeric_limits<double>::infinity();
    times.add(sample);
  }

  void add(const ground_summary &others) {
    least = std::min(least, others.least);
    greatest = std::max(greatest, others.greatest);
    times.add(others.times);
  }
};

bool has_stayed(const gps_point &from, const gps_point &sample) {
  return elapsed(from.time, sample.time) > landed_time;
}

// True for the first sample at which the landing has lasted long enough or the height has changed.
struct ends_stay {
  const gps_point &from;

  bool operator()(const gps_point &sample) const {
    return has_stayed(from, sample) || has_moved_away(from, raw_altitude(sample));
  }
  bool operator()(const ground_summary &summary) const {
    const bool may_have_left = summary.least <= summary.greatest &&
                               (has_moved_away(from, summary.least) || has_moved_away(from, summary.greatest));
    return may_have_left || summary.times.may_be_after(from.time, landed_time + 1);
  }
};

// The first sample of the landing after the flight; 0 when there is none. The last sample is not examined.
std::size_t find_landing(std::span<const gps_point> samples, std::size_t flight) {
  sample_tree<ground_summary> tree(samples);
  // A track that ends before the landing has lasted long enough counts as one that lasts.
  const auto lasts = [&](std::size_t i) {
    const std::size_t decided = tree.find_first(i, samples.size(), ends_stay{samples[i]});
    return decided == samples.size() || has_stayed(samples[i], samples[decided]);
  };
  for (std::size_t i = flight; i + 1 < samples.size(); ++i) {
    if (is_slow(samples[i]) && (samples[i].vacc >= unusable_vacc || lasts(i))) return i;
  }
  return 0;
}

double ground_height(std::span<const gps_point> samples, std::size_t landing) {
  double sum = 0.0;
  std::size_t count = 0;
  for (std::size_t i = landing; i < samples.size(); ++i) {
    sum += raw_altitude(samples[i]);
    ++count;
    if (elapsed(samples[landing].time, samples[i].time) > ground_time) break;
  }
  return sum / static_cast<double>(count) - carried_height;
}

bool is_above_dive(const gps_point &sample, double ground) {
  return feet_per_metre * (raw_altitude(sample) - ground) > dive_height_feet;
}

}  // namespace

implicit_landing find_implicit_landing(const swoop &run, error_slot *error) {
  const std::span<const gps_point> samples = samples_of(run);
  const std::size_t flight = find_flight(samples);
  if (flight == 0) {
    *error = "could not detect flight";
    return {};
  }
  const std::size_t landing = find_landing(samples, flight);
  if (landing == 0) {
    *error = "could not detect landing";
    return {};
  }
  const double ground = ground_height(samples, landing);
  std::size_t dive = landing;
  while (dive > 0 && !is_above_dive(samples[dive], ground)) --dive;
  if (!is_above_dive(samples[dive], ground)) {
    *error = "could not find dive at 100 feet";
    return {};
  }
  return {static_cast<std::uint32_t>(dive), static_cast<std::uint32_t>(landing), ground};
}

void find_implicit_gate(const swoop &run, vec3 &gate_point, vec3 &landing_point, error_slot *error) {
  const implicit_landing found = find_implicit_landing(run, error);
  if (*error) return;
  std::uint32_t bottom = 0;
  std::int64_t bottom_time = 0;
  find_bottom(run, found.dive, found.landing, bottom, bottom_time);
  const vec3 gate = position_at(run, bottom, bottom_time, &gps_point::pos_wgs84);
  const vec3 &landing = run.track[found.landing].pos_wgs84;
  gate_point = {gate.x, gate.y, found.ground};
  landing_point = {landing.x, landing.y, found.ground};
}

void build_implicit_frame(swoop &run, error_slot *error) {
  vec3 gate;
  vec3 landing;
  find_implicit_gate(run, gate, landing, error);
  if (*error) return;

  constexpr double vertical_rise = 100.0;  // m; its value does not matter
  const vec3 above = wgs84_to_ecef({gate.x, gate.y, gate.z + vertical_rise});
  const vec3 origin = wgs84_to_ecef(gate);
  frame_axes axes;
  frame_from_vertical(above, origin, wgs84_to_ecef(landing), axes);
  run.matrix = mat4_from_axes(axes, origin);
}

}  // namespace tarvel
