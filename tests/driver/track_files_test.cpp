#include "driver/track_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "driver/protected_inputs.h"
#include "formats/coord_dump.h"
#include "support/container_bytes.h"
#include "support/failing_calls.h"
#include "support/files.h"
#include "support/hand_made_walk.h"
#include "support/pond_of.h"
#include "support/refusals.h"

namespace tarvel {
namespace {

const std::string names = "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV";
const std::string row_1 = "1970-01-01T00:00:01Z,50.5,-4.25,100,1,2,3,0.5,0.25,0.125,12";
const std::string row_2 = "1970-01-01T00:00:02Z,50.75,-4.25,90,1,2,3,0.5,0.25,0.125,13";
const std::string header_lines = names + "\n,(deg)\n" + row_1 + "\n" + row_2 + "\n";
const std::string tagged_lines = "$COL,GNSS," + names + "\n$GNSS," + row_2 + "\n";

std::string run_container() {
  std::vector<gps_point> samples(3);
  samples[1].time = 7;
  return swoop_bytes(samples);
}

course finished_course() {
  course finished = course_with(0.5, {{1.0, 2.0, 0.0}});
  finished.matrix.m[1][2] = 3.0;
  return finished;
}

std::string course_container() { return gate_bytes(finished_course()); }

// Inputs are remembered for the whole process by their inode. An open file keeps its number from being given to a file
// of a later test.
void keep_open(const char *path) {
  static std::vector<file_handle> held;
  held.emplace_back(std::fopen(path, "rb"));
}

void write_input(const char *path, const std::string &bytes) {
  std::remove(path);
  write_text(path, bytes);
  keep_open(path);
}

// A track of one sample at 42 ms, also under a limit for memory, since aligned_alloc is never refused.
gps_track track_of_before() {
  gps_track track;
  track.points.reset(static_cast<gps_point *>(std::aligned_alloc(alignof(gps_point), sizeof(gps_point))));
  track.points[0] = gps_point();
  track.points[0].time = 42;
  track.count = track.capacity = 1;
  return track;
}

void expect_track_of_before(const gps_track &track, error_slot error) {
  if (error == nullptr) return;
  ASSERT_EQ(track.count, 1U);
  EXPECT_EQ(track.points[0].time, 42);
}

void expect_no_track(const gps_track &track, error_slot error) {
  EXPECT_EQ(track.points == nullptr, error != nullptr);
  EXPECT_EQ(track.count == 0, error != nullptr);
}

// A function that reads, and a file that it accepts. Each checks the state of its target after a failure.
struct reading {
  const char *name;
  void (*read)(const char *path, error_slot *error);
  std::string bytes;
  error_slot message_for_a_folder;
};

void read_header_lines(const char *path, error_slot *error) {
  gps_track track = track_of_before();
  read_track_header_csv(path, track, error);
  expect_no_track(track, *error);
}

void read_tagged_lines(const char *path, error_slot *error) {
  gps_track track = track_of_before();
  read_track_tagged(path, track, error);
  expect_no_track(track, *error);
}

void read_swoop_container(const char *path, error_slot *error) {
  gps_track track = track_of_before();
  read_swoop_file(path, track, error);
  expect_track_of_before(track, *error);
}

void read_gate_container(const char *path, error_slot *error) {
  course found;
  read_gate_file(path, found, error);
  EXPECT_EQ(found.pond.has_value(), *error == nullptr);
}

void load_run(const char *path, error_slot *error) {
  gps_track track = track_of_before();
  load_swoop_track(path, track, error);
  expect_track_of_before(track, *error);
}

void load_walk(const char *path, error_slot *error) {
  gate_file_data walk;
  walk.track = track_of_before();
  load_gate_track(path, walk, error);
  EXPECT_FALSE(walk.course.pond);
  expect_track_of_before(walk.track, *error);
}

void open_course(const char *path, error_slot *error) {
  const owned_record<gate> found = gate_open(path, nullptr, error);
  EXPECT_EQ(found == nullptr, *error != nullptr);
}

void create_run(const char *path, error_slot *error) {
  const owned_record<swoop> run = swoop_create(path, error);
  EXPECT_EQ(run == nullptr, *error != nullptr);
}

const reading readings[] = {
    {"read_track_header_csv", read_header_lines, header_lines, "missing field names"},
    {"read_track_tagged", read_tagged_lines, tagged_lines, "no GPS points found"},
    {"read_swoop_file", read_swoop_container, run_container(), "failed to read TVL header"},
    {"read_gate_file", read_gate_container, course_container(), "failed to read TVL header"},
    {"load_swoop_track of header lines", load_run, header_lines, "missing field names"},
    {"load_swoop_track of tagged lines", load_run, tagged_lines, "missing field names"},
    {"load_gate_track of header lines", load_walk, header_lines, "missing field names"},
    {"gate_open of a course", open_course, course_container(), "missing field names"},
    {"gate_open of a walk", open_course, walk_text(sparse_walk().samples), "missing field names"},
    {"swoop_create", create_run, header_lines, "missing field names"},
};

TEST(track_files_test, reads_files_by_their_path) {
  const temp_dir dir;
  write_input("run.csv", header_lines);
  write_input("run.tag", tagged_lines);
  gps_track track;
  error_slot error = "not cleared";
  read_track_header_csv("run.csv", track, &error);
  EXPECT_EQ(error, nullptr);
  ASSERT_EQ(track.count, 2U);
  EXPECT_EQ(track.points[0].time, 1000);
  error = "not cleared";
  read_track_tagged("run.tag", track, &error);
  EXPECT_EQ(error, nullptr);
  ASSERT_EQ(track.count, 1U);
  EXPECT_EQ(track.points[0].time, 2000);
}

TEST(track_files_test, restores_what_was_written) {
  const temp_dir dir;
  std::vector<gps_point> samples(2);
  samples[1].time = 7;
  const course finished = finished_course();
  const auto write_swoop = {write_swoop_file, export_swoop_file};
  const auto write_gate = {write_gate_file, export_gate_file};
  for (std::size_t i = 0; i < 2; ++i) {
    SCOPED_TRACE(i);
    const std::string run_name = std::to_string(i) + "run.tvl";
    const std::string walk_name = std::to_string(i) + "walk.tvl";
    error_slot error = "not cleared";
    write_swoop.begin()[i](run_name.c_str(), samples, &error);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(read_text(run_name), swoop_bytes(samples));
    keep_open(run_name.c_str());
    gps_track track;
    error = "not cleared";
    read_swoop_file(run_name.c_str(), track, &error);
    EXPECT_EQ(error, nullptr);
    ASSERT_EQ(track.count, 2U);
    EXPECT_EQ(track.points[1].time, 7);

    error = "not cleared";
    write_gate.begin()[i](walk_name.c_str(), finished, &error);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(read_text(walk_name), gate_bytes(finished));
    keep_open(walk_name.c_str());
    course read;
    error = "not cleared";
    read_gate_file(walk_name.c_str(), read, &error);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(read.theta, 0.5);
    EXPECT_EQ(read.matrix.m[1][2], 3.0);
    ASSERT_TRUE(read.pond);
    EXPECT_EQ(read.pond->count, 1U);
  }
}

struct name_case {
  const char *path;
  std::string bytes;
  std::uint32_t count;
  std::int64_t last_time;
};

const name_case name_cases[] = {
    {"run.csv", header_lines, 2, 2000},    {"tagged.csv", tagged_lines, 1, 2000},    {"run.tvl", header_lines, 2, 2000},
    {"tagged.tvl", tagged_lines, 1, 2000}, {"container.csv", run_container(), 3, 0},
};

TEST(track_files_test, decides_by_content_whatever_the_name) {
  const temp_dir dir;
  for (const name_case &c : name_cases) {
    SCOPED_TRACE(c.path);
    write_input(c.path, c.bytes);
    gps_track track;
    error_slot error = "not cleared";
    EXPECT_EQ(printed_by([&] { load_swoop_track(c.path, track, &error); }), "");
    EXPECT_STREQ(error, nullptr);
    ASSERT_EQ(track.count, c.count);
    EXPECT_EQ(track.points[c.count - 1].time, c.last_time);
    const owned_record<swoop> run = swoop_create(c.path, &error);
    ASSERT_NE(run, nullptr);
    EXPECT_STREQ(run->file.get(), c.path);
    EXPECT_EQ(run->track_len, c.count);
  }
}

TEST(track_files_test, opens_a_course_and_a_walk_whatever_their_names_say) {
  const temp_dir dir;
  write_input("walk.tvl", walk_text(sparse_walk().samples));
  write_input("course.csv", course_container());
  gate_file_data loaded;
  error_slot error = "not cleared";
  load_gate_track("course.csv", loaded, &error);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(loaded.course.theta, 0.5);
  EXPECT_EQ(loaded.track.count, 0U);

  owned_text log;
  const owned_record<gate> found = gate_open("course.csv", &log, &error);
  ASSERT_NE(found, nullptr);
  EXPECT_STREQ(found->file.get(), "course.csv");
  EXPECT_EQ(found->course.theta, 0.5);
  EXPECT_EQ(found->track_len, 0U);
  EXPECT_EQ(log, nullptr);
  const owned_record<gate> walk = gate_open("walk.tvl", &log, &error);
  ASSERT_NE(walk, nullptr);
  EXPECT_STREQ(walk->file.get(), "walk.tvl");
  EXPECT_GT(walk->track_len, 0U);
  EXPECT_NE(log, nullptr);
}

TEST(track_files_test, names_the_file_that_is_not_there) {
  const temp_dir dir;
  for (const reading &c : readings) {
    SCOPED_TRACE(c.name);
    error_slot error = nullptr;
    c.read("nowhere.csv", &error);
    EXPECT_STREQ(error, "failed to open file: nowhere.csv");
  }
  error_slot error = nullptr;
  EXPECT_EQ(open_track_file("nowhere.csv", &error), nullptr);
  EXPECT_STREQ(error, "failed to open file: nowhere.csv");
}

TEST(track_files_test, finds_nothing_in_a_folder) {
  const temp_dir dir;
  ASSERT_EQ(mkdir("run.csv", 0700), 0);
  for (const reading &c : readings) {
    SCOPED_TRACE(c.name);
    error_slot error = nullptr;
    EXPECT_EQ(printed_by([&] { c.read("run.csv", &error); }), "");
    EXPECT_STREQ(error, c.message_for_a_folder);
  }
}

TEST(track_files_test, refuses_a_pipe_without_waiting_for_a_writer) {
  const temp_dir dir;
  ASSERT_EQ(mkfifo("run.csv", 0600), 0);
  for (const reading &c : readings) {
    SCOPED_TRACE(c.name);
    error_slot error = nullptr;
    c.read("run.csv", &error);
    EXPECT_STREQ(error, "failed to open file: run.csv");
  }
}

// If a file were opened twice, its name could refer to another file the second time.
TEST(track_files_test, opens_a_file_once_for_all_readers) {
  const temp_dir dir;
  write_input("other.csv", "hello\n");
  for (const reading &c : readings) {
    SCOPED_TRACE(c.name);
    write_input("run.csv", c.bytes);
    const failing_call disk(c_call::fdopen, 1, EMFILE);
    error_slot error = nullptr;
    c.read("run.csv", &error);
    EXPECT_STREQ(error, nullptr);
    c.read("other.csv", &error);
    EXPECT_STREQ(error, "failed to open file: other.csv");
    EXPECT_EQ(disk.refused(), 1U);
  }
}

// For each reader, whatever it has read before.
TEST(track_files_test, names_the_file_that_cannot_be_read) {
  const temp_dir dir;
  for (const reading &c : readings) {
    SCOPED_TRACE(c.name);
    write_input("run.csv", c.bytes);
    std::size_t granted = 0;
    for (;; ++granted) {
      SCOPED_TRACE(granted);
      const failing_call disk(c_call::fread, granted, EIO);
      error_slot error = nullptr;
      c.read("run.csv", &error);
      EXPECT_STREQ(error, disk.refused() == 0 ? nullptr : "failed to read file: run.csv");
      if (disk.refused() == 0) break;
    }
    EXPECT_GE(granted, 1U);
  }
}

// The kernel does not let the process read its memory at 0.
TEST(track_files_test, names_a_file_that_the_system_fails_to_read) {
  for (const reading &c : readings) {
    SCOPED_TRACE(c.name);
    error_slot error = nullptr;
    EXPECT_EQ(printed_by([&] { c.read("/proc/self/mem", &error); }), "");
    EXPECT_STREQ(error, "failed to read file: /proc/self/mem");
  }
}

// The message is that of the last reader: the container's first line is not a line of names.
TEST(track_files_test, refuses_a_container_of_the_other_kind) {
  const temp_dir dir;
  write_input("run.tvl", run_container());
  write_input("walk.tvl", course_container());
  const std::string warning = "WARNING: unknown field (uTVL)\n";
  error_slot error = nullptr;
  EXPECT_EQ(printed_by([&] { load_walk("run.tvl", &error); }), warning);
  EXPECT_STREQ(error, "invalid field names");
  EXPECT_EQ(printed_by([&] { open_course("run.tvl", &error); }), warning);
  EXPECT_STREQ(error, "invalid field names");
  EXPECT_EQ(printed_by([&] { load_run("walk.tvl", &error); }), warning);
  EXPECT_STREQ(error, "invalid field names");
  EXPECT_EQ(printed_by([&] { create_run("walk.tvl", &error); }), warning);
  EXPECT_STREQ(error, "invalid field names");
  EXPECT_EQ(printed_by([&] { read_gate_container("run.tvl", &error); }), "");
  EXPECT_STREQ(error, "not a gate section");
  EXPECT_EQ(printed_by([&] { read_swoop_container("walk.tvl", &error); }), "");
  EXPECT_STREQ(error, "not a swoop section");
}

struct warning_case {
  const char *name;
  std::string bytes;
  error_slot error;
  const char *printed;
};

const warning_case warning_cases[] = {
    {"two names", "a," + names + ",b%s\n\n1," + row_1 + "\n", nullptr,
     "WARNING: unknown field (a)\nWARNING: unknown field (b%s)\n"},
    {"a name that both readers meet", "$COL,GNSS,a," + names + "\n1\n1,2,3," + row_1 + "\n", nullptr,
     "WARNING: unknown field (a)\nWARNING: unknown field ($COL)\nWARNING: unknown field (GNSS)\n"
     "WARNING: unknown field (a)\n"},
    {"no track", "hello\n", "invalid field names", "WARNING: unknown field (hello)\n"},
};

TEST(track_files_test, prints_the_warnings_in_the_order_of_the_readers) {
  const temp_dir dir;
  for (const warning_case &c : warning_cases) {
    SCOPED_TRACE(c.name);
    write_input("run.csv", c.bytes);
    for (const auto read : {load_run, load_walk, create_run}) {
      error_slot error = nullptr;
      EXPECT_EQ(printed_by([&] { read("run.csv", &error); }), c.printed);
      EXPECT_STREQ(error, c.error);
    }
  }
}

// The later reads fail after the names have been parsed.
TEST(track_files_test, prints_the_warnings_of_a_file_that_cannot_be_read_to_its_end) {
  const temp_dir dir;
  std::string text = "foo," + names + "\n\n";
  while (text.size() < 70000) text += "1," + row_1 + "\n";
  write_input("run.csv", text);
  std::vector<std::string> printed;
  for (std::size_t granted = 0;; ++granted) {
    error_slot error = nullptr;
    std::size_t refused = 0;
    std::string answer = printed_by([&] {
      const failing_call disk(c_call::fread, granted, EIO);
      load_run("run.csv", &error);
      refused = disk.refused();
    });
    if (refused == 0) break;
    EXPECT_STREQ(error, "failed to read file: run.csv");
    printed.push_back(std::move(answer));
  }
  EXPECT_EQ(printed.front(), "");
  EXPECT_EQ(printed.back(), "WARNING: unknown field (foo)\n");
}

TEST(track_files_test, needs_the_name_of_a_course) {
  owned_text log;
  error_slot error = "not cleared";
  EXPECT_EQ(gate_open(nullptr, &log, &error), nullptr);
  EXPECT_STREQ(error, "gate filename not specified");
  EXPECT_EQ(log, nullptr);
}

TEST(track_files_test, makes_an_empty_run_without_a_path) {
  error_slot error = "left over";
  const owned_record<swoop> run = swoop_create(nullptr, &error);
  ASSERT_NE(run, nullptr);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(run->file, nullptr);
  EXPECT_EQ(run->track_len, 0U);
  const allocation_limit limit(0);
  EXPECT_EQ(swoop_create(nullptr, &error), nullptr);
  EXPECT_STREQ(error, "failed to allocate memory for swoop");
}

using messages = std::vector<std::string>;

messages messages_when_memory_is_short(const reading &c, const std::string &bytes) {
  write_input("run.csv", bytes);
  error_slot opening = nullptr;
  {
    const allocation_limit limit(0);
    c.read("run.csv", &opening);
  }
  EXPECT_STREQ(opening, "strdup() failed");
  // From then on protecting the file allocates no memory.
  protect_input("run.csv", &opening);
  return messages_of_refusals([&](std::size_t granted) {
    error_slot error = nullptr;
    const std::string printed = printed_by([&] {
      const allocation_limit limit(granted);
      c.read("run.csv", &error);
    });
    EXPECT_EQ(printed.find("(uTVL)"), std::string::npos);  // a container is not tried as text
    return error;
  });
}

TEST(track_files_test, reports_what_memory_was_short_for) {
  const temp_dir dir;
  const messages text = {"malloc() failed", "failed to malloc file.block_ptr", "invalid field names",
                         "failed to realloc gps_points"};
  const messages container = {"malloc() failed"};
  const messages expected[] = {
      text,
      text,
      container,
      container,
      text,
      text,
      text,
      {"malloc() failed", "failed to allocate memory for gate", "strdup() failed"},
      {"malloc() failed", "failed to allocate memory for gate", "strdup() failed", "failed to malloc file.block_ptr",
       "invalid field names", "failed to realloc gps_points", "failed to realloc pond array"},
      {"malloc() failed", "failed to allocate memory for swoop", "strdup() failed", "failed to malloc file.block_ptr",
       "invalid field names", "failed to realloc gps_points"}};
  ASSERT_EQ(std::size(expected), std::size(readings));
  for (std::size_t i = 0; i < std::size(readings); ++i) {
    SCOPED_TRACE(readings[i].name);
    EXPECT_EQ(messages_when_memory_is_short(readings[i], readings[i].bytes), expected[i]);
  }
}

// A run whose warnings are lost would seem to have none.
TEST(track_files_test, fails_without_memory_for_the_warnings) {
  const temp_dir dir;
  const std::string text = names + "," + std::string(1000, 'x') + "\n\n" + row_1 + "\n";
  for (const std::size_t i : {0U, 4U, 6U, 9U}) {
    SCOPED_TRACE(readings[i].name);
    const messages said = messages_when_memory_is_short(readings[i], text);
    EXPECT_NE(std::find(said.begin(), said.end(), "realloc failed"), said.end());
  }
}

TEST(track_files_test, names_the_file_that_cannot_be_written) {
  const temp_dir dir;
  const course finished = finished_course();
  for (const auto write : {write_gate_file, export_gate_file}) {
    error_slot error = nullptr;
    write("nowhere/walk.tvl", finished, &error);
    EXPECT_STREQ(error, "failed to open file: nowhere/walk.tvl");
  }
  for (const auto write : {write_swoop_file, export_swoop_file}) {
    error_slot error = nullptr;
    write("nowhere/run.tvl", {}, &error);
    EXPECT_STREQ(error, "failed to open file: nowhere/run.tvl");
  }
}

// A short file fails when it is closed, a long one in the middle of its samples.
TEST(track_files_test, reports_a_full_disk) {
  error_slot error = nullptr;
  write_gate_file("/dev/full", finished_course(), &error);
  EXPECT_STREQ(error, "failed to write file: /dev/full");
  write_swoop_file("/dev/full", {}, &error);
  EXPECT_STREQ(error, "failed to write file: /dev/full");

  constexpr std::size_t many = 100000;
  const course large = course_with(0.5, std::vector<vec3>(many, vec3{1.0, 1.0, 1.0}));
  write_gate_file("/dev/full", large, &error);
  EXPECT_STREQ(error, "failed to write gate sample");
  write_swoop_file("/dev/full", std::vector<gps_point>(10000), &error);
  EXPECT_STREQ(error, "failed to write swoop sample");
}

TEST(track_files_test, never_writes_over_a_container_that_it_read) {
  for (const auto write : {write_swoop_file, export_swoop_file}) {
    const temp_dir dir;
    std::vector<gps_point> samples(3);
    write_input("run.tvl", swoop_bytes(samples));
    gps_track track;
    error_slot error = nullptr;
    read_swoop_file("run.tvl", track, &error);
    write("run.tvl", std::span(samples).subspan(1), &error);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(read_text("run.tvl").size(), 50U + 140);
    EXPECT_EQ(read_text("run.tvl.orig").size(), 50U + 210);
  }
}

std::string map_of(const std::vector<gps_point> &samples, const gate_ends *ends) {
  return bytes_written_by([&](std::FILE *stream) { write_kml(stream, 60000, samples, ends); });
}

std::string dump_of(const std::vector<gps_point> &samples) {
  return bytes_written_by([&](std::FILE *stream) { write_coord_dump(stream, samples); });
}

TEST(track_files_test, replaces_an_older_map_whole) {
  const temp_dir folder;
  const gate_ends ends = {vec3{28.5, -82.25, 21.5}, vec3{28.75, -82.125, 21.25}};
  const std::vector<gps_point> many(100);
  error_slot error = "left over";
  write_kml("run.kml", 60000, many, &ends, &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_EQ(read_text("run.kml"), map_of(many, &ends));
  error = "left over";
  write_kml("run.kml", 60000, {}, nullptr, &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_EQ(read_text("run.kml"), map_of({}, nullptr));
}

TEST(track_files_test, replaces_an_older_dump_whole) {
  const temp_dir folder;
  const std::vector<gps_point> many(1000);
  error_slot error = "left over";
  write_coord_dump(many, &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_EQ(read_text("coord.txt"), dump_of(many));
  error = "left over";
  write_coord_dump({}, &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_EQ(read_text("coord.txt"), dump_of({}));
}

TEST(track_files_test, names_the_map_or_dump_that_cannot_be_opened) {
  const temp_dir folder;
  error_slot error = nullptr;
  write_kml("missing/run.kml", 0, {}, nullptr, &error);
  EXPECT_STREQ(error, "failed to open file: missing/run.kml");
  std::filesystem::create_directory("folder");
  write_kml("folder", 0, {}, nullptr, &error);
  EXPECT_STREQ(error, "failed to open file: folder");
  std::filesystem::create_directory("coord.txt");
  write_coord_dump({}, &error);
  EXPECT_STREQ(error, "failed to open file: coord.txt");
}

// A short file fails when it is closed, a long one before.
TEST(track_files_test, reports_a_full_disk_for_a_map_or_a_dump) {
  const temp_dir folder;
  std::filesystem::create_symlink("/dev/full", "coord.txt");
  for (const std::size_t count : {0U, 10000U}) {
    SCOPED_TRACE(count);
    const std::vector<gps_point> samples(count);
    error_slot error = nullptr;
    write_kml("/dev/full", 0, samples, nullptr, &error);
    EXPECT_STREQ(error, "failed to write file: /dev/full");
    write_coord_dump(samples, &error);
    EXPECT_STREQ(error, "failed to write file: coord.txt");
  }
}

// Twelve samples five seconds apart, 0 s to 55 s: an exit at 25 s, and a touchdown at the stop, at 30 s.
swoop run_of_a_minute() {
  swoop run;
  run.track_len = 12;
  EXPECT_TRUE(try_zeroed(run.track, run.track_len));
  for (std::uint32_t i = 0; i < run.track_len; ++i) run.track[i].time = 5000 * std::int64_t{i};
  run.plane_exit = 5;
  run.stop = 6;
  run.touchdown_time = 30000;
  return run;
}

TEST(track_files_test, writes_both_ends_of_the_trimmed_run) {
  const temp_dir folder;
  error_slot error = "left over";
  write_trimmed_swoop("run.tvl", run_of_a_minute(), &error);
  ASSERT_STREQ(error, nullptr);

  keep_open("run.tvl");
  gps_track track;
  read_swoop_file("run.tvl", track, &error);
  ASSERT_STREQ(error, nullptr);
  // From 10 s, the last sample before 25 s - 10 s, to 45 s, the first after 30 s + 10 s.
  ASSERT_EQ(track.count, 8U);
  EXPECT_EQ(track.points[0].time, 10000);
  EXPECT_EQ(track.points[7].time, 45000);
}

TEST(track_files_test, names_the_trimmed_run_that_cannot_be_written) {
  const temp_dir folder;
  error_slot error = nullptr;
  write_trimmed_swoop("missing/run.tvl", run_of_a_minute(), &error);
  EXPECT_STREQ(error, "failed to open file: missing/run.tvl");
}

}  // namespace
}  // namespace tarvel
