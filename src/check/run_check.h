// The uncertainty of the figures of a run: the whole analysis is repeated over many tracks, drawn from the distribution
// of those that fit the measured one.
#pragma once

#include <array>
#include <cstdint>

#include "check/figures.h"
#include "check/interval.h"
#include "check/noise_scale.h"
#include "check/velocity_lag.h"
#include "support/error_slot.h"
#include "swoop/swoop.h"

namespace tarvel {

// More samples would take longer than half a second to draw 400 times.
constexpr std::uint32_t most_samples = 4000;

struct check_settings {
  std::uint32_t draws = 400;
  std::uint64_t seed = 1;
  // Also compute intervals that are withheld, to measure how often they contain the truth.
  bool even_if_withheld = false;
};

// Why figures of a run get no intervals. For a gap, a contradiction, white errors or sparse samples only the phases get
// none, since their detectors step from sample to sample; with sparse samples the speed at touchdown gets none either.
// For the other reasons no figure gets one.
enum class withheld {
  nothing,
  times_out_of_order,    // a time that repeats or steps back among the samples
  gap,                   // samples missing between 15 s before the turn and the stop
  contradiction,         // positions and velocities contradict each other by more than the stated accuracy explains
  white_velocity_noise,  // too short a correlation time to distinguish the velocity's errors from the position's
  sparse_samples,        // samples too far apart to distinguish the velocity's errors from the flight
  too_many_samples,      // the figures depend on more than most_samples
  unsolvable,            // numbers that allow no smooth flight
};

struct figure_check {
  double value = 0.0;  // as values_of gives it: NaN when the run has none
  bool has_interval = false;
  interval range;           // contains the value
  double missing = 0.0;     // the part of the draws that do not have the figure
  bool is_bounded = false;  // the gate was crossed in a gap: only the range is known, and the value is wrong
};

struct run_check {
  std::array<figure_check, figure_count> figures;
  withheld reason = withheld::nothing;
  noise_scale noise;
  velocity_lag lag;             // as found; removed from the draws when it is more than chance
  double contradiction = 0.0;   // m, the 95 % quantile over a second, in plan and without the lag
  double peak = 0.0;            // the greatest contradiction along an axis, divided by the median
  double jerk = 0.0;            // m/s3, the greatest of the velocities
  double step = 0.0;            // s, the usual time between samples
  double roughness = 0.0;       // of the velocity from sample to sample, divided by the one that its noise should have
  std::uint32_t unordered = 0;  // samples whose time is not later than the one before
  double longest_gap = 0.0;     // s between two samples from 15 s before the turn to the stop; 0 for the usual steps
  double gate_gap = 0.0;        // the same for the samples on either side of a gate
  std::uint32_t draws = 0;
  double failed = 0.0;         // the part of the draws whose analysis fails
  double other_hand = 0.0;     // that turn the other way round
  double other_degrees = 0.0;  // that turn by 45 degrees more or less
  std::uint32_t samples = 0;   // that the figures depend on, and that are drawn
};

[[nodiscard]] inline const figure_check &check_of(const run_check &check, figure which) {
  return check.figures[index_of(which)];
}

// Fills check from an analysed run, which stays as it is. Fails with "failed to allocate memory for swoop".
void check_run(const swoop &run, const check_settings &settings, run_check &check, error_slot *error);

}  // namespace tarvel
