// A suspect stretch begins with a sample that turns against the last direction while the canopy dives steeply. It goes
// on while the samples still turn against that direction, dive steeply and have moved at most 30 ft in plan. When it
// ends, the heading change across it, taken in the last direction, is spread evenly over its samples, unless that
// change is 315 degrees or more: then the measured angles are kept.
//
// For example, a canopy turns right in a near-vertical dive, with headings 100, 120, 10, 25. The step to 10 is to the
// left and begins a suspect stretch; the step to 25 is to the right and ends it. From 120 to 10 it is 250 degrees to
// the right, which replaces the measured -110. With 95 instead of 10 it would be 335 degrees, and the measured -25
// would be kept.

#include <cmath>

#include "geo/plane.h"
#include "swoop/kinematics.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

enum class turn_direction { none, left, right };

// Steps within 2 degrees have no direction.
turn_direction direction_of(double turn) {
  if (turn > 2.0) return turn_direction::right;
  if (turn < -2.0) return turn_direction::left;
  return turn_direction::none;
}

bool is_flip(turn_direction before, turn_direction now) {
  return (before == turn_direction::right && now == turn_direction::left) ||
         (before == turn_direction::left && now == turn_direction::right);
}

bool is_steep(const gps_point &sample) { return sample.dive_angle > 60.0 && descent_mph(sample) > 60.0; }

// The step in the shorter direction; a step of exactly half a turn keeps its sign.
double heading_step(double from, double to) {
  const double step = to - from;
  if (step > 180.0) return step - 360.0;
  if (step < -180.0) return step + 360.0;
  return step;
}

// Spreads the heading change from sample a to sample b evenly over the time between them.
void even_out(swoop &run, std::uint32_t a, std::uint32_t b, turn_direction direction) {
  double total = run.track[b].heading - run.track[a].heading;
  if (total < 0.0 && direction == turn_direction::right) {
    total += 360.0;
  } else if (total > 0.0 && direction == turn_direction::left) {
    total -= 360.0;
  }
  const double rate = total * 1000.0 / time_step(run.track[a], run.track[b]);
  if (!(std::fabs(total) < 315.0)) return;
  for (std::uint32_t k = a + 1; k <= b; ++k) {
    run.track[k].turn_angle = time_step(run.track[k - 1], run.track[k]) * rate / 1000.0;
  }
}

}  // namespace

void derive_turn_angle(swoop &run) {
  if (run.track_len == 0) return;
  run.track[0].turn_angle = 0.0;
  turn_direction previous = turn_direction::none;
  std::uint32_t suspect_start = 0;  // 0: not in a suspect stretch

  for (std::uint32_t i = 1; i < run.track_len; ++i) {
    gps_point &sample = run.track[i];
    sample.turn_angle = heading_step(run.track[i - 1].heading, sample.heading);
    const turn_direction direction = direction_of(sample.turn_angle);
    const bool is_suspect = is_flip(previous, direction) && is_steep(sample);

    if (suspect_start != 0) {
      const double moved_feet = distance_2d(run.track[suspect_start].pos_local, sample.pos_local) * feet_per_metre;
      if (is_suspect && !(moved_feet > 30.0)) continue;
      even_out(run, suspect_start - 1, i - 1, previous);
      suspect_start = 0;
    } else if (is_suspect) {
      suspect_start = i;
    }
    if (suspect_start == 0 && direction != turn_direction::none) previous = direction;
  }
}

}  // namespace tarvel
