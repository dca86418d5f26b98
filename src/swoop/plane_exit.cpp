#include "swoop/plane_exit.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "swoop/sample_measures.h"
#include "swoop/sample_tree.h"

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

// What candidates ask about the samples behind them.
struct fall_summary {
  double lowest = std::numeric_limits<double>::infinity();  // ft; heights that are no numbers do not count
  double accelerations = 0.0;                               // their sum, mph per second
  latest_time latest;

  void add(const gps_point &sample) {
    lowest = std::min(lowest, height_feet(sample));
    accelerations += downward_acceleration(sample);
    latest.add(sample);
  }

  void add(const fall_summary &others) {
    lowest = std::min(lowest, others.lowest);
    accelerations += others.accelerations;
    latest.add(others.latest);
  }
};

struct has_lasted {
  std::int64_t start;
  bool operator()(const gps_point &sample) const { return elapsed(start, sample.time) >= fall_time; }
  bool operator()(const fall_summary &summary) const { return summary.latest.is_after(start, fall_time); }
};

// An acceleration that is not a number ends a fall, too: no mean with it exceeds anything.
bool may_be_fall(const gps_point &sample) {
  const double acceleration = downward_acceleration(sample);
  return acceleration >= 0.0 && acceleration <= greatest_fall;
}

// Tells falls from shocks and climbs. A candidate that looked at all samples behind it would make a search quadratic,
// as would its mean over a clock that hardly advances.
class fall_check {
 public:
  explicit fall_check(std::span<const gps_point> samples) : samples_(samples), tree_(samples) {}

  bool confirm(std::size_t i) { return has_begun(i) && ends_below(i); }

 private:
  // True when the mean downward acceleration over the fall time from sample i exceeds the least of a fall.
  bool has_begun(std::size_t i) {
    fall_end_ = std::max(fall_end_, i);
    while (fall_end_ < samples_.size() && may_be_fall(samples_[fall_end_])) ++fall_end_;
    const std::size_t last = tree_.find_first(i, fall_end_, has_lasted{samples_[i].time});
    return last < fall_end_ && mean_exceeds_least(i, last);
  }

  // As the sum from the first to the last sample has it, which differs from any other order's by its rounding.
  bool mean_exceeds_least(std::size_t first, std::size_t last) {
    const auto count = static_cast<double>(last - first + 1);
    const double sum = tree_.between(first, last + 1).accelerations;
    const double rounding = 2.0 * count * std::numeric_limits<double>::epsilon() * sum;
    if (std::fabs(sum - count * least_fall) > rounding) return sum > count * least_fall;
    double in_order = 0.0;
    for (std::size_t j = first; j <= last; ++j) in_order += downward_acceleration(samples_[j]);
    return in_order / count > least_fall;
  }

  // False when the height climbs again before it comes down to the ground. No climb ends sooner behind a later
  // candidate: the search goes on where the climb of the candidate before was found.
  bool ends_below(std::size_t i) {
    std::size_t j = std::max(i, climb_);
    double lowest = j == i ? height_feet(samples_[i]) : tree_.between(i, j).lowest;
    for (; j < samples_.size(); ++j) {
      const double height = height_feet(samples_[j]);
      if (height < lowest) lowest = height;
      if (height < landing_height_feet) return true;
      if (height - lowest > climb_feet) {
        climb_ = j;
        return false;
      }
    }
    return true;
  }

  std::span<const gps_point> samples_;
  sample_tree<fall_summary> tree_;
  std::size_t fall_end_ = 0;  // first sample that is no fall, from the last candidate on
  std::size_t climb_ = 0;     // refused the last candidate that had begun to fall
};

std::size_t find_plane_exit(std::span<const gps_point> samples) {
  fall_check fall(samples);
  bool was_high = false;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double height = height_feet(samples[i]);
    if (samples[i].vacc < trusted_vacc) {
      if (height > pattern_height_feet) was_high = true;
      if (height < low_height_feet && was_high) return 0;
    }
    const bool may_fall =
        height > pattern_height_feet && height < highest_exit_feet && downward_acceleration(samples[i]) > least_fall;
    if (may_fall && fall.confirm(i)) return i;
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
