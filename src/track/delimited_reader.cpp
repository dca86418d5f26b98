#include "track/delimited_reader.h"

#include <cstring>
#include <utility>

#include "track/columns.h"
#include "track/line_reader.h"
#include "track/time_field.h"

namespace tarvel {

namespace {

// The rest of the line after the prefix; null when the line does not begin with it.
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

// The state of a reader between lines.
struct sample_lines {
  column_actions actions;
  gps_track track;
  row_offsets *rows = nullptr;  // null when they are not needed
};

// Reads the rest of the line as a sample and stores the line's offset, unless append_gps_point drops the row.
outcome read_sample(track_file &file, std::uint64_t line, sample_lines &lines, error_slot *error) {
  constexpr std::uint32_t first_capacity = 4096;
  const std::uint32_t count = lines.track.count;
  const outcome result = append_gps_point(file, lines.actions, lines.track, error);
  if (lines.rows == nullptr || lines.track.count == count) return result;
  if (try_append(lines.rows->offsets, lines.rows->count, lines.rows->capacity, first_capacity, line)) return result;
  *error = "failed to realloc gps_points";
  return outcome::no_memory;
}

outcome read_sample_lines(track_file &file, sample_lines &lines, text_buffer &warnings, error_slot *error) {
  outcome result = read_header_lines(file, lines.actions, warnings, error);
  while (result == outcome::done && read_line(file)) {
    if (*file.line != '\0') result = read_sample(file, line_offset(file), lines, error);
  }
  return result;
}

outcome read_tagged_line(track_file &file, sample_lines &lines, text_buffer &warnings, error_slot *error) {
  if (*file.line == '\0') return outcome::done;
  if (*file.line != '$') {
    *error = "missing $ prefix";
    return outcome::not_this_form;
  }
  const std::uint64_t line = line_offset(file);
  char *const rest = after_prefix(file.line, lines.actions ? "$GNSS," : "$COL,GNSS,");
  if (rest == nullptr) return outcome::done;
  file.line = rest;
  return lines.actions ? read_sample(file, line, lines, error)
                       : parse_field_names(file, lines.actions, warnings, error);
}

outcome read_tagged_lines(track_file &file, sample_lines &lines, text_buffer &warnings, error_slot *error) {
  outcome result = outcome::done;
  while (result == outcome::done && read_line(file)) result = read_tagged_line(file, lines, warnings, error);
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

using lines_reader = outcome (*)(track_file &file, sample_lines &lines, text_buffer &warnings, error_slot *error);

outcome read_stream(std::FILE *stream, lines_reader read_lines, gps_track &track, row_offsets *rows,
                    text_buffer &warnings, error_slot *error) {
  *error = nullptr;
  sample_lines lines;
  row_offsets row_lines;
  if (rows != nullptr) {
    *rows = row_offsets();
    lines.rows = &row_lines;
  }
  track_file file;
  if (!open_track_stream(stream, file, error)) return outcome::no_memory;

  forget_calendar_minute();
  outcome result = read_lines(file, lines, warnings, error);
  if (result == outcome::done) result = finish_reading(file, lines.track, error);
  // Without this, a track with a read error in the middle would be taken for a shorter one.
  if (std::ferror(stream) != 0) {
    *error = "failed to read track";
    return outcome::unreadable;
  }
  if (result != outcome::done) return result;
  track = std::move(lines.track);
  if (rows != nullptr) *rows = std::move(row_lines);
  return result;
}

}  // namespace

outcome read_track_header_csv_stream(std::FILE *stream, gps_track &track, text_buffer &warnings, error_slot *error) {
  return read_stream(stream, read_sample_lines, track, nullptr, warnings, error);
}

outcome read_track_tagged_stream(std::FILE *stream, gps_track &track, text_buffer &warnings, error_slot *error) {
  return read_stream(stream, read_tagged_lines, track, nullptr, warnings, error);
}

outcome read_track_header_csv_stream(std::FILE *stream, gps_track &track, row_offsets *rows, text_buffer &warnings,
                                     error_slot *error) {
  return read_stream(stream, read_sample_lines, track, rows, warnings, error);
}

outcome read_track_tagged_stream(std::FILE *stream, gps_track &track, row_offsets *rows, text_buffer &warnings,
                                 error_slot *error) {
  return read_stream(stream, read_tagged_lines, track, rows, warnings, error);
}

}  // namespace tarvel
