#include "track/delimited_reader.h"

#include <cstring>
#include <utility>

#include "track/columns.h"
#include "track/line_reader.h"
#include "track/time_field.h"

namespace tarvel {

namespace {

// The rest of the line when it begins with the prefix, otherwise null.
char *after_prefix(char *line, std::string_view prefix) {
  return std::strncmp(line, prefix.data(), prefix.size()) == 0 ? line + prefix.size() : nullptr;
}

outcome read_header_lines(track_file &file, column_actions &actions, text_buffer &warnings, error_slot *error) {
  if (!read_line(file)) {
    *error = "missing field names";
    return outcome::not_this_form;
  }
  const outcome names = parse_field_names(file, actions, warnings, error);
  if (names == outcome::done && !read_line(file)) {
    *error = "missing field units";
    return outcome::not_this_form;
  }
  return names;
}

outcome read_sample_lines(track_file &file, gps_track &track, text_buffer &warnings, error_slot *error) {
  column_actions actions;
  outcome result = read_header_lines(file, actions, warnings, error);
  while (result == outcome::done && read_line(file)) {
    if (*file.line != '\0') result = append_gps_point(file, actions, track, error);
  }
  return result;
}

outcome read_tagged_line(track_file &file, column_actions &actions, gps_track &track, text_buffer &warnings,
                         error_slot *error) {
  if (*file.line == '\0') return outcome::done;
  if (*file.line != '$') {
    *error = "missing $ prefix";
    return outcome::not_this_form;
  }
  char *const rest = after_prefix(file.line, actions ? "$GNSS," : "$COL,GNSS,");
  if (rest == nullptr) return outcome::done;
  file.line = rest;
  return actions ? append_gps_point(file, actions, track, error) : parse_field_names(file, actions, warnings, error);
}

outcome read_tagged_lines(track_file &file, gps_track &track, text_buffer &warnings, error_slot *error) {
  column_actions actions;
  outcome result = outcome::done;
  while (result == outcome::done && read_line(file)) result = read_tagged_line(file, actions, track, warnings, error);
  return result;
}

// The checks after the last line.
outcome finish_reading(const track_file &file, const gps_track &loaded, error_slot *error) {
  if (file.overflow) {
    *error = "line length exceeded size of buffer";
    return outcome::not_this_form;
  }
  if (loaded.count == 0) {
    *error = "no GPS points found";
    return outcome::not_this_form;
  }
  return outcome::done;
}

using lines_reader = outcome (*)(track_file &file, gps_track &track, text_buffer &warnings, error_slot *error);

outcome read_stream(std::FILE *stream, lines_reader read_lines, gps_track &track, text_buffer &warnings,
                    error_slot *error) {
  *error = nullptr;
  gps_track loaded;
  track_file file;
  if (!open_track_stream(stream, file, error)) return outcome::no_memory;

  forget_calendar_minute();
  outcome result = read_lines(file, loaded, warnings, error);
  if (result == outcome::done) result = finish_reading(file, loaded, error);
  // A disk that fails in mid-file would otherwise pass for a shorter run.
  if (std::ferror(stream) != 0) {
    *error = "failed to read track";
    return outcome::unreadable;
  }
  if (result == outcome::done) track = std::move(loaded);
  return result;
}

}  // namespace

outcome read_track_header_csv_stream(std::FILE *stream, gps_track &track, text_buffer &warnings, error_slot *error) {
  return read_stream(stream, read_sample_lines, track, warnings, error);
}

outcome read_track_tagged_stream(std::FILE *stream, gps_track &track, text_buffer &warnings, error_slot *error) {
  return read_stream(stream, read_tagged_lines, track, warnings, error);
}

}  // namespace tarvel
