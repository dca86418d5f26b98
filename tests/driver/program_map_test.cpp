// The map of a run is created before the analysis and written once: that of the run after success, otherwise that of
// the whole track.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "driver/track_files.h"
#include "formats/kml.h"
#include "support/files.h"
#include "support/program.h"
#include "support/simulator.h"

namespace tarvel {
namespace {

namespace fs = std::filesystem;

// Written by the library over all samples, not by the program.
std::string map_of_whole_track(const char *path) {
  gps_track track;
  error_slot error = nullptr;
  load_swoop_track(path, track, &error);
  EXPECT_STREQ(error, nullptr);
  return bytes_written_by([&](std::FILE *stream) {
    write_kml(stream, track.points[0].time, std::span(track.points.get(), track.count), nullptr);
  });
}

std::string map_of_run() { return read_text(source_dir() + "/tests/golden/driver/small.kml"); }

class program_map_test : public testing::Test {
 protected:
  program_map_test() {
    write_text("run.csv", simulated_track(small_run()));
    write_text("matrix.txt", simulated_course(small_run()));
    whole_track_ = map_of_whole_track("run.csv");
  }

  const temp_dir folder_;
  std::string whole_track_;
};

void replace_by_full_disk(const char *name) {
  fs::remove(name);
  fs::create_symlink("/dev/full", name);
}

void write_long_chain() {
  write_text("matrix.txt", "* - 1.txt\n");
  for (int i = 1; i < 65; ++i) write_text(std::to_string(i) + ".txt", "* - " + std::to_string(i + 1) + ".txt\n");
  write_text("65.txt", simulated_course(small_run()));
}

struct failing_case {
  const char *name;
  void (*prepare)();
  std::vector<std::string> options;
  const char *message;
};

const failing_case failing_cases[] = {
    {"no course", [] { fs::remove("matrix.txt"); }, {}, "ERROR: failed to open file: matrix.txt"},
    {"a course that is none", [] { write_text("matrix.txt", "words\n"); }, {}, "ERROR: invalid line in matrix.txt"},
    {"a course on a disk that fails",
     [] {
       fs::remove("matrix.txt");
       fs::create_symlink("/proc/self/mem", "matrix.txt");
     },
     {},
     "ERROR: failed to read file: matrix.txt"},
    {"a course that cannot be opened",
     [] {
       fs::remove("matrix.txt");
       ASSERT_EQ(mkfifo("matrix.txt", 0600), 0);
     },
     {},
     "ERROR: failed to open file: matrix.txt"},
    {"a chain of 65 further course files", write_long_chain, {}, "ERROR: failed to open file: 65.txt"},
    {"a course far away",
     [] { write_text("matrix.txt", "[0, 0, 0, 9000]\n[0, 0, 0, 0]\n[0, 0, 0, 0]\n[0, 0, 0, 1]\n"); },
     {},
     "ERROR: invalid gate location (5.7 miles between gate and swoop)"},
    {"no room for the coordinates",
     [] { replace_by_full_disk("coord.txt"); },
     {"-d"},
     "ERROR: failed to write file: coord.txt"},
    {"no place for the coordinates",
     [] { fs::create_directory("coord.txt"); },
     {"-d"},
     "ERROR: failed to open file: coord.txt"},
    {"no room for the copy", [] { replace_by_full_disk("run.tvl"); }, {"-d"}, "ERROR: failed to write file: run.tvl"},
    {"no place for the copy", [] { fs::create_directory("run.tvl"); }, {"-d"}, "ERROR: failed to open file: run.tvl"},
    {"no room for the report", [] { replace_by_full_disk("run.txt"); }, {}, "ERROR: failed to write file: run.txt"},
    {"no place for the report", [] { fs::create_directory("run.txt"); }, {}, "ERROR: failed to open file: run.txt"},
};

TEST_F(program_map_test, shows_the_whole_track_whatever_has_failed_behind_its_reading) {
  const std::string course = read_text("matrix.txt");
  for (const failing_case &c : failing_cases) {
    SCOPED_TRACE(c.name);
    c.prepare();
    write_text("run.kml", "an earlier map");
    std::vector<std::string> arguments = c.options;
    arguments.emplace_back("run.csv");
    const program_result result = run_program(arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(last_line(result.out), c.message);
    EXPECT_EQ(read_text("run.kml"), whole_track_);
    for (const char *const name : {"matrix.txt", "coord.txt", "run.tvl", "run.txt"}) fs::remove_all(name);
    write_text("matrix.txt", course);
  }
}

TEST_F(program_map_test, shows_the_run_when_only_its_charts_have_failed) {
  fs::create_directory("run.pdf");
  const program_result result = run_program({"run.csv"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(last_line(result.out), "ERROR: failed to open file: run.pdf");
  EXPECT_EQ(read_text("run.kml"), map_of_run());
}

TEST_F(program_map_test, is_not_there_without_a_track) {
  write_text("run.csv", "no track\n");
  EXPECT_EQ(run_program({"run.csv"}).status, 1);
  EXPECT_FALSE(file_exists("run.kml"));
}

// Reported before the analysis, so that no other file is replaced.
TEST_F(program_map_test, is_reported_before_the_analysis_when_it_cannot_be_created) {
  write_text("run.txt", "an earlier report");
  fs::create_directory("run.kml");
  EXPECT_EQ(run_program({"-d", "run.csv"}).out, "ERROR: failed to open file: run.kml\n");
  EXPECT_EQ(read_text("run.txt"), "an earlier report");
  for (const char *const name : {"coord.txt", "run.tvl", "run.pdf"}) EXPECT_FALSE(file_exists(name)) << name;
}

// An empty file can be created on a full disk. The message about the incomplete map takes precedence over that about
// the course.
TEST_F(program_map_test, is_reported_when_it_cannot_be_written) {
  replace_by_full_disk("run.kml");
  const program_result result = run_program({"run.csv"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "\n" + read_text("run.txt") + "ERROR: failed to write file: run.kml\n");
  EXPECT_FALSE(file_exists("run.pdf"));
  fs::remove("matrix.txt");
  EXPECT_EQ(run_program({"run.csv"}).out, "ERROR: failed to write file: run.kml\n");
}

TEST_F(program_map_test, sets_an_input_aside_once) {
  const std::string course = read_text("matrix.txt");
  for (const bool is_failing : {false, true}) {
    SCOPED_TRACE(is_failing);
    const temp_dir folder;
    const std::string track = simulated_track(small_run());
    write_text("run.kml", track);
    if (!is_failing) write_text("matrix.txt", course);
    EXPECT_EQ(run_program({"run.kml"}).status, is_failing ? 1 : 0);
    EXPECT_EQ(read_text("run.kml.orig"), track);
    EXPECT_FALSE(file_exists("run.kml.orig.2"));
    if (is_failing) {
      EXPECT_EQ(read_text("run.kml"), whole_track_);
    } else {
      EXPECT_EQ(read_text("run.kml"), map_of_run());
    }
  }
}

TEST_F(program_map_test, sets_a_course_aside_that_its_index_leads_to) {
  const std::string course = read_text("matrix.txt") + "words\n";
  write_text("run.kml", course);
  write_text("matrix.txt", "* - run.kml\n");
  EXPECT_EQ(run_program({"run.csv"}).out, "ERROR: invalid line in run.kml\n");
  EXPECT_EQ(read_text("run.kml.orig"), course);
  EXPECT_EQ(read_text("run.kml"), whole_track_);
}

// A pipe that holds one page of bytes.
class narrow_pipe {
 public:
  narrow_pipe() {
    EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0);
    fcntl(ends_[1], F_SETPIPE_SZ, 4096);
  }
  ~narrow_pipe() {
    close(ends_[0]);
    close(ends_[1]);
  }
  narrow_pipe(const narrow_pipe &) = delete;
  narrow_pipe &operator=(const narrow_pipe &) = delete;

  [[nodiscard]] int reader() const { return ends_[0]; }
  [[nodiscard]] int writer() const { return ends_[1]; }

  void fill() const {
    fcntl(ends_[1], F_SETFL, O_NONBLOCK);
    const char byte = 'x';
    while (write(ends_[1], &byte, 1) == 1) {
    }
    fcntl(ends_[1], F_SETFL, 0);
  }

 private:
  int ends_[2] = {-1, -1};
};

// Runs the program and kills it as soon as the condition holds.
void kill_when(const std::vector<std::string> &arguments, const std::function<void()> &prepare,
               const std::function<bool()> &is_reached) {
  const narrow_pipe own_number;
  program_setting setting;
  setting.prepare = [&] {
    const pid_t number = getpid();
    static_cast<void>(write(own_number.writer(), &number, sizeof number) == sizeof number);
    prepare();
  };
  bool was_reached = false;
  std::thread killer([&] {
    pid_t number = 0;
    if (read(own_number.reader(), &number, sizeof number) != sizeof number) return;
    for (int ms = 0; ms < 30000 && !was_reached; ++ms) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      was_reached = is_reached();
    }
    kill(number, SIGKILL);
  });
  EXPECT_EQ(run_program(arguments, setting).status, 128 + SIGKILL);
  killer.join();
  EXPECT_TRUE(was_reached);
}

// The report is not read, and the program waits in the middle of printing it.
TEST_F(program_map_test, is_empty_until_the_report_is_out) {
  const narrow_pipe out;
  out.fill();
  write_text("run.kml", "an earlier map");
  kill_when(
      {"-d", "run.csv"}, [&] { dup2(out.writer(), STDOUT_FILENO); },
      [] { return file_exists("run.tvl") && fs::file_size("run.tvl") > 50; });
  EXPECT_EQ(read_text("run.kml"), "");
}

// The charts are not read.
TEST_F(program_map_test, is_whole_once_the_charts_are_drawn) {
  ASSERT_EQ(mkfifo("run.pdf", 0600), 0);
  const int charts = open("run.pdf", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(charts, 0);
  fcntl(charts, F_SETPIPE_SZ, 4096);
  kill_when(
      {"run.csv"}, [] {},
      [charts] {
        int bytes = 0;
        return ioctl(charts, FIONREAD, &bytes) == 0 && bytes > 0;
      });
  close(charts);
  EXPECT_EQ(read_text("run.kml"), map_of_run());
}

}  // namespace
}  // namespace tarvel
