// A whole run, from its bytes to its report, map and charts.
#include "drawing/drawing_guard.h"
#include "drawing/pages.h"
#include "formats/kml.h"
#include "fuzz_run.h"
#include "geo/course_frame.h"
#include "swoop/analysis.h"
#include "swoop/report.h"

namespace {

using namespace tarvel;

void require_outputs(const swoop &run, const pond_outline *pond, bool metric) {
  require(run.top_of_turn <= run.stop && run.stop < run.track_len);
  error_slot error = nullptr;
  require(format_swoop_report(run, metric, &error) != nullptr && error == nullptr);
  const gate_ends ends = entry_gate_ends(run.matrix);
  const std::span<const gps_point> samples = samples_of(run).subspan(run.top_of_turn, run.stop - run.top_of_turn);
  static const file_handle nowhere(std::fopen("/dev/null", "wb"));
  write_kml(nowhere.get(), run.track[run.top_of_turn].time, samples, &ends);
  const chart_context charts = {run, pond, metric};
  guard_drawing(drawing_memory(charts), &error);
  require(error == nullptr);
  write_pdf_charts(nowhere.get(), charts, &error);
  require(error == nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  fuzz_run analysed;
  if (!analyse(data, size, analysed)) return 0;
  course &flown = analysed.flown;
  if (flown.pond) rotate_point_list(points_of(*flown.pond), correction_angle(analysed.run));
  require_outputs(analysed.run, flown.pond ? &*flown.pond : nullptr, analysed.metric);
  return 0;
}
