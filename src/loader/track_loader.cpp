#include "loader/track_loader.h"

#include "container/tvl_file.h"
#include "track/delimited_reader.h"

namespace tarvel {

namespace {

outcome load_text_stream(std::FILE *stream, gps_track &track, row_offsets *rows, text_buffer &warnings,
                         error_slot *error) {
  std::rewind(stream);
  outcome result = read_track_tagged_stream(stream, track, rows, warnings, error);
  if (result == outcome::done) track.kind = track_kind::tagged_lines;
  if (result != outcome::not_this_form) return result;
  std::rewind(stream);
  result = read_track_header_csv_stream(stream, track, rows, warnings, error);
  if (result == outcome::done) track.kind = track_kind::header_lines;
  return result;
}

outcome load_swoop(std::FILE *stream, gps_track &track, row_offsets *rows, text_buffer &warnings, error_slot *error) {
  std::rewind(stream);
  const outcome result = read_swoop_stream(stream, track, error);
  if (result == outcome::done) track.kind = track_kind::container;
  if (result != outcome::not_this_form) return result;
  return load_text_stream(stream, track, rows, warnings, error);
}

}  // namespace

outcome load_gate_stream(std::FILE *stream, gate_file_data &gate_data, text_buffer &warnings, error_slot *error) {
  std::rewind(stream);
  const outcome result = read_gate_stream(stream, gate_data.course, error);
  if (result != outcome::not_this_form) return result;
  return load_text_stream(stream, gate_data.track, nullptr, warnings, error);
}

outcome load_swoop_stream(std::FILE *stream, gps_track &track, text_buffer &warnings, error_slot *error) {
  return load_swoop(stream, track, nullptr, warnings, error);
}

outcome load_swoop_rows(std::FILE *stream, gps_track &track, row_offsets &rows, text_buffer &warnings,
                        error_slot *error) {
  rows = row_offsets();
  return load_swoop(stream, track, &rows, warnings, error);
}

}  // namespace tarvel
