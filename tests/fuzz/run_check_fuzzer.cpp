// A run and its check, from the bytes to the text.
#include "check/reasons.h"
#include "check/run_check.h"
#include "fuzz_run.h"
#include "verdict/check_report.h"

namespace {

using namespace tarvel;

// The conditions that hold for each figure of any track.
void require_sound(const run_check &check) {
  for (const figure_check &each : check.figures) {
    require(each.missing >= 0.0 && each.missing <= 1.0);
    if (!each.has_interval) continue;
    require(each.range.low <= each.value && each.value <= each.range.high);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  fuzz_run analysed;
  if (!analyse(data, size, analysed)) return 0;
  const swoop &run = analysed.run;
  error_slot error = nullptr;
  run_check check;
  check_run(run, {.draws = 5}, check, &error);
  require(error == nullptr);
  require_sound(check);
  require(format_check_report(run, check, judge_run(run, check), analysed.metric, &error) != nullptr);
  require(error == nullptr);
  return 0;
}
