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

owned_record<gate> gate_open(std::FILE *stream, const char *name, text_buffer &warnings, owned_text *log_text,
                             error_slot *error) {
  *error = nullptr;
  owned_record<gate> course = try_make<gate>();
  if (!course) {
    *error = "failed to allocate memory for gate";
    return nullptr;
  }
  course->file = try_duplicate(name);
  if (!course->file) {
    *error = "strdup() failed";
    return nullptr;
  }

  gate_file_data data;
  if (load_gate_stream(stream, data, warnings, error) != outcome::done) return nullptr;
  if (data.track.count == 0) {
    take_course(*course, data);
    return course;
  }
  survey_walk(*course, data.track, log_text, error);
  if (*error) return nullptr;
  return course;
}

}  // namespace tarvel
