#include "swoop/turn.h"

#include "support/time.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

constexpr double final_dive_feet = 1000.0;  // the final dive is below
constexpr double straight_descent = 25.0;   // mph; a canopy in straight flight descends more slowly
constexpr double fast_descent = 15.0;       // mph; for a top that descends this fast an earlier one is searched
constexpr double turning_rate = 30.0;       // degrees per second; the search ends at an earlier turn
constexpr double longest_climb = 500.0;     // ft above the top within which the search ends
constexpr double dive_gain = 15.0;          // mph that the descent gains after the earlier top

bool accelerates_downward(const gps_point &sample) { return sample.acc_local.z < 0.0; }

// Walks back while the sample accelerates downward.
std::int64_t start_of_acceleration(std::span<const gps_point> samples, std::int64_t from, std::int64_t first) {
  std::int64_t top = from;
  while (top > first && accelerates_downward(samples[static_cast<std::size_t>(top)])) --top;
  return top;
}

// The last sample before the dive that descends more slowly than straight_descent; without one, the one that descends
// least.
std::int64_t last_level_sample(std::span<const gps_point> samples, std::int64_t dive, std::int64_t first) {
  for (std::int64_t level = dive; level >= first; --level) {
    if (descent_mph(samples[static_cast<std::size_t>(level)]) < straight_descent) return level;
  }
  std::int64_t least_at = 0;
  double least = descent_mph(samples[static_cast<std::size_t>(dive)]) + 1.0;
  for (std::int64_t k = dive; k >= first; --k) {
    const double descent = descent_mph(samples[static_cast<std::size_t>(k)]);
    if (descent < least) {
      least = descent;
      least_at = k;
    }
  }
  return least_at;
}

// For a top that descends fast: searches back for the start of one acceleration of 15 mph. Returns the top when there
// is none before an earlier turn or within 500 ft.
std::int64_t earlier_start(std::span<const gps_point> samples, std::int64_t top, std::int64_t first) {
  double climb = 0.0;
  double gain = 0.0;
  for (std::int64_t k = top; k > first; --k) {
    const gps_point &sample = samples[static_cast<std::size_t>(k)];
    const gps_point &before = samples[static_cast<std::size_t>(k - 1)];
    const double change = folded_heading_change(before.heading, sample.heading);
    climb += height_feet(before) - height_feet(sample);
    gain = accelerates_downward(sample) ? gain + (descent_mph(sample) - descent_mph(before)) : 0.0;
    const double rate = change * 1000.0 / static_cast<double>(elapsed(before.time, sample.time));
    if (rate > turning_rate || climb > longest_climb) return top;
    if (gain > dive_gain) return k - 1;
  }
  return top;
}

}  // namespace

std::uint32_t find_dive(const swoop &run, error_slot *error) {
  const std::span<const gps_point> samples = samples_of(run);
  std::uint32_t dive = 0;
  double fastest = 0.0;
  for (std::uint32_t i = run.pattern_entry; i < samples.size(); ++i) {
    const double descent = descent_mph(samples[i]);
    if (height_feet(samples[i]) < final_dive_feet && descent > fastest) {
      fastest = descent;
      dive = i;
    }
  }
  if (dive == 0) *error = "could not detect dive";
  return dive;
}

void detect_top_of_turn(swoop &run, error_slot *error) {
  const std::uint32_t dive = find_dive(run, error);
  if (*error) return;

  const std::span<const gps_point> samples = samples_of(run);
  const std::int64_t first = run.pattern_entry;
  std::int64_t top = start_of_acceleration(samples, last_level_sample(samples, dive, first), first);
  if (descent_mph(samples[static_cast<std::size_t>(top)]) >= fast_descent) {
    top = start_of_acceleration(samples, earlier_start(samples, top, first), first);
  }
  run.top_of_turn = static_cast<std::uint32_t>(top);
}

void sum_turn_degrees(swoop &run, error_slot *) {
  run.turn_degrees = 0.0;
  for (std::uint32_t i = run.top_of_turn + 1; i <= run.bottom_of_turn; ++i) {
    const double turn = run.track[i].turn_angle;
    if (turn < 360.0) run.turn_degrees += turn;
  }
}

}  // namespace tarvel
