#include "driver/course_output.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "driver/file_handle.h"
#include "support/course_texts.h"
#include "support/failing_calls.h"
#include "support/files.h"
#include "support/ordinary_user.h"
#include "support/pond_of.h"

namespace tarvel {

namespace {

// With a pond unless it has no points.
course course_of(std::size_t points) {
  course surveyed;
  surveyed.matrix = surveyed_matrix;
  std::vector<vec3> pond;
  for (std::size_t i = 0; i < points; ++i) pond.push_back({-1234.5, 1234.5 + static_cast<double>(i), 0.0});
  if (points != 0) surveyed.pond = pond_of(pond);
  return surveyed;
}

TEST(course_output_test, writes_the_course_and_its_copy) {
  const temp_dir folder;
  error_slot error = "left over";
  write_course_file("gate.txt", course_of(0), &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_EQ(read_text("gate.txt"), surveyed_matrix_text);
  EXPECT_EQ(read_text("matrix.txt"), surveyed_matrix_text);
}

TEST(course_output_test, a_gate_track_named_matrix_keeps_its_course) {
  const temp_dir folder;
  error_slot error = nullptr;
  for (const char *path : {"matrix.txt", "./matrix.txt"}) {
    SCOPED_TRACE(path);
    write_course_file(path, course_of(0), &error);
    EXPECT_STREQ(error, nullptr);
    EXPECT_EQ(read_text("matrix.txt"), surveyed_matrix_text);
  }
}

// The folder takes no new file, so that the course is written in place: copied onto itself, it would be emptied.
TEST(course_output_test, a_course_that_is_written_in_place_is_not_copied_onto_itself) {
  const temp_dir folder;
  write_text("matrix.txt", "old");
  ASSERT_EQ(chmod("matrix.txt", 0666), 0);
  ASSERT_EQ(chmod(folder.path().c_str(), 0555), 0);
  error_slot error = nullptr;
  {
    const ordinary_user user;
    write_course_file("matrix.txt", course_of(0), &error);
  }
  EXPECT_STREQ(error, nullptr);
  EXPECT_EQ(read_text("matrix.txt"), surveyed_matrix_text);
  ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
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
    write_course_file("gate.txt", course_of(0), &error);
    EXPECT_STREQ(error, nullptr);
    EXPECT_EQ(read_text("gate.txt"), surveyed_matrix_text);
    EXPECT_EQ(read_text("matrix.txt"), surveyed_matrix_text);
  }
}

TEST(course_output_test, a_course_that_was_read_is_set_aside_before_a_new_one_is_written) {
  const temp_dir folder;
  write_text("matrix.txt", "an index");
  error_slot error = nullptr;
  static const file_handle held = open_input("matrix.txt", &error);  // no other file may get its inode
  write_course_file("gate.txt", course_of(0), &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_EQ(read_text("matrix.txt.orig"), "an index");
  EXPECT_EQ(read_text("matrix.txt"), surveyed_matrix_text);
}

TEST(course_output_test, copies_nothing_when_the_course_file_cannot_be_opened) {
  const temp_dir folder;
  write_text("matrix.txt", "old");
  error_slot error = nullptr;
  write_course_file("missing/gate.txt", course_of(0), &error);
  EXPECT_STREQ(error, "failed to open file: missing/gate.txt");
  EXPECT_EQ(read_text("matrix.txt"), "old");
}

TEST(course_output_test, copies_nothing_when_the_disk_is_full) {
  const temp_dir folder;
  std::filesystem::create_symlink("/dev/full", "gate.txt");
  error_slot error = nullptr;
  write_course_file("gate.txt", course_of(0), &error);
  EXPECT_STREQ(error, "failed to write file: gate.txt");
  EXPECT_FALSE(file_exists("matrix.txt"));
}

TEST(course_output_test, reports_a_failed_copy) {
  const temp_dir folder;
  std::filesystem::create_directory("matrix.txt");
  error_slot error = nullptr;
  write_course_file("gate.txt", course_of(0), &error);
  EXPECT_STREQ(error, "could not open matrix.txt for writing");
  EXPECT_EQ(read_text("gate.txt"), surveyed_matrix_text);
  std::filesystem::remove("matrix.txt");
  std::filesystem::create_symlink("/dev/full", "matrix.txt");
  write_course_file("gate.txt", course_of(0), &error);
  EXPECT_STREQ(error, "failed to write file: matrix.txt");
}

// Otherwise the course file might be copied onto itself.
TEST(course_output_test, copies_nothing_when_the_two_files_cannot_be_compared) {
  for (std::size_t granted = 0;; ++granted) {
    SCOPED_TRACE(granted);
    const temp_dir folder;
    std::size_t refused = 0;
    error_slot error = nullptr;
    {
      const failing_call disk(c_call::stat, granted, EIO);
      write_course_file("gate.txt", course_of(0), &error);
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

[[noreturn]] void write_with_file_limit(rlim_t bytes) {
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit usual;
  getrlimit(RLIMIT_FSIZE, &usual);
  const rlimit limit = {bytes, usual.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  error_slot error = nullptr;
  write_course_file("gate.txt", course_of(460), &error);
  const std::string message = error != nullptr ? error : "";
  copy_file("copy.txt", "whole.txt", &error);
  const std::string copy_message = error != nullptr ? error : "";
  // Code that runs at the end of a process may write files.
  setrlimit(RLIMIT_FSIZE, &usual);
  if (message != "failed to write file: gate.txt") std::exit(1);
  const bool is_told =
      copy_message == "failed to write file: copy.txt" || copy_message == "failure during write to copy.txt";
  std::exit(is_told ? 0 : 2);
}

TEST(course_output_test, keeps_the_earlier_courses_on_a_full_disk) {
  const temp_dir folder;
  write_text("whole.txt", std::string(10000, 'x'));
  write_text("gate.txt", "an earlier course");
  for (const rlim_t bytes : {1U, 4096U, 5000U, 8192U, 9000U}) {
    SCOPED_TRACE(bytes);
    EXPECT_EXIT(write_with_file_limit(bytes), testing::ExitedWithCode(0), "");
    EXPECT_EQ(read_text("gate.txt"), "an earlier course");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}), 2);
  }
}

// Another call may have opened the old course file before.
TEST(course_output_test, leaves_what_a_reader_has_opened_as_it_was) {
  const temp_dir folder;
  error_slot error = nullptr;
  write_course_file("gate.txt", course_of(1000), &error);
  const std::string earlier = read_text("matrix.txt");
  const file_handle reader(std::fopen("matrix.txt", "rb"));
  std::string read(100, '\0');
  ASSERT_EQ(std::fread(read.data(), 1, 100, reader.get()), 100U);
  course turned = course_of(0);
  turned.theta = 0.5;
  write_course_file("gate.txt", turned, &error);
  EXPECT_STREQ(error, nullptr);
  for (int c = std::getc(reader.get()); c != EOF; c = std::getc(reader.get())) read += static_cast<char>(c);
  EXPECT_EQ(read, earlier);
  EXPECT_NE(read_text("matrix.txt"), earlier);
}

TEST(course_output_test, reports_why_it_could_not_copy) {
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
  // More than the stream's buffer takes.
  write_text("long", std::string(1000000, 'x'));
  copy_file("/dev/full", "long", &error);
  EXPECT_STREQ(error, "failure during write to /dev/full");
  copy_file("destination", ".", &error);
  EXPECT_STREQ(error, "failed to read file: .");
}

}  // namespace

}  // namespace tarvel
