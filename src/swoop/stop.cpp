#include "swoop/stop.h"

#include "swoop/sample_measures.h"
#include "swoop/turn.h"

namespace tarvel {

namespace {

// mph. The swoop's heading is taken at the first sample after the dive that is below both.
constexpr double level_descent = 10.0;
constexpr double slow_speed = 20.0;

constexpr double standing_speed = 2.0;      // mph
constexpr double turned_away_angle = 45.0;  // degrees from the swoop's heading; the pilot walks off

bool is_slow_and_level(const gps_point &sample) {
  return descent_mph(sample) < level_descent && horizontal_mph(sample) < slow_speed;
}

}  // namespace

void detect_stop(swoop &run, error_slot *error) {
  std::uint32_t i = find_dive(run, error);
  if (*error) return;

  const std::span<const gps_point> samples = samples_of(run);
  while (i < samples.size() && !is_slow_and_level(samples[i])) ++i;
  if (i == samples.size()) {
    *error = "could not determine swoop heading";
    return;
  }
  const double swoop_heading = samples[i].heading;
  for (; i < samples.size(); ++i) {
    const bool is_standing = horizontal_mph(samples[i]) < standing_speed;
    if (is_standing || folded_heading_change(swoop_heading, samples[i].heading) > turned_away_angle) {
      run.stop = i;
      return;
    }
  }
  *error = "did not detect end of motion after swoop";
}

}  // namespace tarvel
