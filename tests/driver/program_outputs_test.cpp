// The files that a call reads and writes; no output may destroy an input.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/files.h"
#include "support/program.h"
#include "support/simulator.h"

namespace tarvel {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> files_in(const std::string &folder) {
  std::vector<std::string> names;
  for (const fs::directory_entry &entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

std::size_t occurrences(const std::string &text, const std::string &words) {
  std::size_t count = 0;
  for (std::size_t at = text.find(words); at != std::string::npos; at = text.find(words, at + 1)) ++count;
  return count;
}

using names = std::vector<std::string>;

struct outputs_case {
  const char *track;
  std::vector<std::string> options;
  names files;  // afterwards, sorted
};

// The track is small_run() under the given name; matrix.txt is its course.
const outputs_case outputs_cases[] = {
    {"run.csv", {}, {"matrix.txt", "run.csv", "run.kml", "run.pdf", "run.txt"}},
    {"run.csv", {"-m"}, {"matrix.txt", "run.csv", "run.kml", "run.pdf", "run.txt"}},
    {"run.csv", {"-p"}, {"matrix.txt", "run.csv", "run.kml", "run.pdf", "run.txt"}},
    {"run.csv", {"-d"}, {"coord.txt", "matrix.txt", "run.csv", "run.kml", "run.pdf", "run.tvl", "run.txt"}},
    {"RUN.CSV", {}, {"RUN.CSV", "RUN.kml", "RUN.pdf", "RUN.txt", "matrix.txt"}},
    {"a.csv", {}, {"a.csv", "a.kml", "a.pdf", "a.txt", "matrix.txt"}},
    {"a.b.csv", {}, {"a.b.csv", "a.b.kml", "a.b.pdf", "a.b.txt", "matrix.txt"}},
    {"run.tvl", {}, {"matrix.txt", "run.kml", "run.pdf", "run.tvl", "run.txt"}},
    {"run.txt", {}, {"matrix.txt", "run.kml", "run.pdf", "run.txt", "run.txt.orig"}},
    {"run.kml", {}, {"matrix.txt", "run.kml", "run.kml.orig", "run.pdf", "run.txt"}},
    {"run.tvl", {"-d"}, {"coord.txt", "matrix.txt", "run.kml", "run.pdf", "run.tvl", "run.tvl.orig", "run.txt"}},
    {"run.pdf", {}, {"matrix.txt", "run.kml", "run.pdf", "run.pdf.orig", "run.txt"}},
    {"coord.txt", {"-d"}, {"coord.kml", "coord.pdf", "coord.tvl", "coord.txt", "coord.txt.orig", "matrix.txt"}},
    // The course under the name that the report gets.
    {"matrix.csv", {}, {"matrix.csv", "matrix.kml", "matrix.pdf", "matrix.txt", "matrix.txt.orig"}},
};

TEST(program_outputs_test, writes_its_files_and_keeps_every_input) {
  const std::string track = simulated_track(small_run());
  const std::string course = simulated_course(small_run());
  for (const outputs_case &c : outputs_cases) {
    SCOPED_TRACE(testing::PrintToString(c.options) + " " + c.track);
    const temp_dir folder;
    write_text(c.track, track);
    write_text("matrix.txt", course);
    std::vector<std::string> arguments = c.options;
    arguments.push_back(c.track);
    const program_result result = run_program(arguments);
    EXPECT_EQ(result.status, 0) << result.out;
    const names files = files_in(folder.path());
    EXPECT_EQ(files, c.files);

    std::size_t tracks = 0;
    std::size_t courses = 0;
    for (const std::string &name : files) {
      tracks += read_text(name) == track ? 1U : 0U;
      courses += read_text(name) == course ? 1U : 0U;
    }
    EXPECT_EQ(tracks, 1U);
    EXPECT_EQ(courses, 1U);
    const std::string stem = std::string(c.track).substr(0, std::string(c.track).size() - 3);
    EXPECT_EQ(read_text(stem + "txt"), result.out.substr(1));
    EXPECT_NE(read_text(stem + "kml").find("<name>entry gate</name>"), std::string::npos);
  }
}

TEST(program_outputs_test, numbers_the_kept_inputs) {
  const temp_dir folder;
  const std::string track = simulated_track(small_run());
  write_text("run.txt", track);
  write_text("run.txt.orig", "first");
  write_text("run.txt.orig.2", "second");
  write_text("matrix.txt", simulated_course(small_run()));
  EXPECT_EQ(run_program({"run.txt"}).status, 0);
  EXPECT_EQ(read_text("run.txt.orig"), "first");
  EXPECT_EQ(read_text("run.txt.orig.2"), "second");
  EXPECT_EQ(read_text("run.txt.orig.3"), track);
}

TEST(program_outputs_test, keeps_a_track_of_two_names) {
  const temp_dir folder;
  const std::string track = simulated_track(small_run());
  write_text("run.csv", track);
  fs::create_hard_link("run.csv", "run.txt");
  write_text("matrix.txt", simulated_course(small_run()));
  const program_result result = run_program({"run.csv"});
  EXPECT_EQ(result.status, 0) << result.out;
  EXPECT_EQ(read_text("run.txt"), result.out.substr(1));
  bool is_kept = false;
  for (const std::string &name : files_in(folder.path())) is_kept = is_kept || read_text(name) == track;
  EXPECT_TRUE(is_kept);
}

// The course file that an index names is an input, too.
TEST(program_outputs_test, keeps_the_course_file_of_an_index) {
  const temp_dir folder;
  const std::string course = simulated_course(small_run());
  write_text("run.csv", simulated_track(small_run()));
  write_text("matrix.txt", "* - run.txt\n");
  write_text("run.txt", course);
  const program_result result = run_program({"run.csv"});
  EXPECT_EQ(result.status, 0) << result.out;
  EXPECT_EQ(read_text("run.txt.orig"), course);
  EXPECT_EQ(read_text("run.txt"), result.out.substr(1));
}

TEST(program_outputs_test, keeps_a_course_that_has_the_name_of_the_map) {
  const std::string course = simulated_course(small_run());
  const temp_dir folder;
  write_text("run.csv", simulated_track(small_run()));
  write_text("matrix.txt", course);
  const program_result usual = run_program({"run.csv"});
  ASSERT_EQ(usual.status, 0);
  const std::string map = read_text("run.kml");

  write_text("run.kml", course);
  write_text("matrix.txt", "* - run.kml\n");
  const program_result indexed = run_program({"run.csv"});
  EXPECT_EQ(indexed.status, 0);
  EXPECT_EQ(indexed.out, usual.out);
  EXPECT_EQ(read_text("run.kml.orig"), course);
  EXPECT_EQ(read_text("run.kml"), map);

  fs::remove("run.kml");
  fs::remove("matrix.txt");
  write_text("matrix.txt", course);
  fs::create_hard_link("matrix.txt", "run.kml");
  EXPECT_EQ(run_program({"run.csv"}).out, usual.out);
  EXPECT_EQ(read_text("matrix.txt.orig"), course);
  EXPECT_EQ(read_text("run.kml"), map);
}

TEST(program_outputs_test, speaks_of_the_map_before_the_course) {
  const temp_dir folder;
  write_text("run.csv", simulated_track(small_run()));
  write_text("matrix.txt", "no course\n");
  EXPECT_EQ(run_program({"run.csv"}).out, "ERROR: invalid line in matrix.txt\n");
  EXPECT_TRUE(file_exists("run.kml"));
  fs::remove("run.kml");
  fs::create_directory("run.kml");
  EXPECT_EQ(run_program({"run.csv"}).out, "ERROR: failed to open file: run.kml\n");
}

TEST(program_outputs_test, writes_beside_the_track_and_dumps_into_the_working_folder) {
  const temp_dir folder;
  fs::create_directory("runs");
  write_text("runs/one.csv", simulated_track(small_run()));
  write_text("matrix.txt", simulated_course(small_run()));
  EXPECT_EQ(run_program({"-d", "runs/one.csv"}).status, 0);
  EXPECT_EQ(files_in("runs"), (names{"one.csv", "one.kml", "one.pdf", "one.tvl", "one.txt"}));
  EXPECT_EQ(files_in("."), (names{"coord.txt", "matrix.txt", "runs"}));
}

TEST(program_outputs_test, leaves_a_map_of_the_raw_track_when_the_analysis_fails) {
  const temp_dir folder;
  write_text("run.csv", simulated_track(small_run()));
  const program_result result = run_program({"run.csv"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "ERROR: failed to open file: matrix.txt\n");
  EXPECT_EQ(files_in("."), (names{"run.csv", "run.kml"}));
  const std::string map = read_text("run.kml");
  EXPECT_EQ(occurrences(map, "<Placemark>"), 1U);
  EXPECT_NE(map.find("<name>May16 10:00</name>"), std::string::npos);
  // Latitudes of 48 degrees and heights of three decimals: one line of longitude, latitude and height per sample.
  EXPECT_EQ(occurrences(map, ",48."), occurrences(read_text("run.csv"), ",48."));
}

TEST(program_outputs_test, leaves_an_empty_map_of_a_container_without_samples) {
  const temp_dir folder;
  write_text("run.tvl", read_text(source_dir() + "/tests/fuzz/seeds/container/swoop_none.tvl"));
  const program_result result = run_program({"-i", "run.tvl"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "ERROR: no points found in track\n");
  const std::string map = read_text("run.kml");
  EXPECT_NE(map.find("<name>Jan01 00:00</name>"), std::string::npos);
  EXPECT_NE(map.find("<coordinates>\n        </coordinates>"), std::string::npos);
  EXPECT_FALSE(file_exists("run.txt"));
}

TEST(program_outputs_test, ends_the_map_of_the_run_before_the_stop) {
  const temp_dir folder;
  write_text("run.csv", simulated_track(small_run()));
  write_text("matrix.txt", simulated_course(small_run()));
  ASSERT_EQ(run_program({"run.csv"}).status, 0);
  const std::string map = read_text("run.kml");
  EXPECT_EQ(occurrences(map, "<Placemark>"), 2U);
  EXPECT_EQ(occurrences(map, "<LineString>"), 2U);
  EXPECT_EQ(occurrences(map, "<name>entry gate</name>"), 1U);
  // The pilot stops at 47 s, the 48th sample, and its position ends the raw track as well.
  const std::string track = read_text("run.csv");
  const std::size_t row = track.find("T10:00:47.000Z,") + 15;
  const std::string latitude = track.substr(row, track.find(',', row) - row);
  EXPECT_EQ(map.find("," + latitude + ","), std::string::npos) << latitude;
}

// Another output may have been written into the map's file after it was opened.
TEST(program_outputs_test, leaves_the_map_alone_in_a_file_that_the_report_leads_to) {
  const temp_dir folder;
  write_text("run.csv", simulated_track(small_run()));
  write_text("matrix.txt", simulated_course(small_run()));
  const program_result usual = run_program({"-d", "run.csv"});
  ASSERT_EQ(usual.status, 0);
  const std::string map = read_text("run.kml");
  for (const char *const name : {"run.txt", "coord.txt", "run.tvl"}) {
    SCOPED_TRACE(name);
    fs::remove(name);
    fs::create_symlink("run.kml", name);
    EXPECT_EQ(run_program({"-d", "run.csv"}).out, usual.out);
    EXPECT_EQ(read_text("run.kml"), map);
    fs::remove(name);
  }
}

// The reader of a pipe stops when the pipe is closed, so the map must not be opened twice.
TEST(program_outputs_test, writes_the_map_into_a_pipe) {
  const temp_dir folder;
  write_text("run.csv", simulated_track(small_run()));
  write_text("matrix.txt", simulated_course(small_run()));
  ASSERT_EQ(run_program({"run.csv"}).status, 0);
  const std::string map = read_text("run.kml");
  fs::remove("run.kml");
  ASSERT_EQ(mkfifo("run.kml", 0600), 0);
  const int reader = open("run.kml", O_RDONLY | O_NONBLOCK);
  ASSERT_EQ(fcntl(reader, F_SETFL, 0), 0);
  std::string got;
  std::thread viewer([&] {
    pollfd opened = {reader, POLLIN, 0};
    poll(&opened, 1, -1);
    char bytes[4096];
    for (ssize_t count = read(reader, bytes, sizeof bytes); count > 0; count = read(reader, bytes, sizeof bytes)) {
      got.append(bytes, static_cast<std::size_t>(count));
    }
    close(reader);
  });
  EXPECT_EQ(run_program({"run.csv"}).status, 0);
  viewer.join();
  EXPECT_EQ(got, map);
}

TEST(program_outputs_test, names_the_first_of_two_outputs_that_fail) {
  const temp_dir folder;
  write_text("run.csv", simulated_track(small_run()));
  write_text("matrix.txt", simulated_course(small_run()));
  fs::create_symlink("/dev/full", "run.kml");
  EXPECT_EQ(last_line(run_program({"-d", "run.csv"}).out), "ERROR: failed to write file: run.kml");
  fs::remove("coord.txt");
  fs::create_symlink("/dev/full", "coord.txt");
  EXPECT_EQ(last_line(run_program({"-d", "run.csv"}).out), "ERROR: failed to write file: coord.txt");
}

struct course_case {
  const char *name;
  const char *matrix_text;  // null for none; "COURSE" stands for the run's course
  std::vector<std::string> options;
  const char *track;
  const char *error;  // null for success
};

const course_case course_cases[] = {
    {"none, and none wanted", nullptr, {"-i"}, "run.csv", nullptr},
    {"a broken one that is not wanted", "what is this\n", {"-i"}, "run.csv", nullptr},
    {"a broken one", "what is this\n", {}, "run.csv", "ERROR: invalid line in matrix.txt"},
    {"an empty one", "", {}, "run.csv", "ERROR: failed to parse matrix.txt"},
    {"no gate for any run", "* - nogate\n", {}, "run.csv", nullptr},
    {"no gate for this run", "2run - nogate\n", {}, "2run.csv", nullptr},
    {"no gate for another run", "1run - nogate\n", {}, "2run.csv", "ERROR: failed to parse matrix.txt"},
    {"another course", "* - other.txt\n", {}, "run.csv", nullptr},
    {"another course in quotes", "* - \"other.txt\"\n", {}, "run.csv", nullptr},
    {"another course that is not there", "* - missing.txt\n", {}, "run.csv", "ERROR: failed to open file: missing.txt"},
    {"itself without end", "* - matrix.txt\n", {}, "run.csv", "ERROR: failed to open file: matrix.txt"},
    {"an all-zero course far from everything",
     "[0, 0, 0, 9000]\n[0, 0, 0, 0]\n[0, 0, 0, 0]\n[0, 0, 0, 1]\n",
     {},
     "run.csv",
     "ERROR: invalid gate location (5.7 miles between gate and swoop)"},  // 9000 * 3.2808399 / 5180 = 5.70
};

TEST(program_outputs_test, finds_its_course) {
  for (const course_case &c : course_cases) {
    SCOPED_TRACE(c.name);
    const temp_dir folder;
    simulated_run run = small_run();
    run.exit_height = 1000.0;  // for -i the flight must be 1,500 ft above the landing
    write_text(c.track, simulated_track(run));
    write_text("other.txt", simulated_course(run));
    if (c.matrix_text) write_text("matrix.txt", c.matrix_text);
    std::vector<std::string> arguments = c.options;
    arguments.push_back(c.track);
    const program_result result = run_program(arguments);
    EXPECT_EQ(result.status, c.error ? 1 : 0) << result.out;
    if (c.error) {
      EXPECT_EQ(result.out, std::string(c.error) + "\n");
    } else {
      EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 18);
    }
  }
}

// The matrix of a new record equals such a course, so that nothing is analysed.
TEST(program_outputs_test, reports_an_unanalysed_run_over_a_course_of_zeros) {
  const temp_dir folder;
  write_text("run.csv", simulated_track(small_run()));
  write_text("matrix.txt", "[0, 0, 0, 0]\n[0, 0, 0, 0]\n[0, 0, 0, 0]\n[0, 0, 0, 0]\n");
  const program_result result = run_program({"-d", "run.csv"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.out.find("exited airplane:     ----- ft AGL\ninitiated turn:          0 ft AGL"), std::string::npos);
  EXPECT_FALSE(file_exists("coord.txt"));
  // Neither exit nor rollout nor touchdown: the copy is the whole track, 50 bytes and 70 for each of its 49 samples.
  EXPECT_EQ(read_text("run.tvl").size(), 50U + 70U * 49U);
}

// Set to use huge pages, the C library does not get them, sets errno and uses others.
TEST(program_outputs_test, draws_charts_with_memory_of_huge_pages) {
  const temp_dir folder;
  copy_example("straight.csv");
  copy_example("matrix.txt");
  program_setting setting;
  setting.prepare = [] { setenv("GLIBC_TUNABLES", "glibc.malloc.hugetlb=2", 1); };
  const program_result result = run_program({"straight.csv"}, setting);
  EXPECT_EQ(result.status, 0) << last_line(result.out);
  EXPECT_EQ(read_text("straight.pdf").substr(0, 5), "%PDF-");
}

TEST(program_outputs_test, draws_the_charts_in_the_units_of_the_report) {
  const temp_dir folder;
  copy_example("straight.csv");
  copy_example("matrix.txt");
  for (const bool metric : {false, true}) {
    SCOPED_TRACE(metric);
    EXPECT_EQ(run_program(metric ? names{"-m", "straight.csv"} : names{"straight.csv"}).status, 0);
    ASSERT_EQ(std::system("pdftotext straight.pdf words"), 0);
    const std::string words = read_text("words");
    EXPECT_EQ(words.find("(meters)") != std::string::npos, metric);
    EXPECT_EQ(words.find("(feet)") != std::string::npos, !metric);
  }
}

TEST(program_outputs_test, warns_of_unknown_columns_before_the_report) {
  const temp_dir folder;
  std::string track = simulated_track(small_run());
  track.replace(track.find("sAcc,numSV"), 10, "sAcc,foo,numSV");
  write_text("run.csv", track);
  write_text("matrix.txt", simulated_course(small_run()));
  const program_result result = run_program({"run.csv"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "WARNING: unknown field (foo)\n\n" + read_text("run.txt"));
}

}  // namespace
}  // namespace tarvel
