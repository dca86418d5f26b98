// Writes simulated runs, each with its course, and simulated walks into the working directory: for scripts that give the
// program whole files.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/hand_made_walk.h"
#include "support/simulator.h"

namespace {

using namespace tarvel;

void write(const std::string &name, const std::string &text) {
  std::FILE *const file = std::fopen(name.c_str(), "wb");
  if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file) != text.size() || std::fclose(file) != 0) {
    std::perror(name.c_str());
    std::exit(EXIT_FAILURE);
  }
}

struct named_run {
  const char *name;
  void (*change)(simulated_run &run);
};

const named_run runs[] = {
    {"plain", [](simulated_run &) {}},
    {"small", [](simulated_run &r) { r = small_run(); }},
    {"carve_left", [](simulated_run &r) { r.carve_rate = 1.0714; }},
    {"carve_right", [](simulated_run &r) { r.carve_rate = -1.0714; }},
    {"reversed", [](simulated_run &r) { r.reversed = true; }},
    {"beside_the_gate", [](simulated_run &r) { r.gate_offset = 20.0; }},
    {"left_turn", [](simulated_run &r) { r.turn_degrees = -630.0; }},
    {"without_exit", [](simulated_run &r) { r.plane_seconds = r.freefall_seconds = 0.0; }},
    {"long_freefall", [](simulated_run &r) { r.exit_height = 4000.0, r.freefall_seconds = 40.0; }},
    {"noisy", [](simulated_run &r) { r.speed_noise = 3.0; }},
    {"slow_logger", [](simulated_run &r) { r.rate = 1.0; }},
    {"fast_logger", [](simulated_run &r) { r.rate = 25.0; }},
    {"tagged", [](simulated_run &r) { r.form = track_form::tagged_lines, r.rate = 5.0; }},
    {"southern", [](simulated_run &r) { r.gate_latitude = -33.9, r.gate_longitude = -179.9999; }},
    {"equator", [](simulated_run &r) { r.gate_latitude = r.gate_longitude = 0.0; }},
    {"polar", [](simulated_run &r) { r.gate_latitude = 89.99, r.course_bearing = 0.0; }},
    {"never_stops", [](simulated_run &r) { r.standing_seconds = 0.0, r.swoop_seconds = 5.0; }},
};

struct named_walk {
  const char *name;
  hand_made_walk (*make)();
};

walk_marks marks_with_exit(const vec3 &exit_mark) {
  walk_marks marks;
  marks.exit_mark = {exit_mark};
  return marks;
}

const named_walk walks[] = {
    {"walk", [] { return course_walk(); }},
    {"sparse_walk", [] { return sparse_walk(); }},
    {"walk_with_exit_mark",
     [] {
       return course_walk(marks_with_exit({52.0, 40.0, 0.0}));
     }},
    {"walk_with_exit_mark_behind",
     [] {
       return course_walk(marks_with_exit({-52.0, 40.0, 0.0}));
     }},
    {"walk_down_south",
     [] {
       return sparse_walk(walk_marks(), {-45.0, 170.0, 3.0, 10.0});
     }},
};

}  // namespace

int main() {
  for (const named_run &given : runs) {
    simulated_run run;
    given.change(run);
    write(std::string(given.name) + ".csv", simulated_track(run));
    write(std::string(given.name) + ".txt", simulated_course(run));
  }
  for (const named_walk &given : walks) write(std::string(given.name) + ".csv", walk_text(given.make().samples));
}
