#include "split/descents.h"

#include <algorithm>
#include <cmath>

#include "geo/angle.h"
#include "support/time.h"
#include "support/units.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

constexpr double descent_feet = 500.0;  // below the highest sample
// The vertical speeds must confirm a fall: the distance by which they exceed a descent of 1.5 m/s, summed up, must be
// more than 100 m. A canopy descends faster than 1.5 m/s, a car on a mountain road does not.
constexpr double confirmed_fall = 100.0;      // m
constexpr double uncounted_descent = 1.5;     // m/s
constexpr double greatest_descent = 150.0;    // m/s; a faster descent is an error of the logger
constexpr double longest_step = 10.0;         // s over which one vertical speed is assumed to last
constexpr double flying_speed_mph = 10.0;     // a canopy in flight is slower only for short times
constexpr double driving_speed_mph = 25.0;    // faster than a pilot moves in the seconds after landing
constexpr double standing_speed_mph = 2.0;    // as for the stop of a run
constexpr double landed_height_feet = 100.0;  // largest change of the height after a landing
constexpr std::int64_t landed_time = 15000;   // ms

constexpr std::int64_t longest_pause = 60000;      // ms without a sample; after a longer pause the logger was off
constexpr std::int64_t longest_step_back = 60000;  // ms; rows that a logger wrote in the wrong order are less apart
constexpr std::int64_t longest_descent = 900000;   // ms; during a longer pause in the air there was a landing
constexpr double longest_leap = 100.0;             // m from one sample to the next,
constexpr double fastest_on_ground = 100.0;        // and m/s over the time between them
constexpr double fastest_climb = 15.0;             // m/s, of an aircraft with jumpers
constexpr double climb_to_next = 300.0;     // m; a greater rise during a pause means that there was a landing in it
constexpr double near_distance = 1000.0;    // m; the position changes less when only the clock was set
constexpr double earth_radius = 6371000.0;  // m

double speed_mph(const gps_point &sample) { return mph_per_mps * vec3_length(sample.vel_ltp); }

bool is_near_height(double height, double other) {
  return feet_per_metre * std::fabs(height - other) <= landed_height_feet;
}

bool is_paused(const gps_point &before, const gps_point &after) {
  return is_clock_set_back(before, after) || elapsed(before.time, after.time) > longest_pause;
}

// True when the samples before and after a pause may be from the same flight.
bool may_be_same_flight(const gps_point &before, const gps_point &after) {
  const double climb = raw_altitude(after) - raw_altitude(before);
  const std::int64_t step = elapsed(before.time, after.time);
  if (step < 0) return std::fabs(climb) < climb_to_next && plan_distance(before, after) < near_distance;
  return step <= longest_descent && climb < climb_to_next;
}

// Finds descents sample by sample. The fields hold the state since the last landing.
class descent_finder {
 public:
  explicit descent_finder(std::span<const gps_point> samples) : samples_(samples) {}

  // Adds the next sample. True when a descent ends at it; found is then that descent.
  bool add(std::uint32_t i, descent &found) {
    const bool ended = i > 0 && ends_before(i, found);
    if (ended || i == 0) begin(i);
    update(i);
    if (ended) return true;
    return has_landed_by(i) && end_at(standing_, true, i, found);
  }

  // Ends the track. True when it ends in a descent; found is then that descent.
  bool finish(descent &found) {
    const auto last = static_cast<std::uint32_t>(samples_.size() - 1);
    return is_standing_ ? end_at(standing_, true, last, found) : end_at(last, false, last, found);
  }

 private:
  void begin(std::uint32_t i) {
    highest_ = i;
    fallen_ = 0.0;
    is_descending_ = false;
    is_standing_ = false;
  }

  // Ends the stretch at the sample `landing` and begins the next one at sample i. True when it was a descent.
  bool end_at(std::uint32_t landing, bool has_landed, std::uint32_t i, descent &found) {
    found = {highest_, landing, has_landed};
    const bool was_descending = is_descending_;
    begin(i);
    return was_descending;
  }

  // True when a descent ended between the samples i - 1 and i, because the logger was off.
  bool ends_before(std::uint32_t i, descent &found) {
    const gps_point &before = samples_[i - 1];
    const gps_point &sample = samples_[i];
    if (is_standing_) {
      const bool is_flying_on = is_paused(before, sample) && may_be_same_flight(before, sample) && !is_slow(sample) &&
                                raw_altitude(sample) < raw_altitude(before) &&
                                !is_near_height(raw_altitude(sample), raw_altitude(before));
      if (!is_interrupted(before, sample) || is_flying_on) return false;
      return end_at(standing_, true, i, found);
    }
    if (!is_paused(before, sample) || may_be_same_flight(before, sample)) return false;
    return end_at(i - 1, false, i, found);
  }

  void update(std::uint32_t i) {
    const gps_point &sample = samples_[i];
    const double height = raw_altitude(sample);
    const double highest = raw_altitude(samples_[highest_]);
    if (i > 0) add_fall(samples_[i - 1], sample);
    if (!is_descending_ && (height > highest || std::isnan(highest))) highest_ = i;
    if (fallen_ > confirmed_fall && feet_per_metre * (highest - height) > descent_feet) is_descending_ = true;

    const bool stands_on = is_standing_ && speed_mph(sample) < driving_speed_mph &&
                           is_near_height(height, raw_altitude(samples_[standing_]));
    if (stands_on) return;
    is_standing_ = is_slow(sample);
    standing_ = i;
  }

  void add_fall(const gps_point &before, const gps_point &sample) {
    const double seconds = static_cast<double>(elapsed(before.time, sample.time)) / 1000.0;
    const double step = std::clamp(seconds, 0.0, longest_step);
    const double descent = std::min(raw_descent(sample), greatest_descent) - uncounted_descent;
    fallen_ = std::max(0.0, fallen_ + descent * step);
  }

  [[nodiscard]] bool has_landed_by(std::uint32_t i) const {
    return is_standing_ && elapsed(samples_[standing_].time, samples_[i].time) > landed_time;
  }

  std::span<const gps_point> samples_;
  std::uint32_t highest_ = 0;
  double fallen_ = 0.0;         // m, from the vertical speeds
  bool is_descending_ = false;  // the fall is a descent
  bool is_standing_ = false;    // slow and at the same height since sample standing_
  std::uint32_t standing_ = 0;
};

bool append(descent_list &list, const descent &found) {
  constexpr std::uint32_t first_capacity = 16;
  return try_append(list.descents, list.count, list.capacity, first_capacity, found);
}

}  // namespace

void find_descents(std::span<const gps_point> samples, descent_list &list, error_slot *error) {
  if (samples.empty()) return;
  descent_list found;
  descent_finder finder(samples);
  descent next;
  bool has_memory = true;
  for (std::uint32_t i = 0; i < samples.size() && has_memory; ++i) {
    if (finder.add(i, next)) has_memory = append(found, next);
  }
  if (has_memory && finder.finish(next)) has_memory = append(found, next);
  if (!has_memory) {
    *error = "realloc failed";
    return;
  }
  list = std::move(found);
}

bool is_clock_set_back(const gps_point &before, const gps_point &after) {
  return elapsed(before.time, after.time) < -longest_step_back;
}

bool is_interrupted(const gps_point &before, const gps_point &after) {
  const double seconds = std::fabs(static_cast<double>(elapsed(before.time, after.time))) / 1000.0;
  const double reach = longest_leap + fastest_on_ground * seconds;
  const double climb = raw_altitude(after) - raw_altitude(before);
  return is_paused(before, after) || plan_distance(before, after) > reach || -climb > reach ||
         climb > longest_leap + fastest_climb * seconds;
}

double plan_distance(const gps_point &a, const gps_point &b) {
  const double north = radians_from_degrees(b.pos_wgs84.x - a.pos_wgs84.x);
  const double turns = std::remainder(b.pos_wgs84.y - a.pos_wgs84.y, 360.0);
  const double east = radians_from_degrees(turns) * std::cos(radians_from_degrees(a.pos_wgs84.x));
  return earth_radius * std::hypot(north, east);
}

bool is_at_rest(const gps_point &sample) { return speed_mph(sample) < standing_speed_mph; }

bool is_slow(const gps_point &sample) { return speed_mph(sample) < flying_speed_mph; }

}  // namespace tarvel
