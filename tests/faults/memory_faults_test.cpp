// The program with each of its allocations failing in turn. scripts/proofs memory_faults does the same for many more
// command lines.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "support/allocation_report.h"
#include "support/files.h"
#include "support/hand_made_walk.h"
#include "support/program.h"
#include "support/simulator.h"

namespace tarvel {
namespace {

namespace fs = std::filesystem;

using file_map = std::map<std::string, std::string>;  // name and bytes

struct failure_mode {
  const char *name;
  std::uint64_t stride;  // tests one allocation in this number
};

#ifdef __SANITIZE_ADDRESS__
constexpr failure_mode failure_modes[] = {{"once", 7}, {"onward", 11}};  // calls are much slower
#else
constexpr failure_mode failure_modes[] = {{"once", 1}, {"onward", 5}};
#endif

struct command_line_case {
  const char *name;
  std::vector<std::string> arguments;
  file_map files;
  std::string time_zone = "UTC";
};

struct call_outcome {
  program_result result;
  file_map files;
  std::uint64_t allocations = 0;
  std::uint64_t drawing_allocations = 0;
  std::uint64_t refused = 0;
};

// Sets environment variables, which the program inherits, until the end of the scope.
class environment_guard {
 public:
  explicit environment_guard(const std::map<std::string, std::string> &variables) : variables_(variables) {
    for (const auto &[name, value] : variables_) setenv(name.c_str(), value.c_str(), 1);
  }
  ~environment_guard() {
    for (const auto &[name, value] : variables_) unsetenv(name.c_str());
  }
  environment_guard(const environment_guard &) = delete;
  environment_guard &operator=(const environment_guard &) = delete;

 private:
  std::map<std::string, std::string> variables_;
};

// A PDF contains the time of its creation.
std::string without_date(std::string bytes) {
  constexpr std::string_view mark = "/CreationDate (D:";
  const std::size_t begin = bytes.find(mark);
  if (begin != std::string::npos) bytes.erase(begin, bytes.find(')', begin) - begin);
  return bytes;
}

file_map files_here() {
  file_map files;
  for (const fs::directory_entry &entry : fs::directory_iterator(".")) {
    const std::string name = entry.path().filename();
    files[name] = entry.path().extension() == ".pdf" ? without_date(read_text(name)) : read_text(name);
  }
  return files;
}

// The failing allocator calls the sanitizer's allocator, and is therefore loaded before it. When an allocation fails in
// a thread of the drawing libraries, that thread may crash; the report of the crash and the search for leaks then wait
// for each other.
std::string sanitizer_options(const std::string &fault) {
  const bool is_in_drawing = fault.starts_with("drawing");
  return std::string("verify_asan_link_order=0:detect_leaks=") + (is_in_drawing ? "0" : "1");
}

// Calls the program with this value of FAIL_ALLOCATION; when it is empty, nothing fails.
call_outcome run_case(const command_line_case &c, const std::string &fault) {
  const temp_dir outside;
  const std::string report_path = outside.path() + "/report";
  call_outcome outcome;
  {
    const temp_dir folder;
    for (const auto &[name, bytes] : c.files) write_text(name, bytes);
    const char *const allocator = std::getenv("TARVEL_FAILING_ALLOCATOR");
    const environment_guard environment({{"LD_PRELOAD", allocator != nullptr ? allocator : ""},
                                         {"ALLOCATION_REPORT", report_path},
                                         {"FAIL_ALLOCATION", fault},
                                         {"ASAN_OPTIONS", sanitizer_options(fault)}});
    program_setting setting;
    setting.time_zone = c.time_zone;
    outcome.result = run_program(c.arguments, setting);
    outcome.files = files_here();
  }
  std::string bytes = read_text(report_path);
  EXPECT_EQ(bytes.size(), sizeof(allocation_report));
  bytes.resize(sizeof(allocation_report));
  const auto *const report = reinterpret_cast<const allocation_report *>(bytes.data());
  outcome.allocations = report->own;
  outcome.drawing_allocations = report->drawing;
  outcome.refused = report->refused;
  return outcome;
}

bool is_undisturbed(const call_outcome &outcome, const call_outcome &sound) {
  return outcome.result.status == sound.result.status && outcome.result.out == sound.result.out &&
         outcome.result.err == sound.result.err && outcome.files == sound.files;
}

// A message with a file name, or the like, between its two parts.
struct message_form {
  std::string_view begin;
  std::string_view end = "";
};

bool is_memory_message(std::string_view line) {
  constexpr std::string_view whole_lines[] = {"ERROR: strdup() failed",
                                              "ERROR: malloc() failed",
                                              "ERROR: realloc failed",
                                              "ERROR: failed to allocate memory for swoop",
                                              "ERROR: failed to allocate memory for gate",
                                              "ERROR: failed to allocate memory for charts",
                                              "ERROR: failed to realloc gps_points",
                                              "ERROR: failed to realloc pond array",
                                              "ERROR: failed to malloc file.block_ptr",
                                              "ERROR: invalid field names"};
  constexpr message_form lines_with_a_name[] = {{"ERROR: failed to read time zone: "},
                                                {"ERROR: failed to open file: "},
                                                {"ERROR: could not open ", " for reading"},
                                                {"ERROR: could not open ", " for writing"}};
  return std::find(std::begin(whole_lines), std::end(whole_lines), line) != std::end(whole_lines) ||
         std::any_of(std::begin(lines_with_a_name), std::end(lines_with_a_name), [&](const message_form &form) {
           return line.starts_with(form.begin) && line.ends_with(form.end);
         });
}

bool has_bytes(const file_map &files, const std::string &bytes) {
  return std::any_of(files.begin(), files.end(), [&](const auto &file) { return file.second == bytes; });
}

void expect_message_or_no_effect(const command_line_case &c, const call_outcome &outcome, const call_outcome &sound) {
  EXPECT_GT(outcome.refused, 0U);
  for (const auto &[name, bytes] : c.files) {
    EXPECT_TRUE(has_bytes(outcome.files, bytes) || !has_bytes(sound.files, bytes)) << name << " is lost";
  }
  if (is_undisturbed(outcome, sound)) return;
  EXPECT_EQ(outcome.result.status, 1);
  EXPECT_EQ(outcome.result.err, "");
  const std::string &out = outcome.result.out;
  const std::string message = last_line(out);
  EXPECT_TRUE(is_memory_message(message)) << out;
  // What was printed before the message is a beginning of the full output.
  const std::size_t printed = out.size() < message.size() + 1 ? 0 : out.size() - message.size() - 1;
  EXPECT_EQ(sound.result.out.compare(0, printed, out, 0, printed), 0) << out;
}

std::string tagged_run() {
  simulated_run run = small_run();
  run.form = track_form::tagged_lines;
  return simulated_track(run);
}

std::string small_container() {
  const temp_dir folder;
  write_text("run.csv", simulated_track(small_run()));
  write_text("matrix.txt", simulated_course(small_run()));
  EXPECT_EQ(run_program({"-d", "run.csv"}).status, 0);
  return read_text("run.tvl");
}

std::vector<command_line_case> command_line_cases() {
  const std::string track = simulated_track(small_run());
  const std::string course = simulated_course(small_run());
  const std::string walk = walk_text(sparse_walk(walk_marks(), walk_place()).samples);
  const std::string summer_time = "EST5EDT,M3.2.0,M11.1.0";
  return {
      {"run", {"-d", "run.csv"}, {{"run.csv", track}, {"matrix.txt", course}}, summer_time},
      {"container set aside, index",
       {"-d", "1.tvl"},
       {{"1.tvl", small_container()}, {"matrix.txt", "1 - a.txt\n"}, {"a.txt", "* - missing.txt\n"}},
       summer_time},
      {"tagged lines without a course", {"run.csv"}, {{"run.csv", tagged_run()}}},
      {"walk", {"-p", "-d", "-g", "walk.csv"}, {{"walk.csv", walk}}},
      {"walk named as the course, and no run", {"-g", "walk.txt", "missing.csv"}, {{"walk.txt", walk}}},
      {"bad track", {"run.csv"}, {{"run.csv", track.substr(0, 700)}}},
      {"usage", {}, {}},
  };
}

TEST(memory_faults_test, every_failed_allocation_is_reported_or_has_no_effect) {
  for (const command_line_case &c : command_line_cases()) {
    const call_outcome sound = run_case(c, "");
    ASSERT_GT(sound.allocations, 0U) << c.name;
    for (const failure_mode &mode : failure_modes) {
      for (std::uint64_t number = 1; number <= sound.allocations; number += mode.stride) {
        const std::string fault = "own," + std::to_string(number) + "," + mode.name;
        SCOPED_TRACE(std::string(c.name) + " with " + fault);
        expect_message_or_no_effect(c, run_case(c, fault), sound);
      }
    }
  }
}

TEST(memory_faults_test, report_and_map_are_complete_when_drawing_runs_out_of_memory) {
  const command_line_case c = {
      "run", {"run.csv"}, {{"run.csv", simulated_track(small_run())}, {"matrix.txt", simulated_course(small_run())}}};
  const call_outcome sound = run_case(c, "");
  // The first twentieth is left out: the libraries allocate when they are loaded, before the report is written.
  for (std::uint64_t twentieths = 1; twentieths < 20; ++twentieths) {
    const std::string fault = "drawing," + std::to_string(sound.drawing_allocations * twentieths / 20) + ",onward";
    SCOPED_TRACE(fault);
    const call_outcome outcome = run_case(c, fault);
    EXPECT_GT(outcome.refused, 0U);
    EXPECT_NE(outcome.result.status, 0);
    EXPECT_NE(outcome.result.status, 128 + SIGALRM);
    EXPECT_EQ(outcome.result.out.substr(0, sound.result.out.size()), sound.result.out);
    for (const char *const name : {"run.csv", "matrix.txt", "run.txt", "run.kml"}) {
      EXPECT_EQ(outcome.files.at(name), sound.files.at(name)) << name;
    }
  }
}

// A sanitizer needs more than these limits.
#ifndef __SANITIZE_ADDRESS__
TEST(memory_faults_test, never_runs_out_of_memory_in_the_drawing_libraries) {
  const temp_dir folder;
  const std::string track = simulated_track(small_run());
  write_text("run.csv", track);
  write_text("matrix.txt", simulated_course(small_run()));
  const program_result sound = run_program({"run.csv"});
  const file_map sound_files = files_here();
  std::size_t refused = 0;
  for (const int limit : {RLIMIT_AS, RLIMIT_DATA}) {
    for (rlim_t megabytes = 48; megabytes <= 160; megabytes += 4) {
      SCOPED_TRACE(megabytes);
      for (const char *const name : {"run.txt", "run.kml", "run.pdf"}) fs::remove(name);
      program_setting setting;
      setting.prepare = [=] {
        const rlimit bytes = {megabytes << 20, megabytes << 20};
        setrlimit(static_cast<decltype(RLIMIT_AS)>(limit), &bytes);
      };
      const program_result result = run_program({"run.csv"}, setting);
      EXPECT_EQ(result.err, "");
      if (result.status == 0) {
        EXPECT_EQ(result.out, sound.out);
        EXPECT_EQ(files_here(), sound_files);
        continue;
      }
      ++refused;
      EXPECT_EQ(result.out, sound.out + "ERROR: failed to allocate memory for charts\n");
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(read_text("run.csv"), track);
      EXPECT_EQ(read_text("run.txt"), sound_files.at("run.txt"));
      EXPECT_EQ(read_text("run.kml"), sound_files.at("run.kml"));
    }
  }
  EXPECT_GT(refused, 0U);
  EXPECT_LT(refused, 70U);
}
#endif

}  // namespace
}  // namespace tarvel
