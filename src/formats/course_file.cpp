#include "formats/course_file.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "driver/file_handle.h"

namespace tarvel {

namespace {

// Lines of up to 99 characters; a longer one is read as two.
constexpr int line_size = 100;

// How many files an index may lead through; one that leads back to itself must end somewhere.
constexpr int max_further_files = 64;

bool begins_with(const char *text, const char *prefix) { return std::strncmp(text, prefix, std::strlen(prefix)) == 0; }

bool is_list_end(const vec3 &point) { return point.x == 0.0 && point.y == 0.0 && point.z == 0.0; }

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

void write_pond(std::FILE *file, const vec3 *pond) {
  std::fputs(
      "\n"
      "// These (x, y) coordinates define the perimeter of the swoop pond.\n"
      "// They are expressed in meters in the local reference frame.\n"
      "\n",
      file);
  std::size_t j = 0;
  for (; !is_list_end(pond[j]); ++j) {
    std::fprintf(file, "%s(%6.1f, %6.1f),%s", j % 4 != 0 ? "  " : "", pond[j].x, pond[j].y, j % 4 == 3 ? "\n" : "");
  }
  if (j % 4 != 0) std::fputc('\n', file);
}

// One file of a chain, as far as it has been read.
struct course_reader {
  const char *path = nullptr;
  owned_record<mat4> matrix;
  int rows = 0;
  owned_array<vec3> pond;
  std::size_t pond_count = 0;
  std::size_t pond_capacity = 0;
  double theta = 0.0;
};

enum class index_match { none, no_gate, other_file };

void fail_parsing(const course_reader &reader, error_slot *error) {
  *error = format_error("failed to parse %s", reader.path);
}

void read_matrix_row(course_reader &reader, const char *line, error_slot *error) {
  double row[4];
  const bool is_row = std::sscanf(line, "[%lf, %lf, %lf, %lf]", &row[0], &row[1], &row[2], &row[3]) == 4;
  if (!is_row || reader.rows == 4) return fail_parsing(reader, error);
  std::memcpy(reader.matrix->m[reader.rows], row, sizeof row);
  ++reader.rows;
}

// The terminator must fit behind the new point as well.
bool append_pond_point(course_reader &reader, const vec3 &point) {
  if (!try_reserve(reader.pond, reader.pond_capacity, reader.pond_count + 2, 512)) return false;
  reader.pond[reader.pond_count] = point;
  reader.pond[reader.pond_count + 1] = vec3();
  ++reader.pond_count;
  return true;
}

// Up to four points a line, in single precision: one decimal of a metre needs no more.
void read_pond_points(course_reader &reader, const char *line, error_slot *error) {
  float n[8];
  const int count = std::sscanf(line, "(%f, %f), (%f, %f), (%f, %f), (%f, %f)", &n[0], &n[1], &n[2], &n[3], &n[4],
                                &n[5], &n[6], &n[7]);
  if (count <= 0 || count % 2 != 0) return fail_parsing(reader, error);
  for (int i = 0; i < count; i += 2) {
    const vec3 point = {static_cast<double>(n[i]), static_cast<double>(n[i + 1]), 0.0};
    if (!append_pond_point(reader, point)) {
      *error = "failed to realloc pond array";
      return;
    }
  }
}

void read_theta(course_reader &reader, const char *line, error_slot *error) {
  if (std::sscanf(line, "theta = %lf", &reader.theta) != 1) fail_parsing(reader, error);
}

// Takes the quotes off in place.
void unquote(char *text) {
  const std::size_t length = std::strlen(text);
  if (length != 0 && text[length - 1] == '"') text[length - 1] = '\0';
  if (text[0] == '"') std::memmove(text, text + 1, std::strlen(text));
}

index_match read_index_entry(const course_reader &reader, const char *line, const char *swoop_file, char *target,
                             error_slot *error) {
  char name[line_size];
  if (std::sscanf(line, "%99s - %99[^\r\n]", name, target) != 2) {
    fail_parsing(reader, error);
    return index_match::none;
  }
  if (std::strcmp(name, "*") != 0 && !begins_with(swoop_file, name)) return index_match::none;
  if (std::strcmp(target, "nogate") == 0) return index_match::no_gate;
  unquote(target);
  return index_match::other_file;
}

bool is_index_entry(const char *line) { return line[0] == '*' || (line[0] >= '0' && line[0] <= '9'); }

// Reads up to the first matching index entry or the end of the file.
index_match read_lines(std::FILE *file, course_reader &reader, const char *swoop_file, char *target,
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
      const index_match match = read_index_entry(reader, line, swoop_file, target, error);
      if (match != index_match::none) return match;
    } else {
      *error = format_error("invalid line in %s", reader.path);
    }
    if (*error) return index_match::none;
  }
  if (reader.rows != 4) fail_parsing(reader, error);
  return index_match::none;
}

// Reads one file of a chain. With other_file the target names the next.
index_match read_one_file(const char *path, const char *swoop_file, course &result, char *target, error_slot *error) {
  result.is_unread = true;
  course_reader reader;
  reader.path = path;
  reader.matrix = try_make<mat4>();
  if (!reader.matrix) {
    *error = "failed to malloc matrix";
    return index_match::none;
  }
  const file_handle file = open_input(path, error);
  if (!file) {
    result.is_unread = is_unread_input(path);
    return index_match::none;
  }
  const index_match match = read_lines(file.get(), reader, swoop_file, target, error);
  if (match == index_match::none) report_read_error(file.get(), path, error);
  result.is_unread = is_file_failure(*error);
  if (match == index_match::none && *error == nullptr) {
    result.matrix = std::move(reader.matrix);
    result.pond = std::move(reader.pond);
    result.theta = reader.theta;
  }
  return match;
}

// Which name of a chain, read up to its i-th, is one too many for a chain that leads on for ever; -1 when this one may
// end. A name that comes again leads to the same names again, and no file needs to be read for that.
int last_of_endless_chain(const char (*names)[line_size], int i) {
  if (i == max_further_files) return i;
  for (int k = 0; k < i; ++k) {
    if (std::strcmp(names[k], names[i]) == 0) return k + (max_further_files - k) % (i - k);
  }
  return -1;
}

}  // namespace

void write_course_text(std::FILE *file, const mat4 &matrix, const vec3 *pond, double theta) {
  write_matrix(file, matrix);
  if (theta != 0.0) write_theta(file, theta);
  if (pond != nullptr) write_pond(file, pond);
}

void read_course_file(const char *path, const char *swoop_file, course &result, error_slot *error) {
  *error = nullptr;
  result = course();
  // The files that indices lead to, one after the other.
  char names[max_further_files + 1][line_size];
  index_match match = read_one_file(path, swoop_file, result, names[0], error);
  for (int i = 0; match == index_match::other_file && *error == nullptr; ++i) {
    const int last = last_of_endless_chain(names, i);
    if (last >= 0) {
      // The only one of them that has not been read.
      if (last == i) result.is_unread = is_unread_input(names[last]);
      *error = format_error("failed to open file: %s", names[last]);
      return;
    }
    match = read_one_file(names[i], swoop_file, result, names[i + 1], error);
  }
}

}  // namespace tarvel
