#include "gate/gate_open.h"

#include <utility>

#include "gate/pond.h"
#include "gate/survey.h"
#include "loader/track_loader.h"

namespace tarvel {

namespace {

void survey_walk(gate &course, gps_track &walk, owned_text *log_text, error_slot *error) {
  course.track = std::move(walk.points);
  course.track_len = walk.count;
  survey_gate(course, log_text, error);
  if (*error) return;
  survey_pond(course, error);
}

void take_course(gate &course, gate_file_data &data) {
  course.matrix = data.matrix;
  course.theta = data.theta;
  course.pond = std::move(data.pond);
}

}  // namespace

owned_record<gate> gate_open(const char *file, owned_text *log_text, error_slot *error) {
  *error = nullptr;
  if (file == nullptr) {
    *error = "gate filename not specified";
    return nullptr;
  }
  owned_record<gate> course = try_make<gate>();
  if (!course) {
    *error = "failed to allocate memory for gate";
    return nullptr;
  }
  course->file = try_duplicate(file);
  if (!course->file) {
    *error = "strdup() failed";
    return nullptr;
  }

  gate_file_data data;
  load_gate_track(file, data, error);
  if (*error) return nullptr;
  if (data.track.count == 0) {
    take_course(*course, data);
    return course;
  }
  survey_walk(*course, data.track, log_text, error);
  if (*error) return nullptr;
  return course;
}

}  // namespace tarvel
