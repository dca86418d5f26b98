#include "check/turn_start.h"

#include <algorithm>

#include "support/time.h"

namespace tarvel {

namespace {

constexpr std::int64_t farthest = 5000;  // ms

double descent_at(const swoop &run, std::uint32_t k) { return -run.track[k].vel_local.z; }

// As sum_turn_degrees counts them.
double degrees_between(const swoop &run, std::uint32_t start, std::uint32_t end) {
  double degrees = 0.0;
  for (std::uint32_t k = start + 1; k <= end; ++k) {
    if (run.track[k].turn_angle < 360.0) degrees += run.track[k].turn_angle;
  }
  return degrees;
}

}  // namespace

std::uint32_t start_before_jolts(const swoop &run, double jolt) {
  const std::int64_t found_at = run.track[run.top_of_turn].time;
  std::uint32_t start = run.top_of_turn;
  for (std::uint32_t k = run.top_of_turn; k > 0;) {
    --k;
    const double beyond = descent_at(run, k) - descent_at(run, start);
    if (!(beyond <= jolt) || elapsed(run.track[k].time, found_at) > farthest) break;
    if (beyond < 0.0) start = k;
  }
  return start;
}

turn_figures figures_of_turn_from(const swoop &run, std::uint32_t start) {
  const gps_point &sample = run.track[start];
  return {{{figure::turn_height, sample.pos_local.z},
           {figure::turn_back, -sample.pos_local.x},
           {figure::turn_offset, -sample.pos_local.y},
           {figure::degrees, degrees_between(run, start, run.bottom_of_turn)},
           {figure::turn_time, unsigned_seconds(sample.time, run.track[run.rollout].time)}}};
}

}  // namespace tarvel
