#include "check/interval.h"

#include <algorithm>
#include <cmath>

namespace tarvel {

double widening_of(figure which) {
  switch (which) {
    case figure::rollout_start_height:
    case figure::rollout_start_back:
    case figure::rollout_start_offset: return 1.25;

    case figure::max_total_speed:
    case figure::max_horizontal_speed:
    case figure::max_horizontal_back:
    case figure::rollout_time: return 1.2;

    case figure::entry_gate_speed:
    case figure::distance_to_stop:
    case figure::touchdown_distance:
    case figure::touchdown_speed:
    case figure::carve_time:
    case figure::rollout_start_speed:
    case figure::degrees:
    case figure::max_vertical_height:
    case figure::max_vertical_back:
    case figure::max_vertical_offset:
    case figure::max_total_height:
    case figure::max_total_back:
    case figure::max_total_offset:
    case figure::max_horizontal_height:
    case figure::max_horizontal_offset: return 1.1;

    case figure::exit_height:
    case figure::turn_height:
    case figure::turn_back:
    case figure::turn_offset:
    case figure::max_vertical_speed:
    case figure::rollout_end_height:
    case figure::rollout_end_back:
    case figure::rollout_end_offset:
    case figure::turn_time:
    case figure::time_aloft:
    case figure::exit_gate_speed: return 1.0;
  }
  return 1.0;
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
