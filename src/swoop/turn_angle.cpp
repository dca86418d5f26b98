// The turn direction last seen is kept. A sample that turns the other way while the canopy dives steeply opens a
// suspect run; it goes on while the next samples still turn the other way, dive steeply and have hardly moved in
// plan. When it ends, its samples share the heading change across it evenly, taken in the direction kept, unless that
// would be almost a full circle: then the measured flips were no noise.
//
// Turning right in a near-vertical dive, headings 100, 120, 10, 25: the step to 10 flips to the left and opens a run,
// the step to 25 turns right and ends it. To the right it is 250 degrees from 120 to 10, which replaces the -110
// measured. With 95 in place of 10 it would be 335 degrees, too much to be noise, and the -25 measured would stay.

#include <cmath>

#include "geo/plane.h"
#include "swoop/kinematics.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

enum class turn_direction { none, left, right };

// A step within 2 degrees says nothing about the direction.
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

// The shorter way round; a step of exactly half a turn stays as it is.
double heading_step(double from, double to) {
  const double step = to - from;
  if (step > 180.0) return step - 360.0;
  if (step < -180.0) return step + 360.0;
  return step;
}

// Spreads the turn from sample a to sample b evenly over the time between them.
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
  std::uint32_t run_start = 0;  // 0: no suspect run is open

  for (std::uint32_t i = 1; i < run.track_len; ++i) {
    gps_point &sample = run.track[i];
    sample.turn_angle = heading_step(run.track[i - 1].heading, sample.heading);
    const turn_direction direction = direction_of(sample.turn_angle);
    const bool is_suspect = is_flip(previous, direction) && is_steep(sample);

    if (run_start != 0) {
      const double moved_feet = distance_2d(run.track[run_start].pos_local, sample.pos_local) * feet_per_metre;
      if (is_suspect && !(moved_feet > 30.0)) continue;
      even_out(run, run_start - 1, i - 1, previous);
      run_start = 0;
    } else if (is_suspect) {
      run_start = i;
    }
    if (run_start == 0 && direction != turn_direction::none) previous = direction;
  }
}

}  // namespace tarvel
