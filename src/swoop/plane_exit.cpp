#include "swoop/plane_exit.h"

#include <algorithm>
#include <limits>

#include "support/time.h"
#include "swoop/sample_measures.h"
#include "swoop/sample_tree.h"

namespace tarvel {

namespace {

// Feet above the entry gate.
constexpr double pattern_height_feet = 2500.0;  // the pattern begins below it, an exit is above it
constexpr double highest_exit_feet = 20000.0;
constexpr double low_height_feet = 1000.0;     // the search ends below it, after a sample above 2,500 ft
constexpr double landing_height_feet = 200.0;  // the first sample below it after a fall is the landing
constexpr double climb_feet = 75.0;            // a fall is refused when the height then climbs by more

// mph per second downward. Free fall gives 22; an aircraft that levels off gives less than the least, a shock more than
// the greatest.
constexpr double least_fall = 12.0;
constexpr double greatest_fall = 44.0;
constexpr std::int64_t fall_time = 1500;  // ms over which the mean must exceed least_fall

// Up to this many samples, 340 a second, are added in file order; receivers give up to 100 a second.
constexpr std::size_t most_added_in_order = 512;

// m; samples with this vertical accuracy or worse do not end the search.
constexpr float trusted_vacc = 10.0F;

// False for an acceleration of NaN, too.
bool may_be_fall(const gps_point &sample) {
  const double acceleration = downward_acceleration(sample);
  return acceleration >= 0.0 && acceleration <= greatest_fall;
}

// A summary of samples, for ends_fall and the mean acceleration.
struct fall_summary {
  double accelerations = 0.0;  // their sum, mph per second
  bool is_fall = true;         // may_be_fall() of every sample
  time_range times;

  void add(const gps_point &sample) {
    accelerations += downward_acceleration(sample);
    is_fall = is_fall && may_be_fall(sample);
    times.add(sample);
  }

  void add(const fall_summary &others) {
    accelerations += others.accelerations;
    is_fall = is_fall && others.is_fall;
    times.add(others.times);
  }
};

// True for the first sample at which the fall ends or has lasted long enough.
struct ends_fall {
  std::int64_t start;

  bool operator()(const gps_point &sample) const {
    return !may_be_fall(sample) || elapsed(start, sample.time) >= fall_time;
  }
  bool operator()(const fall_summary &summary) const {
    return !summary.is_fall || summary.times.may_be_after(start, fall_time);
  }
};

// True when the mean downward acceleration over fall_time from sample i exceeds least_fall.
bool has_begun(std::span<const gps_point> samples, sample_tree<fall_summary> &tree, std::size_t i) {
  const ends_fall decides = {samples[i].time};
  const std::size_t end_in_order = std::min(samples.size(), i + most_added_in_order);
  double sum = 0.0;
  std::size_t last = i;
  while (last < end_in_order && !decides(samples[last])) sum += downward_acceleration(samples[last++]);
  if (last == end_in_order) {
    last = tree.find_first(last, samples.size(), decides);
    if (last == samples.size()) return false;
    sum = tree.between(i, last).accelerations;
  }
  sum += downward_acceleration(samples[last]);
  return may_be_fall(samples[last]) && sum / static_cast<double>(last - i + 1) > least_fall;
}

// The samples up to the next landing. A fall that begins before first_kept is refused, since the height climbs again
// before the landing.
struct descent {
  std::size_t first_kept = 0;
  std::size_t landing = 0;
};

descent find_descent(std::span<const gps_point> samples, std::size_t first) {
  std::size_t landing = first;
  while (landing < samples.size() && !(height_feet(samples[landing]) < landing_height_feet)) ++landing;
  double highest = -std::numeric_limits<double>::infinity();
  for (std::size_t i = landing; i > first; --i) {
    const double height = height_feet(samples[i - 1]);
    if (highest - height > climb_feet) return {i, landing};
    if (height > highest) highest = height;
  }
  return {first, landing};
}

std::size_t find_plane_exit(std::span<const gps_point> samples) {
  sample_tree<fall_summary> tree(samples);
  descent current;
  bool was_high = false;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double height = height_feet(samples[i]);
    if (samples[i].vacc < trusted_vacc) {
      if (height > pattern_height_feet) was_high = true;
      if (height < low_height_feet && was_high) return 0;
    }
    const bool may_fall =
        height > pattern_height_feet && height < highest_exit_feet && downward_acceleration(samples[i]) > least_fall;
    if (!may_fall || i < current.first_kept || !has_begun(samples, tree, i)) continue;
    if (i >= current.landing) current = find_descent(samples, i);
    if (i >= current.first_kept) return i;
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
