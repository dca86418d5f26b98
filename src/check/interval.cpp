#include "check/interval.h"

#include <algorithm>
#include <cmath>

namespace tarvel {

double widening_of(figure which) {
  switch (which) {
    // The greatest of many noisy speeds lies above the truth, and the figure with it.
    case figure::max_vertical_speed: return 1.2;

    // The speed falls fast from sample to sample while the pilot comes to rest.
    case figure::touchdown_speed:
    case figure::max_total_speed: return 1.15;

    case figure::max_horizontal_speed:
    case figure::rollout_start_speed: return 1.1;

    case figure::degrees:
    case figure::time_aloft: return 1.05;

    case figure::distance_to_stop:
    // Where the turn may have begun before a jolt, the ends of these reach to that start as well.
    case figure::turn_height:
    case figure::turn_back:
    case figure::turn_offset:
    // The draws of these scatter a little more than the figure does around the truth.
    case figure::exit_height:
    case figure::max_vertical_height:
    case figure::max_vertical_back:
    case figure::rollout_start_height:
    case figure::rollout_start_back:
    case figure::rollout_end_back:
    case figure::max_total_back:
    case figure::rollout_time:
    case figure::carve_time:
    case figure::exit_gate_speed: return 0.95;

    // The offset of a draw's positions is drawn larger than it is in most tracks.
    case figure::max_vertical_offset:
    case figure::rollout_start_offset:
    case figure::max_total_offset:
    case figure::max_horizontal_offset:
    // Most of its interval is the resolution, half a step, which needs no widening.
    case figure::max_horizontal_back: return 0.9;

    case figure::rollout_end_offset: return 0.85;

    default: return 1.0;
  }
}

double percentile(std::span<const double> values, double part) {
  const double place = part * static_cast<double>(values.size() - 1);
  const double below = std::floor(place);
  const auto index = static_cast<std::size_t>(below);
  if (index + 1 >= values.size()) return values.back();
  return values[index] + (values[index + 1] - values[index]) * (place - below);
}

interval interval_of(std::span<double> draws, double widening) {
  std::sort(draws.begin(), draws.end());
  const double median = percentile(draws, 0.5);
  return {median - widening * (median - percentile(draws, 0.025)),
          median + widening * (percentile(draws, 0.975) - median)};
}

interval containing(const interval &given, double value) {
  return {std::min(given.low, value), std::max(given.high, value)};
}

}  // namespace tarvel
