#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "formats/course_file.h"
#include "support/allocation_limit.h"
#include "support/failing_calls.h"
#include "support/files.h"

namespace tarvel {

namespace {

const std::string rows =
    "[1.5, 2, 3, 4]\n"
    "[5, 6e2, 7, 8]\n"
    "[-9, 10, 11, 12]\n"
    "[0, 0, 0, 1]\n";
const mat4 rows_matrix = {
    {{1.5, 2.0, 3.0, 4.0}, {5.0, 600.0, 7.0, 8.0}, {-9.0, 10.0, 11.0, 12.0}, {0.0, 0.0, 0.0, 1.0}}};

// Something in every field, so that what a failure leaves behind shows.
course full_course() {
  course full;
  full.matrix = try_make<mat4>();
  EXPECT_TRUE(try_zeroed(full.pond, 2));
  full.theta = 3.0;
  return full;
}

void expect_empty(const course &result) {
  EXPECT_EQ(result.matrix, nullptr);
  EXPECT_EQ(result.pond, nullptr);
  EXPECT_EQ(result.theta, 0.0);
}

struct reading {
  course result = full_course();
  std::string message;  // empty for success
};

reading read(const std::string &path, const char *swoop_file = "12-30-05.csv") {
  reading read;
  error_slot error = "left over";
  read_course_file(path.c_str(), swoop_file, read.result, &error);
  if (error != nullptr) {
    read.message = error;
    expect_empty(read.result);
  }
  return read;
}

reading read_bytes(const std::string &text) {
  const temp_dir folder;
  write_text("matrix.txt", text);
  return read("matrix.txt");
}

TEST(course_file_read_test, reads_four_rows) {
  const reading read = read_bytes(rows);
  EXPECT_EQ(read.message, "");
  ASSERT_NE(read.result.matrix, nullptr);
  EXPECT_EQ(*read.result.matrix, rows_matrix);
  EXPECT_EQ(read.result.pond, nullptr);
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
    const reading read = read_bytes(c.text);
    EXPECT_EQ(read.message, c.message);
    if (!c.message.empty()) continue;
    ASSERT_NE(read.result.matrix, nullptr);
    EXPECT_EQ(*read.result.matrix, rows_matrix);
  }
}

TEST(course_file_read_test, reads_theta_wherever_it_stands) {
  EXPECT_EQ(read_bytes("theta =  12.50000000\n" + rows).result.theta, 12.5);
  EXPECT_EQ(read_bytes(rows + "theta = -1e1 degrees\n").result.theta, -10.0);
  EXPECT_EQ(read_bytes("theta = 1\n" + rows + "theta = 2\n").result.theta, 2.0);
}

TEST(course_file_read_test, a_line_longer_than_99_characters_is_read_as_two) {
  const auto comment = [](std::size_t length) { return "//" + std::string(length - 2, 'x'); };
  EXPECT_EQ(read_bytes(comment(98) + "\n" + rows).message, "");
  EXPECT_EQ(read_bytes(comment(99) + "\n" + rows).message, "");  // the second line is blank
  EXPECT_EQ(read_bytes(comment(100) + "\n" + rows).message, invalid_line);
  EXPECT_EQ(read_bytes(comment(99) + "theta = 5\n" + rows).result.theta, 5.0);
  EXPECT_EQ(read_bytes(comment(98) + "theta = 5\n" + rows).message, invalid_line);   // "heta = 5"
  EXPECT_EQ(read_bytes(comment(198) + "theta = 5\n" + rows).message, invalid_line);  // "xxx..." is a line too
}

TEST(course_file_read_test, reads_pond_points_in_single_precision) {
  const reading read = read_bytes("(0.1, -2.5)\n" + rows + "(  10.3,   -0.1),  (3,4),(5 , 6)\n");
  // A blank in front of a comma ends the line's numbers: 5 has no partner.
  EXPECT_EQ(read.message, parse_failure);
  const reading good = read_bytes("(0.1, -2.5)\n" + rows + "(  10.3,   -0.1),  (3,4),\n");
  EXPECT_EQ(good.message, "");
  ASSERT_NE(good.result.pond, nullptr);
  const vec3 *const pond = good.result.pond.get();
  EXPECT_EQ(pond[0].x, 0.10000000149011612);  // 0.1 and 10.3 in 24 bits
  EXPECT_EQ(pond[0].y, -2.5);
  EXPECT_EQ(pond[0].z, 0.0);
  EXPECT_EQ(pond[1].x, 10.300000190734863);
  EXPECT_EQ(pond[1].y, -0.10000000149011612);
  EXPECT_EQ(pond[2].x, 3.0);
  EXPECT_EQ(pond[2].y, 4.0);
  EXPECT_EQ(pond[3].x, 0.0);
  EXPECT_EQ(pond[3].y, 0.0);
  EXPECT_EQ(pond[3].z, 0.0);
}

TEST(course_file_read_test, reads_four_points_a_line_and_no_fifth) {
  const reading read = read_bytes(rows + "(1, 2), (3, 4), (5, 6), (7, 8), (9, 10)\n(11, 12)\n");
  EXPECT_EQ(read.message, "");
  ASSERT_NE(read.result.pond, nullptr);
  EXPECT_EQ(read.result.pond[3].x, 7.0);
  EXPECT_EQ(read.result.pond[3].y, 8.0);
  EXPECT_EQ(read.result.pond[4].x, 11.0);
  EXPECT_EQ(read.result.pond[5].x, 0.0);
}

std::string pond_lines(std::size_t count) {
  std::string text;
  for (std::size_t i = 1; i <= count; ++i) text += "(" + std::to_string(i) + ", 1.0),\n";
  return text;
}

TEST(course_file_read_test, reads_ponds_of_every_size) {
  for (const std::size_t count : {1U, 510U, 511U, 512U, 513U, 1022U, 1023U, 1024U, 1025U, 5000U}) {
    SCOPED_TRACE(count);
    const reading read = read_bytes(rows + pond_lines(count));
    EXPECT_EQ(read.message, "");
    ASSERT_NE(read.result.pond, nullptr);
    for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(read.result.pond[i].x, static_cast<double>(i + 1));
    EXPECT_EQ(read.result.pond[count].x, 0.0);
    EXPECT_EQ(read.result.pond[count].y, 0.0);
    EXPECT_EQ(read.result.pond[count].z, 0.0);
  }
}

TEST(course_file_read_test, names_the_file_that_cannot_be_opened) {
  const temp_dir folder;
  EXPECT_EQ(read("matrix.txt").message, "failed to open file: matrix.txt");
  EXPECT_EQ(read("missing/gate.txt").message, "failed to open file: missing/gate.txt");
  EXPECT_EQ(read(".").message, "failed to parse .");  // opens, but has no lines
}

bool is_unread(const char *path) { return read(path).result.is_unread; }

// Whoever writes then cannot know what is in the way.
TEST(course_file_read_test, tells_a_file_that_could_not_be_read_from_one_that_is_not_there) {
  const temp_dir folder;
  EXPECT_FALSE(is_unread("matrix.txt"));
  EXPECT_FALSE(is_unread("."));
  std::filesystem::create_symlink("/proc/self/mem", "disk.txt");
  EXPECT_TRUE(is_unread("disk.txt"));
  write_text("bad.txt", "no course\n");
  EXPECT_FALSE(is_unread("bad.txt"));
  write_text("gate.txt", rows);
  EXPECT_FALSE(is_unread("gate.txt"));
  write_text("index.txt", "* - gate.txt\n");
  EXPECT_FALSE(is_unread("index.txt"));
  write_text("further.txt", "* - disk.txt\n");
  EXPECT_TRUE(is_unread("further.txt"));
  write_text("nowhere.txt", "* - matrix.txt\n");
  EXPECT_FALSE(is_unread("nowhere.txt"));
  {
    const failing_call disk(c_call::fstat, 0, EIO);
    EXPECT_TRUE(is_unread("gate.txt"));
  }
  {
    const failing_call disk(c_call::fdopen, 0, ENOMEM);
    const failing_call either(c_call::stat, 0, EIO);
    EXPECT_TRUE(is_unread("gate.txt"));
  }
  course unread;
  error_slot error = nullptr;
  const allocation_limit none(0);
  read_course_file("gate.txt", "run.csv", unread, &error);
  EXPECT_STREQ(error, "failed to malloc matrix");
  EXPECT_TRUE(unread.is_unread);
}

TEST(course_file_read_test, reads_back_what_was_written) {
  std::mt19937_64 random(40);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  for (int round = 0; round < 50; ++round) {
    const temp_dir folder;
    mat4 matrix;
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 3; ++c) matrix.m[r][c] = unit(random);
      matrix.m[r][3] = 6.4e6 * unit(random);
    }
    const double theta = 180.0 * unit(random);
    std::vector<vec3> pond(static_cast<std::size_t>(round));
    for (vec3 &point : pond) point = {200.0 * unit(random), 200.0 * unit(random), 0.0};
    pond.emplace_back();
    {
      const file_handle file(std::fopen("matrix.txt", "wb"));
      write_course_text(file.get(), matrix, pond.data(), theta);
    }
    const reading back = read("matrix.txt");
    EXPECT_EQ(back.message, "");
    ASSERT_NE(back.result.matrix, nullptr);
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 3; ++c) EXPECT_NEAR(back.result.matrix->m[r][c], matrix.m[r][c], 0.50000001e-9);
      EXPECT_NEAR(back.result.matrix->m[r][3], matrix.m[r][3], 0.50000001e-3);
    }
    EXPECT_NEAR(back.result.theta, theta, 0.50001e-8);
    ASSERT_EQ(back.result.pond != nullptr, round != 0);
    for (std::size_t i = 0; i + 1 < pond.size(); ++i) {
      EXPECT_NEAR(back.result.pond[i].x, pond[i].x, 0.0501);
      EXPECT_NEAR(back.result.pond[i].y, pond[i].y, 0.0501);
      EXPECT_EQ(back.result.pond[i].z, 0.0);
    }
  }
}

TEST(course_file_read_test, says_which_memory_it_lacked) {
  const temp_dir folder;
  write_text("matrix.txt", pond_lines(600) + rows);
  EXPECT_EQ(read("matrix.txt").message, "");  // remembered as an input from here on
  const char *const messages[] = {"failed to malloc matrix", "failed to realloc pond array",
                                  "failed to realloc pond array", ""};
  for (std::size_t granted = 0; granted < std::size(messages); ++granted) {
    SCOPED_TRACE(granted);
    course result = full_course();
    error_slot error = nullptr;
    {
      const allocation_limit limit(granted);
      read_course_file("matrix.txt", "run.csv", result, &error);
    }
    EXPECT_STREQ(error == nullptr ? "" : error, messages[granted]);
    if (error != nullptr) expect_empty(result);
  }
}

TEST(course_file_read_test, every_refused_request_leaves_an_empty_course) {
  const temp_dir folder;
  // Files that this process has not met, so that remembering them asks for memory as well.
  write_text("matrix.txt", "* - gate.txt\n");
  write_text("gate.txt", pond_lines(600) + rows);
  std::size_t refused = 0;
  for (std::size_t granted = 0;; ++granted, ++refused) {
    SCOPED_TRACE(granted);
    ASSERT_LT(granted, 20U);
    course result = full_course();
    error_slot error = nullptr;
    {
      const allocation_limit limit(granted);
      read_course_file("matrix.txt", "run.csv", result, &error);
    }
    if (error == nullptr) break;
    const std::string message = error;
    EXPECT_TRUE(message == "failed to malloc matrix" || message == "strdup() failed" ||
                message == "failed to realloc pond array")
        << message;
    expect_empty(result);
  }
  EXPECT_GE(refused, 4U);
}

}  // namespace

}  // namespace tarvel
