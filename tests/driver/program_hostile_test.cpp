// Files that cannot be read or written, full disks, and damaged tracks: the program prints a message and ends.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/program.h"
#include "support/simulator.h"

namespace tarvel {
namespace {

namespace fs = std::filesystem;

class program_hostile_test : public testing::Test {
 protected:
  program_hostile_test() {
    write_text("run.csv", simulated_track(small_run()));
    write_text("matrix.txt", simulated_course(small_run()));
  }

  const temp_dir folder_;
};

TEST_F(program_hostile_test, reports_that_standard_output_is_full) {
  for (const std::vector<std::string> &arguments :
       {std::vector<std::string>{"run.csv"}, {"-d", "run.csv"}, {"-v"}, {}, {"missing.csv"}, {"a.csv", "b.csv"}}) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    program_setting setting;
    setting.out_path = "/dev/full";
    const program_result result = run_program(arguments, setting);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "ERROR: failed to write file: standard output\n");
  }
  EXPECT_TRUE(file_exists("run.txt"));
}

struct blocked_case {
  const char *name;
  bool prints_report;                 // when a folder has the name
  bool prints_report_on_a_full_disk;  // which takes empty files
  const char *folder_message;         // when a folder has the name
};

const blocked_case blocked_cases[] = {
    {"run.kml", false, true, "ERROR: failed to open file: run.kml"},
    {"coord.txt", false, false, "ERROR: failed to open file: coord.txt"},
    {"run.tvl", false, false, "ERROR: failed to open file: run.tvl"},
    {"run.txt", true, true, "ERROR: failed to open file: run.txt"},
};

TEST_F(program_hostile_test, names_the_output_that_cannot_be_opened) {
  for (const blocked_case &c : blocked_cases) {
    SCOPED_TRACE(c.name);
    fs::remove_all(c.name);
    fs::create_directory(c.name);
    const program_result result = run_program({"-d", "run.csv"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(last_line(result.out), c.folder_message);
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), c.prints_report ? 19 : 1);
    fs::remove_all(c.name);
  }
}

TEST_F(program_hostile_test, names_the_output_on_a_full_disk) {
  for (const blocked_case &c : blocked_cases) {
    SCOPED_TRACE(c.name);
    fs::remove_all(c.name);
    fs::create_symlink("/dev/full", c.name);
    const program_result result = run_program({"-d", "run.csv"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(last_line(result.out), std::string("ERROR: failed to write file: ") + c.name);
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), c.prints_report_on_a_full_disk ? 19 : 1);
    fs::remove(c.name);
  }
}

TEST_F(program_hostile_test, names_the_track_that_cannot_be_read) {
  fs::create_directory("folder.csv");
  ASSERT_EQ(mkfifo("pipe.csv", 0600), 0);
  fs::create_symlink("loop.csv", "loop.csv");
  fs::create_symlink("nowhere", "dangling.csv");
  write_text("empty.csv", "");
  const std::vector<std::vector<std::string>> rows = {
      {"missing.csv", "ERROR: failed to open file: missing.csv"},
      {"run.csv/run.csv", "ERROR: failed to open file: run.csv/run.csv"},
      {"folder.csv", "ERROR: missing field names"},
      {"pipe.csv", "ERROR: failed to open file: pipe.csv"},
      {"loop.csv", "ERROR: failed to open file: loop.csv"},
      {"dangling.csv", "ERROR: failed to open file: dangling.csv"},
      {"empty.csv", "ERROR: missing field names"},
      {"/dev/null", "ERROR: filename does not have 3 character extension"},
  };
  for (const std::vector<std::string> &row : rows) {
    SCOPED_TRACE(row[0]);
    const program_result result = run_program({row[0]});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, row[1] + "\n");
    EXPECT_EQ(result.err, "");
  }
  EXPECT_FALSE(file_exists("missing.kml"));
  EXPECT_FALSE(file_exists("folder.kml"));
}

TEST_F(program_hostile_test, names_the_file_that_it_may_not_read) {
  fs::permissions("matrix.txt", fs::perms::none);
  if (access("matrix.txt", R_OK) == 0) GTEST_SKIP() << "this user may read everything";
  EXPECT_EQ(run_program({"run.csv"}).out, "ERROR: failed to open file: matrix.txt\n");
  fs::permissions("run.csv", fs::perms::none);
  EXPECT_EQ(run_program({"run.csv"}).out, "ERROR: failed to open file: run.csv\n");
}

TEST_F(program_hostile_test, does_not_wait_for_a_course_from_a_pipe) {
  fs::remove("matrix.txt");
  ASSERT_EQ(mkfifo("matrix.txt", 0600), 0);
  const program_result result = run_program({"run.csv"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "ERROR: failed to open file: matrix.txt\n");
}

// The example with another position in its first row of the turn.
std::string run_with_turn_through(const std::string &latitude, const std::string &longitude,
                                  const std::string &height) {
  std::string track = read_text(source_dir() + "/examples/straight.csv");
  const std::size_t row = track.find("2026-05-16T11:45:17.80Z,");
  const std::size_t begin = track.find(',', row) + 1;
  std::size_t end = begin;
  for (int field = 0; field < 3; ++field) end = track.find(',', end + 1);
  return track.replace(begin, end - begin, latitude + "," + longitude + "," + height);
}

TEST_F(program_hostile_test, draws_a_run_of_which_one_sample_is_as_far_out_as_numbers_go) {
  copy_example("matrix.txt");
  program_setting setting;
  setting.prepare = [] {
    const rlimit seconds = {10, 10};
    setrlimit(RLIMIT_CPU, &seconds);
  };
  for (const char *const height : {"1e299", "7e305", "1e306", "-2e307", "1.7e308"}) {
    SCOPED_TRACE(height);
    write_text("run.csv", run_with_turn_through("20", "60", height));
    const program_result result = run_program({"run.csv"}, setting);
    EXPECT_EQ(result.status, 0) << result.out;
    EXPECT_EQ(read_text("run.pdf").substr(0, 5), "%PDF-");
  }
}

void expect_answer(const program_result &result) {
  EXPECT_TRUE(result.status == 0 || result.status == 1) << result.status << "\n" << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(last_line(result.out).rfind("ERROR: ", 0) == 0, result.status == 1) << result.out;
}

// hostile_track_test tries every cut and every bit; here the whole program reads some of them.
TEST_F(program_hostile_test, answers_a_sample_of_damaged_tracks) {
  const std::string track = read_text("run.csv");
  for (std::size_t i = 0; i < 40; ++i) {
    const std::size_t cut = i * track.size() / 40;
    SCOPED_TRACE(cut);
    write_text("cut.csv", std::string_view(track).substr(0, cut));
    expect_answer(run_program({"-d", "cut.csv"}));
  }
  for (std::size_t i = 0; i < 60; ++i) {
    const std::size_t bit = i * (8 * track.size() / 60) + i;
    SCOPED_TRACE(bit);
    std::string damaged = track;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
    write_text("bit.csv", damaged);
    expect_answer(run_program({"-d", i % 2 == 0 ? "-i" : "-m", "bit.csv"}));
  }
}

}  // namespace
}  // namespace tarvel
