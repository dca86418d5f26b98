// Whole runs of tarvel-json over the examples.
#include <gtest/gtest.h>

#include <string>

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

}  // namespace
}  // namespace tarvel
