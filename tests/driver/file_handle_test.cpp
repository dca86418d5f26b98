#include "driver/file_handle.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "support/allocation_limit.h"
#include "support/files.h"

namespace tarvel {
namespace {

// Inputs are remembered for the whole process by their inode. An open file keeps its number from being given to a file
// of a later test.
std::FILE *held(file_handle file) {
  static std::vector<file_handle> files;
  files.push_back(std::move(file));
  return files.back().get();
}

TEST(file_handle_test, opens_an_input_from_its_first_byte) {
  const temp_dir dir;
  write_text("run.csv", "time\r\n");
  error_slot error = nullptr;
  std::FILE *const file = held(open_input("run.csv", &error));
  EXPECT_EQ(error, nullptr);
  ASSERT_NE(file, nullptr);
  char bytes[10] = {};
  EXPECT_EQ(std::fread(bytes, 1, sizeof bytes, file), 6U);
  EXPECT_STREQ(bytes, "time\r\n");
}

TEST(file_handle_test, names_the_input_that_is_not_there) {
  const temp_dir dir;
  error_slot error = nullptr;
  EXPECT_EQ(open_input("run.csv", &error), nullptr);
  EXPECT_STREQ(error, "failed to open file: run.csv");
}

TEST(file_handle_test, cuts_the_message_of_a_long_name) {
  const temp_dir dir;
  const std::string name(300, 'n');
  error_slot error = nullptr;
  EXPECT_EQ(open_input(name.c_str(), &error), nullptr);
  EXPECT_EQ(error, ("failed to open file: " + name).substr(0, 255));
}

TEST(file_handle_test, refuses_a_pipe_without_waiting_for_a_writer) {
  const temp_dir dir;
  ASSERT_EQ(mkfifo("run.csv", 0600), 0);
  error_slot error = nullptr;
  EXPECT_EQ(open_input("run.csv", &error), nullptr);
  EXPECT_STREQ(error, "failed to open file: run.csv");
}

TEST(file_handle_test, opens_a_folder_as_an_empty_file) {
  const temp_dir dir;
  ASSERT_EQ(mkdir("run.csv", 0700), 0);
  error_slot error = nullptr;
  const file_handle file = open_input("run.csv", &error);
  EXPECT_EQ(error, nullptr);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(std::getc(file.get()), EOF);
  EXPECT_NE(std::feof(file.get()), 0);
  EXPECT_EQ(std::ferror(file.get()), 0);
  report_read_error(file.get(), "run.csv", &error);
  EXPECT_EQ(error, nullptr);
}

TEST(file_handle_test, waits_for_the_bytes_of_an_input) {
  const temp_dir dir;
  write_text("run.csv", "time");
  error_slot error = nullptr;
  std::FILE *const file = held(open_input("run.csv", &error));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(fcntl(fileno(file), F_GETFL) & O_NONBLOCK, 0);
  EXPECT_NE(fcntl(fileno(file), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(file_handle_test, creates_an_output) {
  const temp_dir dir;
  error_slot error = nullptr;
  file_handle file = open_output("run.txt", &error);
  ASSERT_NE(file, nullptr);
  std::fputs("new\r\n", file.get());
  close_output(std::move(file), "run.txt", &error);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(read_text("run.txt"), "new\r\n");
}

TEST(file_handle_test, creates_an_output_with_the_usual_permissions) {
  const temp_dir dir;
  error_slot error = nullptr;
  for (const mode_t mask : {0U, 027U}) {
    SCOPED_TRACE(mask);
    const mode_t usual = umask(mask);
    const file_handle file = open_new_output(mask == 0 ? "all.txt" : "few.txt", &error);
    umask(usual);
    ASSERT_NE(file, nullptr);
    struct stat status;
    ASSERT_EQ(fstat(fileno(file.get()), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0666U & ~mask);
  }
}

TEST(file_handle_test, empties_an_output_that_is_no_input) {
  const temp_dir dir;
  write_text("run.txt", "an older and longer report");
  error_slot error = nullptr;
  file_handle file = open_output("run.txt", &error);
  ASSERT_NE(file, nullptr);
  std::fputs("new", file.get());
  close_output(std::move(file), "run.txt", &error);
  EXPECT_EQ(read_text("run.txt"), "new");
  EXPECT_FALSE(file_exists("run.txt.orig"));
}

TEST(file_handle_test, names_the_output_that_cannot_be_opened) {
  const temp_dir dir;
  error_slot error = nullptr;
  EXPECT_EQ(open_output("nowhere/run.txt", &error), nullptr);
  EXPECT_STREQ(error, "failed to open file: nowhere/run.txt");
  ASSERT_EQ(mkdir("folder", 0700), 0);
  error = nullptr;
  EXPECT_EQ(open_output("folder", &error), nullptr);
  EXPECT_STREQ(error, "failed to open file: folder");
}

TEST(file_handle_test, creates_a_new_output_only_where_no_name_is) {
  const temp_dir dir;
  error_slot error = nullptr;
  file_handle file = open_new_output("run-1.csv", &error);
  EXPECT_EQ(error, nullptr);
  ASSERT_NE(file, nullptr);
  std::fputs("new", file.get());
  close_output(std::move(file), "run-1.csv", &error);
  EXPECT_EQ(read_text("run-1.csv"), "new");

  EXPECT_EQ(open_new_output("run-1.csv", &error), nullptr);
  EXPECT_STREQ(error, "file exists: run-1.csv");
  EXPECT_EQ(read_text("run-1.csv"), "new");
  ASSERT_EQ(symlink("gone", "link.csv"), 0);
  EXPECT_EQ(open_new_output("link.csv", &error), nullptr);
  EXPECT_STREQ(error, "file exists: link.csv");
  EXPECT_FALSE(file_exists("gone"));
  EXPECT_EQ(open_new_output("nowhere/run-1.csv", &error), nullptr);
  EXPECT_STREQ(error, "failed to open file: nowhere/run-1.csv");
}

TEST(file_handle_test, reports_a_full_disk_when_the_output_is_closed) {
  // A short text fits in the buffer, so that closing fails; a long one fails while it is written.
  for (const std::size_t length : {1U, 100000U}) {
    SCOPED_TRACE(length);
    error_slot error = nullptr;
    file_handle file = open_output("/dev/full", &error);
    ASSERT_NE(file, nullptr);
    std::fputs(std::string(length, 'x').c_str(), file.get());
    close_output(std::move(file), "/dev/full", &error);
    EXPECT_STREQ(error, "failed to write file: /dev/full");
  }
}

TEST(file_handle_test, reports_a_write_that_failed_although_the_closing_does_not) {
  error_slot error = nullptr;
  file_handle file = open_output("/dev/full", &error);
  ASSERT_NE(file, nullptr);
  std::setvbuf(file.get(), nullptr, _IONBF, 0);
  EXPECT_EQ(std::fputc('x', file.get()), EOF);
  close_output(std::move(file), "/dev/full", &error);
  EXPECT_STREQ(error, "failed to write file: /dev/full");
}

TEST(file_handle_test, keeps_an_earlier_message_on_closing) {
  error_slot error = nullptr;
  file_handle file = open_output("/dev/full", &error);
  ASSERT_NE(file, nullptr);
  std::fputs("x", file.get());
  error = "failed to write swoop sample";
  close_output(std::move(file), "/dev/full", &error);
  EXPECT_STREQ(error, "failed to write swoop sample");
}

TEST(file_handle_test, fails_when_no_memory_is_left_to_remember_an_input) {
  const temp_dir dir;
  write_text("run.csv", "samples");
  bool was_refused = false;
  for (std::size_t granted = 0; granted < 5; ++granted) {
    SCOPED_TRACE(granted);
    error_slot error = nullptr;
    {
      const allocation_limit limit(granted);
      const bool is_open = held(open_input("run.csv", &error)) != nullptr;
      EXPECT_EQ(is_open, error == nullptr);
    }
    if (error == nullptr) break;
    was_refused = true;
    EXPECT_STREQ(error, "strdup() failed");
    EXPECT_LT(granted, 4U);
  }
  EXPECT_TRUE(was_refused);
}

}  // namespace
}  // namespace tarvel
