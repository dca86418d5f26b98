#include "swoop/max_speeds.h"

#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

// The first sample of [first, stop) with the greatest value.
template <typename measure>
std::uint32_t first_greatest(const swoop &run, std::uint32_t first, measure speed_of) {
  std::uint32_t greatest_at = 0;
  double greatest = 0.0;
  for (std::uint32_t i = first; i < run.stop; ++i) {
    const double speed = speed_of(run.track[i]);
    if (speed > greatest) {
      greatest = speed;
      greatest_at = i;
    }
  }
  return greatest_at;
}

}  // namespace

void detect_max_speeds(swoop &run, error_slot *) {
  run.max_horz_speed = first_greatest(run, run.rollout, horizontal_speed);
  run.max_vert_speed = first_greatest(run, run.top_of_turn, [](const gps_point &s) { return -s.vel_local.z; });
  run.max_total_speed = first_greatest(run, run.top_of_turn, total_speed);
}

}  // namespace tarvel
