#include "gate/gate_open.h"

#include <utility>

#include "gate/pond.h"
#include "gate/survey.h"
#include "loader/track_loader.h"

namespace tarvel {

namespace {

void survey_walk(gate &surveyed, gps_track &walk, owned_text *log_text, error_slot *error) {
  surveyed.track = std::move(walk.points);
  surveyed.track_len = walk.count;
  survey_gate(surveyed, log_text, error);
  if (*error) return;
  survey_pond(surveyed, error);
}

}  // namespace

owned_record<gate> gate_open(std::FILE *stream, const char *name, text_buffer &warnings, owned_text *log_text,
                             error_slot *error) {
  *error = nullptr;
  owned_record<gate> surveyed = try_make<gate>();
  if (!surveyed) {
    *error = "failed to allocate memory for gate";
    return nullptr;
  }
  surveyed->file = try_duplicate(name);
  if (!surveyed->file) {
    *error = "strdup() failed";
    return nullptr;
  }

  gate_file_data data;
  if (load_gate_stream(stream, data, warnings, error) != outcome::done) return nullptr;
  if (data.track.count == 0) {
    surveyed->course = std::move(data.course);
    return surveyed;
  }
  survey_walk(*surveyed, data.track, log_text, error);
  if (*error) return nullptr;
  return surveyed;
}

}  // namespace tarvel
