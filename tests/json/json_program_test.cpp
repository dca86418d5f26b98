// Whole runs of tarvel-json over the examples.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/files.h"
#include "support/golden.h"
#include "support/program.h"
#include "support/simulator.h"

namespace tarvel {
namespace {

// Without the lines of the samples and of the overview, which are half of a document.
std::string without_columns(const std::string &document) {
  std::string kept;
  for (std::size_t start = 0; start < document.size();) {
    const std::size_t end = document.find('\n', start) + 1;
    const std::string line = document.substr(start, end - start);
    if (!line.starts_with("\"samples\":") && !line.starts_with("\"overview\":")) kept += line;
    start = end;
  }
  return kept;
}

// In every time zone the clock times are those in the track.
TEST(json_program_golden_test, writes_an_example) {
  const temp_dir folder;
  copy_example("carve.csv");
  copy_example("matrix.txt");
  for (const char *const zone : {"UTC", "EST5EDT,M3.2.0,M11.1.0", "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0"}) {
    SCOPED_TRACE(zone);
    program_setting setting;
    setting.time_zone = zone;
    const program_result result = run_program({"carve.csv"}, setting);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    expect_golden("json/carve.json", without_columns(result.out));
  }
}

TEST(json_program_golden_test, writes_a_small_run_in_metres) {
  const temp_dir folder;
  write_text("small.csv", simulated_track(small_run()));
  write_text("matrix.txt", simulated_course(small_run()));
  const program_result result = run_program({"-m", "small.csv"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  expect_golden("json/small_metric.json", result.out);
}

TEST(json_program_golden_test, writes_a_track_that_is_no_run) {
  const temp_dir folder;
  write_text("one.csv",
             "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV,colour\n,\n"
             "2026-05-16T13:05:31.25Z,50.5,-4.25,100,1,2,3,0.5,0.25,0.125,12,red\n");
  const program_result result = run_program({"-i", "one.csv"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "tarvel-json: could not detect flight\n");
  expect_golden("json/no_run.json", result.out);
}

struct stream_case {
  const char *name;
  std::vector<std::string> arguments;
  int stream;  // that goes to the track
  const char *message;
};

const stream_case stream_cases[] = {
    {"standard output goes to the track",
     {"carve.csv"},
     STDOUT_FILENO,
     "tarvel-json: failed to open file: carve.csv\n"},
    {"to the one on standard input", {"-"}, STDOUT_FILENO, "tarvel-json: failed to open file: -\n"},
    {"standard error goes to a track whose run fails", {"carve.csv"}, STDERR_FILENO, ""},
};

// Nothing is appended to a track.
TEST(json_program_test, does_not_write_to_its_track) {
  const temp_dir folder;
  copy_example("carve.csv");  // without a course file
  const std::string track = read_text("carve.csv");
  for (const stream_case &c : stream_cases) {
    SCOPED_TRACE(c.name);
    program_setting setting;
    setting.prepare = [&] {
      dup2(open("carve.csv", O_RDONLY), STDIN_FILENO);
      dup2(open("carve.csv", O_WRONLY | O_APPEND), c.stream);
    };
    const program_result result = run_program(c.arguments, setting);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err.substr(0, result.err.find('{')), c.message);  // then the document of a run that failed
    EXPECT_EQ(read_text("carve.csv"), track);
  }
}

}  // namespace
}  // namespace tarvel
