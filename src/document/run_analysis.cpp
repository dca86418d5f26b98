#include "document/run_analysis.h"

#include "geo/course_frame.h"
#include "swoop/analysis.h"

namespace tarvel {

void read_run(std::FILE *track, analysed_run &work, run_facts &facts) {
  facts.failure = {run_stage::track, nullptr};
  error_slot *const error = &facts.failure.message;
  work.warnings = text_buffer_create(error);
  if (*error) return;
  // From here on the reader has this slot to itself, and the warnings report a failed allocation in another.
  error_slot warning_error = nullptr;
  work.warnings.error = &warning_error;
  work.run = swoop_create(track, facts.track_name, work.warnings, error);
  work.warnings.error = nullptr;
  facts.warnings = work.warnings.data.get();
  if (*error == nullptr) *error = warning_error;
  if (*error) return;
  work.run->time_aloft = facts.time_aloft;
  facts.run = work.run.get();
}

void analyse_run(analysed_run &work, run_facts &facts) {
  facts.failure = {run_stage::analysis, nullptr};
  error_slot *const error = &facts.failure.message;
  swoop &run = *work.run;
  if (!work.flown) return analyze_swoop(run, gate_type_implicit, mat4(), 0.0, error);
  facts.course = &*work.flown;
  analyze_swoop(run, gate_type_course, work.flown->matrix, work.flown->theta, error);
  if (*error || !work.flown->pond) return;
  rotate_point_list(points_of(*work.flown->pond), correction_angle(run));
  facts.pond = &*work.flown->pond;
}

void check_analysed_run(analysed_run &work, run_facts &facts) {
  facts.failure = {run_stage::check, nullptr};
  checked_run &checked = work.checked.emplace();
  check_run(*work.run, *facts.asked_check, checked.check, &facts.failure.message);
  if (facts.failure.message) return;
  checked.verdict = judge_run(*work.run, checked.check);
  facts.checked = &checked;
}

}  // namespace tarvel
