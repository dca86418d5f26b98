// A run from its bytes to the text of its check.
#include <utility>

#include "check/reasons.h"
#include "check/run_check.h"
#include "fuzz_run.h"
#include "swoop/analysis.h"
#include "verdict/check_report.h"

namespace {

using namespace tarvel;

// What is promised of each figure whatever the track holds.
void require_sound(const run_check &check) {
  for (const figure_check &each : check.figures) {
    require(each.missing >= 0.0 && each.missing <= 1.0);
    if (!each.has_interval) continue;
    require(each.range.low <= each.value && each.value <= each.range.high);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  fuzz_bytes rest = {data, size};
  const auto options = rest.take<std::uint8_t>();
  const course flown = flown_course((options & 16) != 0 ? &rest : nullptr);
  gps_track track;
  if (rest.size == 0 || !load(rest, track)) return 0;
  swoop run;
  run.track = std::move(track.points);
  run.track_len = track.count;
  run.time_aloft = (options & 8) != 0 ? 5000 : 0;

  error_slot error = nullptr;
  analyze_swoop(run, options & 3, flown.matrix, flown.theta, &error);
  if (error != nullptr) return 0;
  run_check check;
  check_run(run, {.draws = 5}, check, &error);
  require(error == nullptr);
  require_sound(check);
  require(format_check_report(run, check, judge_run(run, check), (options & 4) != 0, &error) != nullptr);
  require(error == nullptr);
  return 0;
}
