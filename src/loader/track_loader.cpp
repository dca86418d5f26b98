#include "loader/track_loader.h"

#include <utility>

#include "driver/file_handle.h"
#include "support/memory.h"
#include "track/delimited_reader.h"

namespace tarvel {

namespace {

// What a reader makes of a file after one that could not read it, or had no memory for it, hides the reason.
bool is_for_next_reader(error_slot error, std::size_t refused_before) {
  return error != nullptr && !is_file_failure(error) && allocations_refused == refused_before;
}

void load_text_track(const char *path, gps_track &track, error_slot *error) {
  gps_track loaded;
  const std::size_t refused_before = allocations_refused;
  read_track_tagged(path, loaded, error);
  if (is_for_next_reader(*error, refused_before)) read_track_header_csv(path, loaded, error);
  if (*error) return;
  track = std::move(loaded);
}

}  // namespace

void load_gate_track(const char *path, gate_file_data &gate_data, error_slot *error) {
  const std::size_t refused_before = allocations_refused;
  read_gate_file(path, gate_data, error);
  if (is_for_next_reader(*error, refused_before)) load_text_track(path, gate_data.track, error);
}

void load_swoop_track(const char *path, gps_track &track, error_slot *error) {
  const std::size_t refused_before = allocations_refused;
  read_swoop_file(path, track, error);
  if (is_for_next_reader(*error, refused_before)) load_text_track(path, track, error);
}

}  // namespace tarvel
