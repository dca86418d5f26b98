#include "swoop/plane_exit.h"

#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

// Feet above the entry gate.
constexpr double pattern_height_feet = 2500.0;  // the pattern begins below, an exit lies above
constexpr double highest_exit_feet = 20000.0;
constexpr double low_height_feet = 1000.0;     // below it, after a time above 2,500 ft, no exit follows
constexpr double landing_height_feet = 200.0;  // a fall that comes down to here was one
constexpr double climb_feet = 75.0;            // a fall does not climb by more

// mph per second downward: free fall is 22, an aircraft that levels off stays below, shocks lie above.
constexpr double least_fall = 12.0;
constexpr double greatest_fall = 44.0;
constexpr std::int64_t fall_time = 1500;  // ms for which the mean must exceed least_fall

// Vertical accuracies from here on (m) say too little to end the search.
constexpr float trusted_vacc = 10.0F;

// Finds falls that last. Where the clock stands still, each candidate could look at all samples behind it. So a scan
// that ended before the fall time had passed is remembered: candidates between its own and its end, with the clock
// not gone back, have not as much time left.
struct fall_start_check {
  std::size_t candidate = 0;
  std::size_t ended_at = 0;

  // True when the mean downward acceleration over the fall time from sample i exceeds the least of a fall.
  bool confirm(std::span<const gps_point> samples, std::size_t i) {
    if (i < ended_at && elapsed(samples[candidate], samples[i]) >= 0) return false;
    double sum = 0.0;
    std::size_t j = i;
    for (; j < samples.size(); ++j) {
      const double acceleration = downward_acceleration(samples[j]);
      if (acceleration < 0.0 || acceleration > greatest_fall) break;
      sum += acceleration;
      if (elapsed(samples[i], samples[j]) >= fall_time) return sum / static_cast<double>(j - i + 1) > least_fall;
    }
    candidate = i;
    ended_at = j;
    return false;
  }
};

// Tells falls from climbs. Where one candidate is refused, so are all later ones up to the lowest sample of its fall:
// they see the same lowest height before the same climb. Remembering that sample saves scanning a long climb anew for
// each of them.
struct fall_check {
  std::size_t refused_up_to = 0;

  bool confirm(std::span<const gps_point> samples, std::size_t i) {
    if (i != 0 && i <= refused_up_to) return false;
    double lowest = height_feet(samples[i]);
    std::size_t lowest_at = i;
    for (std::size_t j = i; j < samples.size(); ++j) {
      const double height = height_feet(samples[j]);
      if (height <= lowest) {
        lowest = height;
        lowest_at = j;
      }
      if (height < landing_height_feet) return true;
      if (height - lowest > climb_feet) {
        refused_up_to = lowest_at;
        return false;
      }
    }
    return true;
  }
};

std::size_t find_plane_exit(std::span<const gps_point> samples) {
  fall_start_check start;
  fall_check fall;
  bool was_high = false;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double height = height_feet(samples[i]);
    if (samples[i].vacc < trusted_vacc) {
      if (height > pattern_height_feet) was_high = true;
      if (height < low_height_feet && was_high) return 0;
    }
    const bool may_fall =
        height > pattern_height_feet && height < highest_exit_feet && downward_acceleration(samples[i]) > least_fall;
    if (may_fall && start.confirm(samples, i) && fall.confirm(samples, i)) return i;
  }
  return 0;
}

}  // namespace

void detect_plane_exit(swoop &run, error_slot *) {
  run.plane_exit = static_cast<std::uint32_t>(find_plane_exit(samples_of(run)));
}

void detect_pattern_entry(swoop &run, error_slot *error) {
  const std::span<const gps_point> samples = samples_of(run);
  for (std::size_t i = run.plane_exit + std::size_t{1}; i < samples.size(); ++i) {
    const bool was_above = height_feet(samples[i - 1]) >= pattern_height_feet;
    const bool is_below = height_feet(samples[i]) < pattern_height_feet;
    if (was_above && is_below) {
      run.pattern_entry = static_cast<std::uint32_t>(i);
      return;
    }
  }
  *error = "could not detect pattern entry";
}

}  // namespace tarvel
