#include "track/track_loader.h"

#include <utility>

#include "track/delimited_reader.h"

namespace tarvel {

namespace {

void load_text_track(const char *path, gps_track &track, error_slot *error) {
  gps_track loaded;
  read_track_tagged(path, loaded, error);
  if (*error) read_track_header_csv(path, loaded, error);
  if (*error) return;
  track = std::move(loaded);
}

}  // namespace

void load_gate_track(const char *path, gate_file_data &gate_data, error_slot *error) {
  read_gate_file(path, gate_data, error);
  if (*error) load_text_track(path, gate_data.track, error);
}

void load_swoop_track(const char *path, gps_track &track, error_slot *error) {
  read_swoop_file(path, track, error);
  if (*error) load_text_track(path, track, error);
}

}  // namespace tarvel
