// No fault of a file system may destroy an input or be taken for success.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include "driver/file_handle.h"
#include "driver/file_identity.h"
#include "driver/modes.h"
#include "driver/protected_inputs.h"
#include "support/allocation_limit.h"
#include "support/failing_calls.h"
#include "support/files.h"
#include "support/simulator.h"

namespace tarvel {
namespace {

constexpr const char *samples = "the only copy of the samples";

// Inputs are remembered for the whole process by their inode. An open file keeps its number from being given to a file
// of a later test.
void make_input(const char *path) {
  static std::vector<file_handle> held;
  write_text(path, samples);
  held.emplace_back(std::fopen(path, "rb"));
  error_slot error = nullptr;
  protect_input(path, &error);
  ASSERT_EQ(error, nullptr);
}

// Makes run.txt an output. Null for success.
error_slot write_output() {
  error_slot error = nullptr;
  file_handle file = open_output("run.txt", &error);
  if (!file) return error;
  std::fputs("report", file.get());
  close_output(std::move(file), "run.txt", &error);
  return error;
}

// True when the input that had this name is complete, under this name or a new one.
bool is_whole(const std::string &name) {
  for (const char *const suffix : {"", ".orig", ".orig.2", ".orig.3"}) {
    if (file_exists(name + suffix) && read_text(name + suffix) == samples) return true;
  }
  return false;
}

// File systems that cannot rename without replacing report that with two values of errno.
TEST(file_faults_test, moves_an_input_where_a_rename_may_replace) {
  for (const int words : {EINVAL, ENOSYS}) {
    SCOPED_TRACE(words);
    const temp_dir dir;
    make_input("run.txt");
    const failing_call flag(c_call::renameat2, 0, words);
    EXPECT_STREQ(write_output(), nullptr);
    EXPECT_EQ(read_text("run.txt"), "report");
    EXPECT_EQ(read_text("run.txt.orig"), samples);
  }
}

TEST(file_faults_test, replaces_no_file_where_a_rename_may) {
  const temp_dir dir;
  make_input("run.txt");
  write_text("run.txt.orig", "somebody's");
  const failing_call flag(c_call::renameat2, 0, EINVAL);
  EXPECT_STREQ(write_output(), nullptr);
  EXPECT_EQ(read_text("run.txt"), "report");
  EXPECT_EQ(read_text("run.txt.orig"), "somebody's");
  EXPECT_EQ(read_text("run.txt.orig.2"), samples);
}

// In the order in which a run empties its outputs. The map is emptied again before it is written.
const char *const messages_of_truncations[] = {
    "ERROR: failed to open file: run.kml\n",
    "ERROR: failed to open file: run.txt\n",
    "ERROR: failed to write file: run.kml\n",
    "ERROR: failed to open file: run.pdf\n",
};

[[noreturn]] void analyse_with_truncations(std::size_t granted) {
  run_config config;
  config.swoop_file = try_duplicate("run.csv");
  dup2(STDERR_FILENO, STDOUT_FILENO);
  const failing_call disk(c_call::ftruncate, granted, EIO);
  run_swoop_mode(config);
  std::exit(0);
}

TEST(file_faults_test, a_run_reports_the_output_that_cannot_be_emptied) {
  const temp_dir dir;
  write_text("run.csv", simulated_track(small_run()));
  write_text("matrix.txt", simulated_course(small_run()));
  for (std::size_t granted = 0; granted < std::size(messages_of_truncations); ++granted) {
    SCOPED_TRACE(granted);
    EXPECT_EXIT(analyse_with_truncations(granted), testing::ExitedWithCode(1), messages_of_truncations[granted]);
  }
}

struct layout_case {
  const char *name;
  const char *input;
  void (*make)();
};

const layout_case layout_cases[] = {
    {"one name", "run.txt", [] { make_input("run.txt"); }},
    {"the output is a link", "run.csv",
     [] {
       make_input("run.csv");
       ASSERT_EQ(symlink("run.csv", "run.txt"), 0);
     }},
    {"the output is a second name", "run.csv",
     [] {
       make_input("run.csv");
       ASSERT_EQ(link("run.csv", "run.txt"), 0);
     }},
    {"the input is a link", "run.txt",
     [] {
       write_text("run.txt", samples);
       ASSERT_EQ(symlink("run.txt", "run.csv"), 0);
       make_input("run.csv");
     }},
};

constexpr c_call calls[] = {c_call::stat,   c_call::lstat,    c_call::fstat,    c_call::fcntl,
                            c_call::fdopen, c_call::realpath, c_call::renameat2};

TEST(file_faults_test, keeps_the_input_whatever_fails) {
  for (const layout_case &c : layout_cases) {
    for (const c_call call : calls) {
      for (std::size_t granted = 0;; ++granted) {
        SCOPED_TRACE(testing::Message() << c.name << ", call " << static_cast<int>(call) << " after " << granted);
        const temp_dir dir;
        c.make();
        std::size_t refused = 0;
        error_slot error = nullptr;
        {
          const failing_call disk(call, granted, EIO);
          error = write_output();
          refused = disk.refused();
        }
        EXPECT_TRUE(is_whole(c.input));
        EXPECT_STREQ(error, refused == 0 ? nullptr : "failed to open file: run.txt");
        if (refused == 0) break;
      }
    }
  }
}

// The same on such a file system: the new name is tested by lstat and then given by rename.
TEST(file_faults_test, keeps_the_input_where_a_rename_may_replace) {
  for (const c_call call : {c_call::lstat, c_call::rename}) {
    for (std::size_t granted = 0;; ++granted) {
      SCOPED_TRACE(testing::Message() << "call " << static_cast<int>(call) << " after " << granted);
      const temp_dir dir;
      make_input("run.txt");
      std::size_t refused = 0;
      error_slot error = nullptr;
      {
        const failing_call flag(c_call::renameat2, 0, EINVAL);
        const failing_call disk(call, granted, EIO);
        error = write_output();
        refused = disk.refused();
      }
      EXPECT_TRUE(is_whole("run.txt"));
      EXPECT_STREQ(error, refused == 0 ? nullptr : "failed to open file: run.txt");
      if (refused == 0) break;
    }
  }
}

TEST(file_faults_test, names_the_input_that_it_cannot_open) {
  for (const c_call call : {c_call::fcntl, c_call::fdopen, c_call::fstat}) {
    SCOPED_TRACE(static_cast<int>(call));
    const temp_dir dir;
    write_text("run.csv", samples);
    error_slot error = nullptr;
    const failing_call disk(call, 0, EIO);
    EXPECT_EQ(open_input("run.csv", &error), nullptr);
    EXPECT_STREQ(error, "failed to open file: run.csv");
  }
}

TEST(file_faults_test, reports_an_input_whose_lookup_fails) {
  const temp_dir dir;
  write_text("run.csv", samples);
  const failing_call disk(c_call::stat, 0, EIO);
  error_slot error = nullptr;
  protect_input("run.csv", &error);
  EXPECT_STREQ(error, "failed to open file: run.csv");
}

// A name that does not exist is not an input.
TEST(file_faults_test, needs_no_protection_for_a_name_that_leads_nowhere) {
  for (const int words : {ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG}) {
    SCOPED_TRACE(words);
    const failing_call disk(c_call::stat, 0, words);
    error_slot error = nullptr;
    protect_input("run.csv", &error);
    EXPECT_STREQ(error, nullptr);
  }
}

TEST(file_faults_test, does_not_guess_whether_two_names_are_one_file) {
  const temp_dir dir;
  write_text("a.txt", "");
  write_text("b.txt", "");
  const char *const expected[] = {"failed to open file: a.txt", "failed to open file: b.txt", nullptr};
  for (std::size_t granted = 0; granted < 3; ++granted) {
    SCOPED_TRACE(granted);
    const failing_call disk(c_call::stat, granted, EIO);
    error_slot error = nullptr;
    EXPECT_FALSE(is_same_file("a.txt", "b.txt", &error));
    EXPECT_STREQ(error, expected[granted]);
  }
}

TEST(file_faults_test, reports_an_io_error_in_place_of_the_readers_message) {
  const temp_dir dir;
  write_text("run.csv", samples);
  const file_handle file(std::fopen("run.csv", "wb"));
  error_slot error = "not a swoop section";
  report_read_error(file.get(), "run.csv", &error);
  EXPECT_STREQ(error, "not a swoop section");
  // A stream that is open for writing alone fails to read.
  EXPECT_EQ(std::getc(file.get()), EOF);
  report_read_error(file.get(), "run.csv", &error);
  EXPECT_STREQ(error, "failed to read file: run.csv");
  error = nullptr;
  report_read_error(file.get(), "run.csv", &error);
  EXPECT_STREQ(error, "failed to read file: run.csv");
}

// A directory is replaced by /dev/null, whose opening may fail as well.
TEST(file_faults_test, names_the_folder_that_it_cannot_open) {
  const temp_dir dir;
  for (const c_call call : {c_call::fcntl, c_call::fdopen}) {
    for (const std::size_t granted : {0U, 1U, 2U}) {
      SCOPED_TRACE(testing::Message() << "call " << static_cast<int>(call) << " after " << granted);
      error_slot error = nullptr;
      const failing_call disk(call, granted, EIO);
      EXPECT_EQ(open_input(".", &error) == nullptr, granted < 2);
      EXPECT_STREQ(error, granted < 2 ? "failed to open file: ." : nullptr);
    }
  }
}

TEST(file_faults_test, reopens_only_regular_files) {
  const temp_dir dir;
  write_text("matrix.txt", "");
  EXPECT_NE(open_written_file("matrix.txt"), nullptr);
  EXPECT_EQ(open_written_file("/dev/zero"), nullptr);  // reading it would never end
  EXPECT_EQ(open_written_file("missing.txt"), nullptr);
}

TEST(file_faults_test, fails_when_there_is_no_memory_for_one_more_input) {
  const temp_dir dir;
  static std::vector<file_handle> held;
  // Enough files that the list has to grow, whatever the tests before have added to it.
  for (int i = 0; i < 150; ++i) {
    const std::string name = std::to_string(i) + ".csv";
    write_text(name, samples);
    error_slot error = nullptr;
    {
      const allocation_limit limit(0);
      EXPECT_EQ(open_input(name.c_str(), &error), nullptr);
    }
    EXPECT_STREQ(error, "strdup() failed");
    error = nullptr;
    held.push_back(open_input(name.c_str(), &error));
    EXPECT_STREQ(error, nullptr);
  }
}

TEST(file_faults_test, leaves_no_new_output_behind_that_cannot_be_written) {
  for (const c_call call : {c_call::fcntl, c_call::fdopen}) {
    const temp_dir dir;
    error_slot error = nullptr;
    const failing_call flag(call, 0, ENOMEM);
    EXPECT_EQ(open_new_output("run-1.csv", &error), nullptr);
    EXPECT_STREQ(error, "failed to open file: run-1.csv");
    EXPECT_FALSE(file_exists("run-1.csv"));
  }
}

}  // namespace
}  // namespace tarvel
