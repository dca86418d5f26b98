#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <iterator>
#include <limits>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "formats/course_file.h"
#include "geo/angle.h"
#include "support/files.h"
#include "support/pond_of.h"
#include "support/refusals.h"

namespace tarvel {

namespace {

const std::string rows =
    "[1.5, 2, 3, 4]\n"
    "[5, 6e2, 7, 8]\n"
    "[-9, 10, 11, 12]\n"
    "[0, 0, 0, 1]\n";
const mat4 rows_matrix = {
    {{1.5, 2.0, 3.0, 4.0}, {5.0, 600.0, 7.0, 8.0}, {-9.0, 10.0, 11.0, 12.0}, {0.0, 0.0, 0.0, 1.0}}};

// Every field has a value, so that a change by a failed call is found.
course course_of_before() {
  course before;
  before.matrix.m[0][0] = 7.0;
  before.theta = 3.0;
  before.pond = pond_of({{1.0, 2.0, 3.0}});
  return before;
}

void expect_course_of_before(const course &result) {
  mat4 matrix;
  matrix.m[0][0] = 7.0;
  EXPECT_EQ(result.matrix, matrix);
  EXPECT_EQ(result.theta, 3.0);
  ASSERT_TRUE(result.pond);
  ASSERT_EQ(result.pond->count, 1U);
  EXPECT_EQ(result.pond->points[0].x, 1.0);
}

struct reading {
  course result = course_of_before();
  std::string message;  // empty for success
};

reading read_text_of(const std::string &text) {
  reading read;
  course_link link;
  error_slot error = "left over";
  const file_handle stream = open_bytes(text);
  EXPECT_EQ(read_course(stream.get(), "matrix.txt", "12-30-05.csv", read.result, link, &error), course_answer::here);
  if (error != nullptr) {
    read.message = error;
    expect_course_of_before(read.result);
  }
  return read;
}

TEST(course_file_read_test, reads_four_rows) {
  const reading read = read_text_of(rows);
  EXPECT_EQ(read.message, "");
  EXPECT_EQ(read.result.matrix, rows_matrix);
  EXPECT_FALSE(read.result.pond);
  EXPECT_EQ(read.result.theta, 0.0);
}

const std::string parse_failure = "failed to parse matrix.txt";
const std::string invalid_line = "invalid line in matrix.txt";

struct text_case {
  const char *name;
  std::string text;
  std::string message;  // empty: read as the four rows
};

const text_case text_cases[] = {
    {"no text", "", parse_failure},
    {"three rows", "[1, 2, 3, 4]\n[1, 2, 3, 4]\n[1, 2, 3, 4]\n", parse_failure},
    {"five rows", rows + "[1, 2, 3, 4]\n", parse_failure},
    {"five rows, the last one broken", rows + "[1, 2\n", parse_failure},
    {"a row of three", "[1, 2, 3]\n" + rows, parse_failure},
    {"a row without commas", "[1 2 3 4]\n" + rows, parse_failure},
    {"a row of words", "[a, b, c, d]\n" + rows, parse_failure},
    {"an opening bracket alone", "[\n" + rows, parse_failure},
    {"no newline at the end", rows.substr(0, rows.size() - 1), ""},
    {"no closing bracket at the end", rows.substr(0, rows.size() - 2), ""},
    {"more behind a row", "[1.5, 2, 3, 4] and more\n" + rows.substr(15), ""},
    {"blank lines and comments", "\n//\n// words\n\n" + rows + "\n//[\n", ""},
    {"a carriage return on a blank line", "\r\n" + rows, invalid_line},
    {"carriage returns behind rows", "[1.5, 2, 3, 4]\r\n" + rows.substr(15), ""},
    {"a blank", " \n" + rows, invalid_line},
    {"an indented row", " " + rows, invalid_line},
    {"an indented comment", " // words\n" + rows, invalid_line},
    {"one slash", "/ words\n" + rows, invalid_line},
    {"words", rows + "words\n", invalid_line},
    {"a minus sign", "-1\n" + rows, invalid_line},
    {"what follows the digits", ":1 - a.txt\n" + rows, invalid_line},
    {"a NUL byte", std::string("\0\n", 2) + rows, invalid_line},
    {"three pond numbers", rows + "(1.0, 2.0), (3.0)\n", parse_failure},
    {"one pond number", rows + "(1.0)\n", parse_failure},
    {"five pond numbers", rows + "(1, 2), (3, 4), (5\n", parse_failure},
    {"seven pond numbers", rows + "(1, 2), (3, 4), (5, 6), (7, \n", parse_failure},
    {"an empty parenthesis", rows + "()\n", parse_failure},
    {"a parenthesis at the end", rows + "(", parse_failure},
    {"theta without a number", rows + "theta = \n", parse_failure},
    {"theta of a word", rows + "theta = x\n", parse_failure},
    {"theta without blanks", rows + "theta=5\n", invalid_line},
    {"theta with half of them", rows + "theta =5\n", invalid_line},
    {"theta indented", rows + " theta = 5\n", invalid_line},
    {"the first of two faults", "words\n[1\n", invalid_line},
};

TEST(course_file_read_test, accepts_and_refuses_lines) {
  for (const text_case &c : text_cases) {
    SCOPED_TRACE(c.name);
    const reading read = read_text_of(c.text);
    EXPECT_EQ(read.message, c.message);
    if (!c.message.empty()) continue;
    EXPECT_EQ(read.result.matrix, rows_matrix);
  }
}

// 30 digits, mpmath: 12.5, -10 and 2 degrees in radians.
TEST(course_file_read_test, reads_theta_in_degrees_wherever_it_stands) {
  EXPECT_DOUBLE_EQ(read_text_of("theta =  12.50000000\n" + rows).result.theta, 0.21816615649929119);
  EXPECT_DOUBLE_EQ(read_text_of(rows + "theta = -1e1 degrees\n").result.theta, -0.17453292519943296);
  EXPECT_DOUBLE_EQ(read_text_of("theta = 1\n" + rows + "theta = 2\n").result.theta, 0.034906585039886592);
}

TEST(course_file_read_test, a_line_longer_than_99_characters_is_read_as_two) {
  const auto comment = [](std::size_t length) { return "//" + std::string(length - 2, 'x'); };
  EXPECT_EQ(read_text_of(comment(98) + "\n" + rows).message, "");
  EXPECT_EQ(read_text_of(comment(99) + "\n" + rows).message, "");  // the second line is blank
  EXPECT_EQ(read_text_of(comment(100) + "\n" + rows).message, invalid_line);
  EXPECT_EQ(read_text_of(comment(99) + "theta = 5\n" + rows).result.theta, radians_from_degrees(5.0));
  EXPECT_EQ(read_text_of(comment(98) + "theta = 5\n" + rows).message, invalid_line);   // "heta = 5"
  EXPECT_EQ(read_text_of(comment(198) + "theta = 5\n" + rows).message, invalid_line);  // "xxx..." is a line too
}

TEST(course_file_read_test, reads_pond_points_in_single_precision) {
  const reading read = read_text_of("(0.1, -2.5)\n" + rows + "(  10.3,   -0.1),  (3,4),(5 , 6)\n");
  // A blank in front of a comma ends the line's numbers: 5 has no partner.
  EXPECT_EQ(read.message, parse_failure);
  const reading good = read_text_of("(0.1, -2.5)\n" + rows + "(  10.3,   -0.1),  (3,4),\n");
  EXPECT_EQ(good.message, "");
  ASSERT_TRUE(good.result.pond);
  const std::span<const vec3> pond = points_of(*good.result.pond);
  ASSERT_EQ(pond.size(), 3U);
  EXPECT_EQ(pond[0].x, 0.10000000149011612);  // 0.1 and 10.3 in 24 bits
  EXPECT_EQ(pond[0].y, -2.5);
  EXPECT_EQ(pond[0].z, 0.0);
  EXPECT_EQ(pond[1].x, 10.300000190734863);
  EXPECT_EQ(pond[1].y, -0.10000000149011612);
  EXPECT_EQ(pond[2].x, 3.0);
  EXPECT_EQ(pond[2].y, 4.0);
}

TEST(course_file_read_test, reads_four_points_a_line_and_no_fifth) {
  const reading read = read_text_of(rows + "(1, 2), (3, 4), (5, 6), (7, 8), (9, 10)\n(11, 12)\n");
  EXPECT_EQ(read.message, "");
  ASSERT_TRUE(read.result.pond);
  const std::span<const vec3> pond = points_of(*read.result.pond);
  ASSERT_EQ(pond.size(), 5U);
  EXPECT_EQ(pond[3].x, 7.0);
  EXPECT_EQ(pond[3].y, 8.0);
  EXPECT_EQ(pond[4].x, 11.0);
}

struct origin_case {
  const char *name;
  std::string lines;
  std::vector<double> xs;
};

const origin_case origin_cases[] = {
    {"none", "(1, 2), (0, 3), (4, 0)\n", {1.0, 0.0, 4.0}},
    {"in the middle of a line", "(1, 2), (0, 0), (3, 4)\n(5, 6)\n", {1.0}},
    {"on a line of its own", "(1, 2), (3, 4)\n(0.0, 0.0),\n(5, 6)\n", {1.0, 3.0}},
    {"minus zeros", "(1, 2), (-0.0, -0.0), (3, 4)\n", {1.0}},
    {"at the beginning", "(0, 0), (3, 4)\n", {}},
    {"alone", "(0, 0)\n", {}},
    {"too near for single precision", "(1, 2), (1e-46, -1e-46), (3, 4)\n", {1.0}},
    {"not a number", "(1, 2), (nan, 0), (3, 4)\n", {1.0, std::numeric_limits<double>::quiet_NaN(), 3.0}},
};

TEST(course_file_read_test, a_point_in_the_origin_ends_the_pond) {
  for (const origin_case &c : origin_cases) {
    SCOPED_TRACE(c.name);
    const reading read = read_text_of(rows + c.lines);
    EXPECT_EQ(read.message, "");
    ASSERT_TRUE(read.result.pond);
    const std::span<const vec3> pond = points_of(*read.result.pond);
    ASSERT_EQ(pond.size(), c.xs.size());
    for (std::size_t i = 0; i < pond.size(); ++i) {
      EXPECT_TRUE(pond[i].x == c.xs[i] || (std::isnan(pond[i].x) && std::isnan(c.xs[i])));
    }
  }
  // The following lines are still parsed.
  EXPECT_EQ(read_text_of(rows + "(0, 0)\n(5)\n").message, parse_failure);
}

std::string pond_lines(std::size_t count) {
  std::string text;
  for (std::size_t i = 1; i <= count; ++i) text += "(" + std::to_string(i) + ", 1.0),\n";
  return text;
}

TEST(course_file_read_test, reads_ponds_of_every_size) {
  for (const std::size_t count : {1U, 510U, 511U, 512U, 513U, 1022U, 1023U, 1024U, 1025U, 5000U}) {
    SCOPED_TRACE(count);
    const reading read = read_text_of(rows + pond_lines(count));
    EXPECT_EQ(read.message, "");
    ASSERT_TRUE(read.result.pond);
    ASSERT_EQ(read.result.pond->count, count);
    for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(read.result.pond->points[i].x, static_cast<double>(i + 1));
  }
}

TEST(course_file_read_test, names_the_file_in_its_messages) {
  course result;
  course_link link;
  for (const std::string name : {"missing/gate.txt", "."}) {
    error_slot error = nullptr;
    const file_handle nothing = open_bytes("");
    EXPECT_EQ(read_course(nothing.get(), name.c_str(), "run.csv", result, link, &error), course_answer::here);
    EXPECT_EQ(error, "failed to parse " + name);
    const file_handle words = open_bytes("words\n");
    EXPECT_EQ(read_course(words.get(), name.c_str(), "run.csv", result, link, &error), course_answer::here);
    EXPECT_EQ(error, "invalid line in " + name);
  }
}

// The caller finds out whether that is the end of the file.
TEST(course_file_read_test, ends_where_the_disk_fails) {
  const std::string text = rows + pond_lines(3);
  for (std::size_t position = 0; position <= text.size(); ++position) {
    SCOPED_TRACE(position);
    const file_handle stream = open_failing_bytes(text, position);
    course result = course_of_before();
    course_link link;
    error_slot error = nullptr;
    EXPECT_EQ(read_course(stream.get(), "matrix.txt", "run.csv", result, link, &error), course_answer::here);
    if (error != nullptr) expect_course_of_before(result);
    EXPECT_NE(std::ferror(stream.get()), 0);
  }
}

TEST(course_file_read_test, reads_back_what_was_written) {
  std::mt19937_64 random(40);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  for (int round = 0; round < 50; ++round) {
    course written;
    mat4 &matrix = written.matrix;
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 3; ++c) matrix.m[r][c] = unit(random);
      matrix.m[r][3] = 6.4e6 * unit(random);
    }
    written.theta = pi * unit(random);
    std::vector<vec3> pond(static_cast<std::size_t>(round));
    for (vec3 &point : pond) point = {200.0 * unit(random), 200.0 * unit(random), 0.0};
    if (round != 0) written.pond = pond_of(pond);
    const reading back = read_text_of(bytes_written_by([&](std::FILE *stream) { write_course(stream, written); }));
    EXPECT_EQ(back.message, "");
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 3; ++c) EXPECT_NEAR(back.result.matrix.m[r][c], matrix.m[r][c], 0.50000001e-9);
      EXPECT_NEAR(back.result.matrix.m[r][3], matrix.m[r][3], 0.50000001e-3);
    }
    EXPECT_NEAR(back.result.theta, written.theta, 0.50001e-8 * pi / 180.0);
    ASSERT_EQ(back.result.pond.has_value(), round != 0);
    if (round == 0) continue;
    ASSERT_EQ(back.result.pond->count, pond.size());
    for (std::size_t i = 0; i < pond.size(); ++i) {
      EXPECT_NEAR(back.result.pond->points[i].x, pond[i].x, 0.0501);
      EXPECT_NEAR(back.result.pond->points[i].y, pond[i].y, 0.0501);
      EXPECT_EQ(back.result.pond->points[i].z, 0.0);
    }
  }
}

TEST(course_file_read_test, fails_when_memory_is_short) {
  const std::string text = pond_lines(600) + rows;
  const auto attempt = [&](std::size_t granted) {
    course result = course_of_before();
    course_link link;
    const file_handle stream = open_bytes(text);
    error_slot error = nullptr;
    const allocation_limit limit(granted);
    EXPECT_EQ(read_course(stream.get(), "matrix.txt", "run.csv", result, link, &error), course_answer::here);
    if (error != nullptr) expect_course_of_before(result);
    return error;
  };
  EXPECT_EQ(messages_of_refusals(attempt), std::vector<std::string>{"failed to realloc pond array"});
}

}  // namespace

}  // namespace tarvel
