#include "check/interval.h"

#include <algorithm>
#include <cmath>

namespace tarvel {

namespace {

// Where the turn starts is found by walking back from sample to sample as long as the descent grows. A drawn track
// changes its acceleration more often than a flown one, and the more samples there are, the more often that is seen.
double widening_of_turn(double step) {
  constexpr double slow = 5.0;  // samples a second
  constexpr double fast = 20.0;
  constexpr double widest = 0.4;
  const double part = (1.0 / step - slow) / (fast - slow);
  return 1.0 + widest * std::clamp(part, 0.0, 1.0);
}

}  // namespace

double widening_of(figure which, double step) {
  switch (which) {
    case figure::turn_height:
    case figure::turn_back:
    case figure::turn_offset:
    case figure::degrees:
    case figure::turn_time: return widening_of_turn(step);

    case figure::entry_gate_speed:
    case figure::distance_to_stop:
    case figure::touchdown_distance: return 1.05;

    // From one sample to the next, while the pilot comes to rest.
    case figure::touchdown_speed: return 1.3;

    case figure::max_total_speed:
    case figure::max_horizontal_speed:
    case figure::max_horizontal_back:
    case figure::rollout_time: return 1.15;

    case figure::max_vertical_speed:
    case figure::rollout_start_height:
    case figure::rollout_start_back:
    case figure::rollout_start_offset:
    case figure::rollout_start_speed:
    case figure::max_total_height:
    case figure::max_total_back:
    case figure::time_aloft:
    case figure::carve_time:
    case figure::exit_gate_speed: return 1.1;

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
