// Draws the first page of a run's charts to out.png, for the documentation. Reads the course from matrix.txt. Both
// files are in the working directory.
//
//   first_page_picture TRACK
#include <cstdio>
#include <optional>

#include "driver/chart_files.h"
#include "driver/course_input.h"
#include "driver/track_files.h"
#include "formats/course_file.h"
#include "swoop/analysis.h"

namespace {

using namespace tarvel;

void draw_first_page(const char *track, error_slot *error) {
  const owned_record<swoop> run = swoop_create(track, error);
  if (*error) return;
  std::optional<course> flown;
  read_course_file(course_file_name, track, flown, error);
  if (*error) return;
  if (!flown) {
    *error = "no course";
    return;
  }
  analyze_swoop(*run, gate_type_course, flown->matrix, flown->theta, error);
  if (*error) return;
  if (flown->pond) rotate_point_list(points_of(*flown->pond), correction_angle(*run));
  write_swoop_png(*run, flown->pond ? &*flown->pond : nullptr, false, false, error);
}

}  // namespace

int main(int argc, char *argv[]) {
  if (argc != 2) {
    std::fputs("usage: first_page_picture TRACK\n", stderr);
    return 2;
  }
  error_slot error = nullptr;
  draw_first_page(argv[1], &error);
  if (error == nullptr) return 0;
  std::fprintf(stderr, "first_page_picture: %s\n", error);
  return 1;
}
