#include "track/delimited_reader.h"

#include <cstring>

#include "track/columns.h"
#include "track/line_reader.h"
#include "track/time_field.h"

namespace tarvel {

namespace {

using stream_reader = void (*)(std::FILE *stream, gps_track &track, error_slot *error);

void read_file(const char *path, stream_reader read, gps_track &track, error_slot *error) {
  *error = nullptr;
  track = gps_track();
  const file_handle stream = open_input(path, error);
  if (!stream) return;
  read(stream.get(), track, error);
  // A disk that fails in mid-file would otherwise pass for a shorter run.
  report_read_error(stream.get(), path, error);
  if (*error) track = gps_track();
}

// The rest of the line when it begins with the prefix, otherwise null.
char *after_prefix(char *line, std::string_view prefix) {
  return std::strncmp(line, prefix.data(), prefix.size()) == 0 ? line + prefix.size() : nullptr;
}

void read_header_lines(track_file &file, column_actions &actions, error_slot *error) {
  if (!read_line(file)) {
    *error = "missing field names";
  } else if (!parse_field_names(file, actions)) {
    *error = "invalid field names";
  } else if (!read_line(file)) {
    *error = "missing field units";
  }
}

void read_sample_lines(track_file &file, gps_track &track, error_slot *error) {
  column_actions actions;
  read_header_lines(file, actions, error);
  while (*error == nullptr && read_line(file)) {
    if (*file.line != '\0') append_gps_point(file, actions, track, error);
  }
}

void read_tagged_line(track_file &file, column_actions &actions, gps_track &track, error_slot *error) {
  if (*file.line == '\0') return;
  if (*file.line != '$') {
    *error = "missing $ prefix";
    return;
  }
  char *const rest = after_prefix(file.line, actions ? "$GNSS," : "$COL,GNSS,");
  if (rest == nullptr) return;
  file.line = rest;
  if (actions) {
    append_gps_point(file, actions, track, error);
  } else if (!parse_field_names(file, actions)) {
    *error = "invalid field names";
  }
}

void read_tagged_lines(track_file &file, gps_track &track, error_slot *error) {
  column_actions actions;
  while (*error == nullptr && read_line(file)) read_tagged_line(file, actions, track, error);
}

using line_reader = void (*)(track_file &file, gps_track &track, error_slot *error);

void read_stream(std::FILE *stream, line_reader read_lines, gps_track &track, error_slot *error) {
  *error = nullptr;
  track = gps_track();
  gps_track loaded;
  track_file file;
  open_track_stream(stream, file, error);
  if (*error) return;

  forget_calendar_minute();
  read_lines(file, loaded, error);
  if (*error) return;
  if (file.overflow) {
    *error = "line length exceeded size of buffer";
  } else if (loaded.count == 0) {
    *error = "no GPS points found";
  } else {
    track = std::move(loaded);
  }
}

}  // namespace

void read_track_header_csv_stream(std::FILE *stream, gps_track &track, error_slot *error) {
  read_stream(stream, read_sample_lines, track, error);
}

void read_track_tagged_stream(std::FILE *stream, gps_track &track, error_slot *error) {
  read_stream(stream, read_tagged_lines, track, error);
}

void read_track_header_csv(const char *path, gps_track &track, error_slot *error) {
  read_file(path, read_track_header_csv_stream, track, error);
}

void read_track_tagged(const char *path, gps_track &track, error_slot *error) {
  read_file(path, read_track_tagged_stream, track, error);
}

}  // namespace tarvel
