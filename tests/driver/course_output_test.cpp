#include "driver/course_output.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "driver/file_handle.h"
#include "support/allocation_limit.h"
#include "support/failing_calls.h"
#include "support/files.h"

namespace {

// What the stand-in below for the C library's function was asked for.
std::vector<std::size_t> buffer_sizes;

}  // namespace

extern "C" int setvbuf(std::FILE *file, char *buffer, int mode, std::size_t size) noexcept {
  buffer_sizes.push_back(size);
  using function = int (*)(std::FILE *, char *, int, std::size_t);
  return reinterpret_cast<function>(dlsym(RTLD_NEXT, "setvbuf"))(file, buffer, mode, size);
}

namespace tarvel {

namespace {

const mat4 matrix = {{{0.7569898924, -0.1981460626, -0.6226591704, -19949.3014},
                      {0.0679110045, 0.9716106257, -0.2266294036, -7260.9513},
                      {0.64988799, 0.129270759, 0.748955721, -6366570.4342},
                      {0.0, 0.0, 0.0, 1.0}}};

// Width 12 with nine decimals, three in the last column: "0.756989892" is 11 characters long.
const std::string matrix_text =
    "// This transformation matrix converts from ECEF coordinates to local\n"
    "// coordinates.  The local reference frame places the origin at the center\n"
    "// of the entry gate with the z-axis pointing up and the x-axis pointing\n"
    "// along the swoop course.\n"
    "\n"
    "[ 0.756989892, -0.198146063, -0.622659170,   -19949.301]\n"
    "[ 0.067911004,  0.971610626, -0.226629404,    -7260.951]\n"
    "[ 0.649887990,  0.129270759,  0.748955721, -6366570.434]\n"
    "[ 0.000000000,  0.000000000,  0.000000000,        1.000]\n";

std::string written(double theta, const vec3 *pond) {
  const temp_dir folder;
  error_slot error = "left over";
  write_course_file("gate.txt", matrix, pond, theta, &error);
  EXPECT_STREQ(error, nullptr);
  const std::string text = read_text("gate.txt");
  EXPECT_EQ(read_text("matrix.txt"), text);
  return text;
}

TEST(course_output_test, a_gate_track_named_matrix_keeps_its_course) {
  const temp_dir folder;
  error_slot error = nullptr;
  for (const char *path : {"matrix.txt", "./matrix.txt"}) {
    SCOPED_TRACE(path);
    write_course_file(path, matrix, nullptr, 0.0, &error);
    EXPECT_STREQ(error, nullptr);
    EXPECT_EQ(read_text("matrix.txt"), matrix_text);
  }
}

TEST(course_output_test, linked_names_of_one_file_keep_the_course) {
  for (const bool symbolic : {false, true}) {
    const temp_dir folder;
    write_text("gate.txt", "old");
    if (symbolic) {
      std::filesystem::create_symlink("gate.txt", "matrix.txt");
    } else {
      std::filesystem::create_hard_link("gate.txt", "matrix.txt");
    }
    error_slot error = nullptr;
    write_course_file("gate.txt", matrix, nullptr, 0.0, &error);
    EXPECT_STREQ(error, nullptr);
    EXPECT_EQ(read_text("gate.txt"), matrix_text);
    EXPECT_EQ(read_text("matrix.txt"), matrix_text);
  }
}

TEST(course_output_test, a_course_that_was_read_is_set_aside_before_a_new_one_is_written) {
  const temp_dir folder;
  write_text("matrix.txt", "an index");
  error_slot error = nullptr;
  static const file_handle held = open_input("matrix.txt", &error);  // no other file may get its inode
  write_course_file("gate.txt", matrix, nullptr, 0.0, &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_EQ(read_text("matrix.txt.orig"), "an index");
  EXPECT_EQ(read_text("matrix.txt"), matrix_text);
}

TEST(course_output_test, copies_nothing_when_the_course_file_cannot_be_opened) {
  const temp_dir folder;
  write_text("matrix.txt", "old");
  error_slot error = nullptr;
  write_course_file("missing/gate.txt", matrix, nullptr, 0.0, &error);
  EXPECT_STREQ(error, "failed to open file: missing/gate.txt");
  EXPECT_EQ(read_text("matrix.txt"), "old");
}

TEST(course_output_test, copies_nothing_when_the_disk_is_full) {
  const temp_dir folder;
  std::filesystem::create_symlink("/dev/full", "gate.txt");
  error_slot error = nullptr;
  write_course_file("gate.txt", matrix, nullptr, 0.0, &error);
  EXPECT_STREQ(error, "failed to write file: gate.txt");
  EXPECT_FALSE(file_exists("matrix.txt"));
}

TEST(course_output_test, says_when_the_copy_fails) {
  const temp_dir folder;
  std::filesystem::create_directory("matrix.txt");
  error_slot error = nullptr;
  write_course_file("gate.txt", matrix, nullptr, 0.0, &error);
  EXPECT_STREQ(error, "could not open matrix.txt for writing");
  EXPECT_EQ(read_text("gate.txt"), matrix_text);
  std::filesystem::remove("matrix.txt");
  std::filesystem::create_symlink("/dev/full", "matrix.txt");
  write_course_file("gate.txt", matrix, nullptr, 0.0, &error);
  EXPECT_STREQ(error, "failed to write file: matrix.txt");
}

// A guess could copy the course file onto itself.
TEST(course_output_test, copies_nothing_when_nobody_can_tell_the_two_files_apart) {
  for (std::size_t granted = 0;; ++granted) {
    SCOPED_TRACE(granted);
    const temp_dir folder;
    std::size_t refused = 0;
    error_slot error = nullptr;
    {
      const failing_call disk(c_call::stat, granted, EIO);
      write_course_file("gate.txt", matrix, nullptr, 0.0, &error);
      refused = disk.refused();
    }
    if (refused == 0) break;
    EXPECT_TRUE(error == std::string("failed to open file: gate.txt") ||
                error == std::string("failed to open file: matrix.txt") ||
                error == std::string("could not open matrix.txt for writing"))
        << error;
    EXPECT_FALSE(file_exists("matrix.txt"));
  }
}

TEST(course_output_test, copies_every_byte) {
  const temp_dir folder;
  std::string bytes;
  for (int i = 0; i < 100000; ++i) bytes.push_back(static_cast<char>(i * 7 + i / 256));
  for (const std::string &text : {std::string(), std::string("\xff\0\r\n", 4), bytes}) {
    write_text("source", text);
    error_slot error = "left over";
    copy_file("destination", "source", &error);
    EXPECT_STREQ(error, nullptr);
    EXPECT_EQ(read_text("destination"), text);
    EXPECT_EQ(read_text("source"), text);
  }
}

std::vector<vec3> pond_of(std::size_t points) {
  std::vector<vec3> pond;
  for (std::size_t i = 0; i < points; ++i) pond.push_back({-1234.5, 1234.5 + static_cast<double>(i), 0.0});
  pond.emplace_back();
  return pond;
}

// In two pieces, the first alone could be taken for a course with a smaller pond.
TEST(course_output_test, writes_a_course_in_one_piece) {
  for (const std::size_t points : {0U, 1U, 460U, 10000U}) {
    SCOPED_TRACE(points);
    buffer_sizes.clear();
    const std::size_t size = written(0.5, pond_of(points).data()).size();
    // 24 characters and a NUL for each point; for the copy what there is and one byte more.
    EXPECT_EQ(buffer_sizes, (std::vector<std::size_t>{2048 + 25 * points, size + 1}));
    EXPECT_LT(size, 2048 + 25 * points);
  }
  buffer_sizes.clear();
  written(0.0, nullptr);
  EXPECT_EQ(buffer_sizes, (std::vector<std::size_t>{2048, matrix_text.size() + 1}));
}

[[noreturn]] void write_with_file_limit(rlim_t bytes) {
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit usual;
  getrlimit(RLIMIT_FSIZE, &usual);
  const rlimit limit = {bytes, usual.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  error_slot error = nullptr;
  write_course_file("gate.txt", matrix, pond_of(460).data(), 0.0, &error);
  const bool is_told = error == std::string("failed to write file: gate.txt");
  copy_file("copy.txt", "whole.txt", &error);
  const bool is_copy_told = error == std::string("failed to write file: copy.txt");
  // What runs at the end of a process may write files.
  setrlimit(RLIMIT_FSIZE, &usual);
  if (!is_told || read_text("gate.txt") != "" || file_exists("matrix.txt")) std::exit(1);
  std::exit(is_copy_told && read_text("copy.txt") == "" ? 0 : 2);
}

TEST(course_output_test, leaves_no_part_of_a_course_on_a_full_disk) {
  const temp_dir folder;
  write_text("whole.txt", std::string(10000, 'x'));
  for (const rlim_t bytes : {1U, 4096U, 5000U, 8192U, 9000U}) {
    SCOPED_TRACE(bytes);
    EXPECT_EXIT(write_with_file_limit(bytes), testing::ExitedWithCode(0), "");
  }
}

TEST(course_output_test, says_what_kept_it_from_copying) {
  const temp_dir folder;
  error_slot error = nullptr;
  copy_file("destination", "missing", &error);
  EXPECT_STREQ(error, "could not open missing for reading");
  EXPECT_FALSE(file_exists("destination"));
  write_text("short", "text");
  copy_file("missing/destination", "short", &error);
  EXPECT_STREQ(error, "could not open missing/destination for writing");
  copy_file("/dev/full", "short", &error);
  EXPECT_STREQ(error, "failed to write file: /dev/full");
  write_text("long", std::string(1000000, 'x'));
  copy_file("/dev/full", "long", &error);
  EXPECT_STREQ(error, "failed to write file: /dev/full");
  // Byte by byte through a small buffer when there is no memory for all of it.
  const allocation_limit none(0);
  copy_file("/dev/full", "long", &error);
  EXPECT_STREQ(error, "failure during write to /dev/full");
  copy_file("destination", ".", &error);
  EXPECT_STREQ(error, "failed to read file: .");
}

}  // namespace

}  // namespace tarvel
