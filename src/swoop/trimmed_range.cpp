#include "swoop/trimmed_range.h"

#include "support/time.h"
#include "swoop/sample_measures.h"

namespace tarvel {

namespace {

constexpr std::int64_t margin = 10000;  // ms

std::uint32_t start_before_exit(const swoop &run) {
  const std::int64_t begin = time_after(run.track[run.plane_exit].time, -margin);
  std::uint32_t i = run.plane_exit;
  while (i > 0 && !(run.track[i].time < begin)) --i;
  return i;
}

// For a run without an exit: the margin before the highest point, or before the last one of several equally high
// points.
std::uint32_t start_before_highest(const swoop &run) {
  std::uint32_t highest = run.rollout;
  for (std::uint32_t i = run.rollout; i > 0; --i) {
    const gps_point &sample = run.track[i];
    if (raw_altitude(sample) > raw_altitude(run.track[highest])) highest = i;
    if (elapsed(sample.time, run.track[highest].time) > margin) return i;
  }
  return 0;
}

std::uint32_t end_after_stop(const swoop &run) {
  if (run.touchdown_time != run.track[run.stop].time) return run.track_len;
  const std::int64_t end = time_after(run.touchdown_time, margin);
  std::uint32_t last = run.stop;
  while (last + 1 < run.track_len && !(run.track[last].time > end)) ++last;
  return last + 1;
}

}  // namespace

sample_range trimmed_range(const swoop &run) {
  return {run.plane_exit != 0 ? start_before_exit(run) : start_before_highest(run), end_after_stop(run)};
}

}  // namespace tarvel
