#include "swoop/swoop.h"

#include <algorithm>
#include <utility>

#include "loader/track_loader.h"

namespace tarvel {

namespace {

void dump_text(std::FILE *stream, const char *name, const char *text) {
  std::fprintf(stream, "swoop->%-18s = %s\n", name, text);
}

void dump_count(std::FILE *stream, const char *name, std::uint32_t value) {
  std::fprintf(stream, "swoop->%-18s = %d\n", name, static_cast<std::int32_t>(value));
}

void dump_time(std::FILE *stream, const char *name, std::int64_t value) {
  std::fprintf(stream, "swoop->%-18s = %lld\n", name, static_cast<long long>(value));
}

void dump_number(std::FILE *stream, const char *name, double value) {
  std::fprintf(stream, "swoop->%-18s = %f\n", name, value);
}

void dump_matrix(std::FILE *stream, const char *name, const mat4 &matrix) {
  std::fprintf(stream, "swoop->%-18s = \n", name);
  for (const auto &row : matrix.m) {
    std::fprintf(stream, "[ %12.2f %12.2f %12.2f %12.2f ]\n", row[0], row[1], row[2], row[3]);
  }
}

}  // namespace

owned_record<swoop> swoop_create(error_slot *error) {
  owned_record<swoop> run = try_make<swoop>();
  *error = run ? nullptr : "failed to allocate memory for swoop";
  return run;
}

owned_record<swoop> swoop_create(std::FILE *stream, const char *name, text_buffer &warnings, error_slot *error) {
  owned_record<swoop> run = swoop_create(error);
  if (!run) return nullptr;
  run->file = try_duplicate(name);
  if (!run->file) {
    *error = "strdup() failed";
    return nullptr;
  }
  gps_track track;
  if (load_swoop_stream(stream, track, warnings, error) != outcome::done) return nullptr;
  run->track = std::move(track.points);
  run->track_len = track.count;
  run->kind = track.kind;
  return run;
}

void swoop_dump(std::FILE *stream, const swoop *run) {
  if (run == nullptr) return;
  dump_text(stream, "file", run->file ? run->file.get() : "(null)");
  std::fprintf(stream, "swoop->%-18s = %p\n", "track", static_cast<const void *>(run->track.get()));
  dump_count(stream, "track_len", run->track_len);
  dump_count(stream, "debug", run->debug);
  dump_count(stream, "time_aloft", run->time_aloft);
  dump_count(stream, "gate_type", static_cast<std::uint32_t>(run->gate_type));
  dump_number(stream, "rotate_theta", run->rotate_theta);
  dump_matrix(stream, "rotate_matrix_in", run->rotate_matrix_in);
  dump_matrix(stream, "rotate_matrix_out", run->rotate_matrix_out);
  dump_matrix(stream, "matrix", run->matrix);
  dump_count(stream, "reversal_detected", run->reversal_detected);
  dump_count(stream, "carve_detected", run->carve_detected);
  dump_count(stream, "plane_exit", run->plane_exit);
  dump_count(stream, "pattern_entry", run->pattern_entry);
  dump_count(stream, "top_of_turn", run->top_of_turn);
  dump_count(stream, "rollout", run->rollout);
  dump_count(stream, "bottom_of_turn", run->bottom_of_turn);
  dump_count(stream, "entry_gate", run->entry_gate);
  dump_count(stream, "exit_gate", run->exit_gate);
  dump_count(stream, "stop", run->stop);
  dump_count(stream, "max_vert_speed", run->max_vert_speed);
  dump_count(stream, "max_horz_speed", run->max_horz_speed);
  dump_count(stream, "max_total_speed", run->max_total_speed);
  dump_count(stream, "carve_direction", run->carve_direction);
  dump_time(stream, "bottom_time", run->bottom_time);
  dump_number(stream, "bottom_xpos", run->bottom_xpos);
  dump_number(stream, "bottom_ypos", run->bottom_ypos);
  dump_number(stream, "bottom_zpos", run->bottom_zpos);
  dump_time(stream, "entry_gate_time", run->entry_gate_time);
  dump_number(stream, "entry_gate_speed", run->entry_gate_speed);
  dump_number(stream, "entry_gate_ypos", run->entry_gate_ypos);
  dump_time(stream, "exit_gate_time", run->exit_gate_time);
  dump_number(stream, "exit_gate_speed", run->exit_gate_speed);
  dump_number(stream, "exit_gate_xpos", run->exit_gate_xpos);
  dump_number(stream, "turn_degrees", run->turn_degrees);
  dump_time(stream, "touchdown_time", run->touchdown_time);
  dump_number(stream, "touchdown_speed", run->touchdown_speed);
  dump_number(stream, "touchdown_distance", run->touchdown_distance);
  std::fputc('\n', stream);
  for (std::uint32_t i = 0; i < std::min(run->track_len, std::uint32_t{3}); ++i) print_gps_point(stream, run->track[i]);
}

}  // namespace tarvel
