// tarvel-split: lists the jumps in a track, or writes each into a file.
#include <cstdio>
#include <cstdlib>

#include "driver/exit.h"
#include "driver/file_handle.h"
#include "driver/process_setup.h"
#include "loader/track_loader.h"
#include "split/listing.h"
#include "split/stretches.h"
#include "splitter/options.h"
#include "splitter/parts.h"

namespace {

using namespace tarvel;

void load_track(std::FILE *stream, const char *path, gps_track &track, row_offsets &rows, error_slot *error) {
  error_slot warning_error = nullptr;
  text_buffer warnings = text_buffer_create(&warning_error);
  if (warning_error == nullptr) {
    static_cast<void>(load_swoop_rows(stream, track, rows, warnings, error));
    std::fputs(warnings.data.get(), stderr);
  }
  if (*error == nullptr) *error = warning_error;
  report_read_error(stream, path, error);
}

void split_track(const split_options &options, error_slot *error) {
  const file_handle stream = open_input(options.track, error);
  if (*error) return;
  gps_track track;
  row_offsets rows;
  load_track(stream.get(), options.track, track, rows, error);
  if (*error) return;

  const split_source source = {
      options.track, stream.get(), {track.points.get(), track.count}, {rows.offsets.get(), rows.count}};
  stretch_list list;
  find_stretches(source.samples, list, error);
  if (*error) return;
  if (options.write) write_parts(source, stretches_of(list), error);
  if (*error) return;
  print_stretches(stdout, source.samples, stretches_of(list), options.metric);
}

}  // namespace

int main(int argc, char *argv[]) {
  error_slot error = nullptr;
  open_standard_streams(&error);
  fail_program(split_program, error);
  ignore_write_signals();
  const split_options options = parse_split_options(argc, argv);

  load_time_zone(&error);
  if (!error) split_track(options, &error);
  fail_program(split_program, error);
  exit_program(EXIT_SUCCESS, split_program);
}
