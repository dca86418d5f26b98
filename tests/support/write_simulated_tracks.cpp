// Writes simulated runs, each with its course, and simulated walks to the working directory, for scripts.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/hand_made_walk.h"
#include "support/named_runs.h"

namespace {

using namespace tarvel;

void write(const std::string &name, const std::string &text) {
  std::FILE *const file = std::fopen(name.c_str(), "wb");
  if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file) != text.size() || std::fclose(file) != 0) {
    std::perror(name.c_str());
    std::exit(EXIT_FAILURE);
  }
}

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
  for (const named_run &given : named_runs) {
    const simulated_run run = run_named(given);
    write(std::string(given.name) + ".csv", simulated_track(run));
    write(std::string(given.name) + ".txt", simulated_course(run));
  }
  for (const named_walk &given : walks) write(std::string(given.name) + ".csv", walk_text(given.make().samples));
}
