#include "formats/course_file.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "geo/angle.h"

namespace tarvel {

namespace {

// Lines have up to 99 characters; a longer one is read as several.
constexpr int line_size = sizeof course_link::path;

bool begins_with(const char *text, const char *prefix) { return std::strncmp(text, prefix, std::strlen(prefix)) == 0; }

void write_matrix(std::FILE *file, const mat4 &matrix) {
  std::fputs(
      "// This transformation matrix converts from ECEF coordinates to local\n"
      "// coordinates.  The local reference frame places the origin at the center\n"
      "// of the entry gate with the z-axis pointing up and the x-axis pointing\n"
      "// along the swoop course.\n"
      "\n",
      file);
  for (const auto &row : matrix.m) {
    std::fprintf(file, "[%12.9f, %12.9f, %12.9f, %12.3f]\n", row[0], row[1], row[2], row[3]);
  }
}

void write_theta(std::FILE *file, double theta) {
  std::fputs(
      "\n"
      "// This value specifies the clockwise rotation (in degrees) needed for\n"
      "// the entry gate when processing a speed carve run.\n"
      "\n",
      file);
  std::fprintf(file, "theta = %12.8f\n", theta);
}

void write_pond(std::FILE *file, std::span<const vec3> pond) {
  std::fputs(
      "\n"
      "// These (x, y) coordinates define the perimeter of the swoop pond.\n"
      "// They are expressed in meters in the local reference frame.\n"
      "\n",
      file);
  std::size_t j = 0;
  for (; j < pond.size(); ++j) {
    std::fprintf(file, "%s(%6.1f, %6.1f),%s", j % 4 != 0 ? "  " : "", pond[j].x, pond[j].y, j % 4 == 3 ? "\n" : "");
  }
  if (j % 4 != 0) std::fputc('\n', file);
}

// The state of a reader between lines.
struct course_reader {
  const char *name = nullptr;  // for messages
  course read;
  int rows = 0;
};

void fail_parsing(const course_reader &reader, error_slot *error) {
  *error = format_error("failed to parse %s", reader.name);
}

void read_matrix_row(course_reader &reader, const char *line, error_slot *error) {
  double row[4];
  const bool is_row = std::sscanf(line, "[%lf, %lf, %lf, %lf]", &row[0], &row[1], &row[2], &row[3]) == 4;
  if (!is_row || reader.rows == 4) return fail_parsing(reader, error);
  std::memcpy(reader.read.matrix.m[reader.rows], row, sizeof row);
  ++reader.rows;
}

// Up to four points a line, in single precision, since they are written with one decimal.
void read_pond_points(course_reader &reader, const char *line, error_slot *error) {
  float n[8];
  const int count = std::sscanf(line, "(%f, %f), (%f, %f), (%f, %f), (%f, %f)", &n[0], &n[1], &n[2], &n[3], &n[4],
                                &n[5], &n[6], &n[7]);
  if (count <= 0 || count % 2 != 0) return fail_parsing(reader, error);
  if (!reader.read.pond) reader.read.pond.emplace();
  for (int i = 0; i < count; i += 2) {
    const vec3 point = {static_cast<double>(n[i]), static_cast<double>(n[i + 1]), 0.0};
    if (!append_pond_point(*reader.read.pond, point)) {
      *error = "failed to realloc pond array";
      return;
    }
  }
}

void read_theta(course_reader &reader, const char *line, error_slot *error) {
  double degrees = 0.0;
  if (std::sscanf(line, "theta = %lf", &degrees) != 1) return fail_parsing(reader, error);
  reader.read.theta = radians_from_degrees(degrees);
}

// Removes the quotes at both ends of the text.
void unquote(char *text) {
  const std::size_t length = std::strlen(text);
  if (length != 0 && text[length - 1] == '"') text[length - 1] = '\0';
  if (text[0] == '"') std::memmove(text, text + 1, std::strlen(text));
}

// The answer is `here` when the entry is not for this run; reading then continues.
course_answer read_index_entry(const course_reader &reader, const char *line, const char *swoop_file, course_link &link,
                               error_slot *error) {
  char name[line_size];
  if (std::sscanf(line, "%99s - %99[^\r\n]", name, link.path) != 2) {
    fail_parsing(reader, error);
    return course_answer::here;
  }
  if (std::strcmp(name, "*") != 0 && !begins_with(swoop_file, name)) return course_answer::here;
  if (std::strcmp(link.path, "nogate") == 0) return course_answer::no_gate;
  unquote(link.path);
  return course_answer::elsewhere;
}

bool is_index_entry(const char *line) { return line[0] == '*' || (line[0] >= '0' && line[0] <= '9'); }

// Reads up to the first matching index entry or the end of the file.
course_answer read_lines(std::FILE *file, course_reader &reader, const char *swoop_file, course_link &link,
                         error_slot *error) {
  char line[line_size];
  while (std::fgets(line, sizeof line, file) != nullptr) {
    if (std::strcmp(line, "\n") == 0 || begins_with(line, "//")) continue;
    if (line[0] == '[') {
      read_matrix_row(reader, line, error);
    } else if (line[0] == '(') {
      read_pond_points(reader, line, error);
    } else if (begins_with(line, "theta = ")) {
      read_theta(reader, line, error);
    } else if (is_index_entry(line)) {
      const course_answer answer = read_index_entry(reader, line, swoop_file, link, error);
      if (answer != course_answer::here) return answer;
    } else {
      *error = format_error("invalid line in %s", reader.name);
    }
    if (*error) return course_answer::here;
  }
  if (reader.rows != 4) fail_parsing(reader, error);
  return course_answer::here;
}

}  // namespace

void write_course(std::FILE *stream, const course &surveyed) {
  write_matrix(stream, surveyed.matrix);
  const double theta = degrees_from_radians(surveyed.theta);
  if (theta != 0.0) write_theta(stream, theta);
  if (surveyed.pond) write_pond(stream, points_before_origin(*surveyed.pond));
}

course_answer read_course(std::FILE *stream, const char *name, const char *swoop_file, course &result,
                          course_link &link, error_slot *error) {
  *error = nullptr;
  course_reader reader;
  reader.name = name;
  const course_answer answer = read_lines(stream, reader, swoop_file, link, error);
  if (answer == course_answer::here && *error == nullptr) {
    if (reader.read.pond) cut_at_origin(*reader.read.pond);
    result = std::move(reader.read);
  }
  return answer;
}

}  // namespace tarvel
