#include "check/interval.h"

#include <algorithm>
#include <cmath>

namespace tarvel {

double widening_of(figure which) {
  switch (which) {
    case figure::turn_height:
    case figure::turn_back:
    case figure::turn_offset:
    case figure::rollout_start_height:
    case figure::rollout_start_back:
    case figure::rollout_start_offset:
    case figure::rollout_start_speed:
    case figure::max_total_speed:
    case figure::max_horizontal_speed:
    case figure::max_horizontal_back:
    case figure::turn_time:
    case figure::rollout_time:
    case figure::time_aloft:
    case figure::touchdown_speed:
    case figure::degrees: return 1.1;
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
