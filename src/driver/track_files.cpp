#include "driver/track_files.h"

#include <cstdio>
#include <utility>

#include "container/tvl_file.h"
#include "formats/coord_dump.h"
#include "gate/gate_open.h"
#include "swoop/trimmed_range.h"
#include "track/delimited_reader.h"

namespace tarvel {

namespace {

template <typename reader>
void read_file(const char *path, reader read, error_slot *error) {
  *error = nullptr;
  const file_handle stream = open_track_file(path, error);
  if (!stream) return;
  error_slot warning_error = nullptr;
  text_buffer warnings = text_buffer_create(&warning_error);
  if (warning_error == nullptr) {
    read(stream.get(), warnings);
    std::printf("%s", warnings.data.get());
  }
  if (*error == nullptr) *error = warning_error;
  report_read_error(stream.get(), path, error);
}

template <typename writer>
void write_file(const char *path, writer write, error_slot *error) {
  *error = nullptr;
  file_handle stream = open_output(path, error);
  if (!stream) return;
  write(stream.get());
  close_output(std::move(stream), path, error);
}

}  // namespace

file_handle open_track_file(const char *path, error_slot *error) { return open_input(path, error); }

void read_track_header_csv(const char *path, gps_track &track, error_slot *error) {
  track = gps_track();
  const auto read = [&](std::FILE *stream, text_buffer &warnings) {
    static_cast<void>(read_track_header_csv_stream(stream, track, warnings, error));
  };
  read_file(path, read, error);
}

void read_track_tagged(const char *path, gps_track &track, error_slot *error) {
  track = gps_track();
  const auto read = [&](std::FILE *stream, text_buffer &warnings) {
    static_cast<void>(read_track_tagged_stream(stream, track, warnings, error));
  };
  read_file(path, read, error);
}

void read_gate_file(const char *path, course &result, error_slot *error) {
  const auto read = [&](std::FILE *stream, text_buffer &) {
    static_cast<void>(read_gate_stream(stream, result, error));
  };
  read_file(path, read, error);
}

void read_swoop_file(const char *path, gps_track &track, error_slot *error) {
  const auto read = [&](std::FILE *stream, text_buffer &) {
    static_cast<void>(read_swoop_stream(stream, track, error));
  };
  read_file(path, read, error);
}

void load_gate_track(const char *path, gate_file_data &gate_data, error_slot *error) {
  const auto read = [&](std::FILE *stream, text_buffer &warnings) {
    static_cast<void>(load_gate_stream(stream, gate_data, warnings, error));
  };
  read_file(path, read, error);
}

void load_swoop_track(const char *path, gps_track &track, error_slot *error) {
  const auto read = [&](std::FILE *stream, text_buffer &warnings) {
    static_cast<void>(load_swoop_stream(stream, track, warnings, error));
  };
  read_file(path, read, error);
}

owned_record<gate> gate_open(const char *path, owned_text *log_text, error_slot *error) {
  if (path == nullptr) {
    *error = "gate filename not specified";
    return nullptr;
  }
  owned_record<gate> surveyed;
  const auto read = [&](std::FILE *stream, text_buffer &warnings) {
    surveyed = gate_open(stream, path, warnings, log_text, error);
  };
  read_file(path, read, error);
  return *error == nullptr ? std::move(surveyed) : nullptr;
}

owned_record<swoop> swoop_create(const char *path, error_slot *error) {
  if (path == nullptr) return swoop_create(error);
  owned_record<swoop> run;
  const auto read = [&](std::FILE *stream, text_buffer &warnings) {
    run = swoop_create(stream, path, warnings, error);
  };
  read_file(path, read, error);
  return *error == nullptr ? std::move(run) : nullptr;
}

void write_gate_file(const char *path, const course &surveyed, error_slot *error) {
  const auto write = [&](std::FILE *stream) { write_gate_stream(stream, surveyed, error); };
  write_file(path, write, error);
}

void write_swoop_file(const char *path, std::span<const gps_point> samples, error_slot *error) {
  const auto write = [&](std::FILE *stream) { write_swoop_stream(stream, samples, error); };
  write_file(path, write, error);
}

void write_kml(const char *path, std::int64_t start_time, std::span<const gps_point> samples, const gate_ends *ends,
               error_slot *error) {
  const auto write = [&](std::FILE *stream) { write_kml(stream, start_time, samples, ends); };
  write_file(path, write, error);
}

void write_coord_dump(std::span<const gps_point> samples, error_slot *error) {
  const auto write = [&](std::FILE *stream) { write_coord_dump(stream, samples); };
  write_file("coord.txt", write, error);
}

void export_gate_file(const char *path, const course &surveyed, error_slot *error) {
  write_gate_file(path, surveyed, error);
}

void export_swoop_file(const char *path, std::span<const gps_point> samples, error_slot *error) {
  write_swoop_file(path, samples, error);
}

void write_trimmed_swoop(const char *path, const swoop &run, error_slot *error) {
  export_swoop_file(path, samples_of(run, trimmed_range(run)), error);
}

}  // namespace tarvel
