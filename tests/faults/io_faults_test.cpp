// The program with full disks, closed streams, short transfers and read errors: either every byte of its outputs is
// right, or it fails with the message for the fault.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/hand_made_walk.h"
#include "support/program.h"
#include "support/simulator.h"

namespace tarvel {
namespace {

namespace fs = std::filesystem;

using file_set = std::map<std::string, std::string>;

constexpr const char *stdout_message = "ERROR: failed to write file: standard output\n";

// A PDF contains the time of its creation.
std::string without_date(std::string content) {
  const std::size_t begin = content.find("/CreationDate (D:");
  if (begin != std::string::npos) content.erase(begin, content.find(')', begin) - begin);
  return content;
}

file_set files_here() {
  file_set files;
  for (const fs::directory_entry &entry : fs::directory_iterator(".")) {
    if (entry.is_regular_file()) files[entry.path().filename()] = without_date(read_text(entry.path()));
  }
  return files;
}

void write_files(const file_set &files) {
  for (const auto &[name, content] : files) write_text(name, content);
}

void clear_folder() {
  for (const fs::directory_entry &entry : fs::directory_iterator(".")) fs::remove_all(entry.path());
}

struct command_line {
  std::vector<std::string> arguments;
  file_set before;  // the folder that it starts from
};

struct outcome {
  program_result result;
  file_set after;
};

outcome run_from(const command_line &command, const program_setting &setting = program_setting()) {
  clear_folder();
  write_files(command.before);
  const program_result result = run_program(command.arguments, setting);
  return {result, files_here()};
}

class io_faults_test : public testing::Test {
 protected:
  io_faults_test() {
    const std::string track = simulated_track(small_run());
    const std::string walk = walk_text(sparse_walk({.exit_mark = {{52.0, 40.0, 0.0}}}).samples);
    const std::string course = simulated_course(small_run());
    simulated_run tagged = small_run();
    tagged.form = track_form::tagged_lines;
    swoop_ = {{"-d", "run.csv"}, {{"run.csv", track}, {"matrix.txt", course}}};
    survey_ = {{"-p", "-d", "-g", "walk.csv"}, {{"walk.csv", walk}, {"matrix.txt", "an earlier course"}}};
    in_the_way_ = {{"run.txt"}, {{"run.txt", simulated_track(tagged)}, {"matrix.txt", course}}};
    container_ = {{"run.tvl"}, {{"run.tvl", run_from(swoop_).after["run.tvl"]}, {"matrix.txt", course}}};
  }

  [[nodiscard]] std::vector<command_line> commands() const { return {swoop_, survey_, in_the_way_, container_}; }

  const temp_dir folder_;
  command_line swoop_;
  command_line survey_;
  command_line in_the_way_;
  command_line container_;
};

std::string trace_name(const command_line &command) { return testing::PrintToString(command.arguments); }

// The leak checker cannot work in a traced process, and would print an error.
void disable_leak_checker() { setenv("ASAN_OPTIONS", "detect_leaks=0", 1); }

TEST_F(io_faults_test, reads_and_writes_a_few_bytes_at_a_time) {
  const char *const shim = std::getenv("TARVEL_SHORT_TRANSFERS");
  if (shim == nullptr) GTEST_SKIP() << "short transfers are not made on this processor";
  program_setting setting;
  setting.launcher = {shim, folder_.path()};
  setting.prepare = disable_leak_checker;
  if (run_program({"-v"}, setting).status == 125) GTEST_SKIP() << "programs may not be traced here";
  for (const command_line &command : commands()) {
    SCOPED_TRACE(trace_name(command));
    const outcome expected = run_from(command);
    const outcome slow = run_from(command, setting);
    EXPECT_EQ(slow.result.status, 0);
    EXPECT_EQ(slow.result.out, expected.result.out);
    EXPECT_EQ(slow.after, expected.after);
  }
}

TEST_F(io_faults_test, reports_the_file_that_reaches_the_size_limit) {
  for (const command_line &command : commands()) {
    SCOPED_TRACE(trace_name(command));
    const outcome expected = run_from(command);
    for (rlim_t limit = 1024; limit < rlim_t{64} * 1024; limit += limit / 2) {
      SCOPED_TRACE(limit);
      program_setting setting;
      setting.prepare = [limit] {
        const rlimit size = {limit, limit};
        setrlimit(RLIMIT_FSIZE, &size);
      };
      const outcome limited = run_from(command, setting);
      if (limited.result.status == 0) {
        EXPECT_EQ(limited.after, expected.after);
      } else {
        EXPECT_EQ(limited.result.status, 1);
        EXPECT_EQ(last_line(limited.result.out).rfind("ERROR: failed to write ", 0), 0U) << limited.result.out;
      }
    }
  }
}

TEST_F(io_faults_test, writes_all_files_before_it_fails_for_standard_output) {
  const std::vector<std::vector<int>> closed_sets = {{STDOUT_FILENO}, {STDIN_FILENO, STDOUT_FILENO}};
  for (const command_line &command : {swoop_, survey_, in_the_way_}) {
    SCOPED_TRACE(trace_name(command));
    const outcome expected = run_from(command);
    for (const std::vector<int> &closed : closed_sets) {
      program_setting setting;
      setting.prepare = [&closed] {
        for (const int stream : closed) close(stream);
      };
      const outcome mute = run_from(command, setting);
      EXPECT_EQ(mute.result.status, 1);
      EXPECT_EQ(mute.result.err, stdout_message);
      EXPECT_EQ(mute.after, expected.after);
    }
  }
}

// The font library prints to standard error that its configuration is missing. When that is closed, no file of the
// program may get file descriptor 2.
TEST_F(io_faults_test, keeps_messages_of_libraries_out_of_its_files) {
  program_setting setting;
  setting.prepare = [] { setenv("FONTCONFIG_FILE", "/nonexistent", 1); };
  const outcome expected = run_from(swoop_, setting);
  setting.prepare = [] {
    setenv("FONTCONFIG_FILE", "/nonexistent", 1);
    close(STDIN_FILENO);
    close(STDERR_FILENO);
  };
  const outcome deaf = run_from(swoop_, setting);
  EXPECT_EQ(deaf.result.status, 0);
  EXPECT_EQ(deaf.result.out, expected.result.out);
  EXPECT_EQ(deaf.after, expected.after);
}

TEST_F(io_faults_test, fails_when_standard_output_is_a_pipe_without_a_reader) {
  const outcome expected = run_from(survey_);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  program_setting setting;
  setting.prepare = [&ends] { dup2(ends[1], STDOUT_FILENO); };
  const outcome unread = run_from(survey_, setting);
  close(ends[1]);
  EXPECT_EQ(unread.result.status, 1);
  EXPECT_EQ(unread.result.err, stdout_message);
  EXPECT_EQ(unread.after, expected.after);
}

void make_folder(const char *path) { fs::create_directory(path); }
void make_pipe(const char *path) { ASSERT_EQ(mkfifo(path, 0600), 0); }
void make_full_device(const char *path) { fs::create_symlink("/dev/full", path); }

void make_socket(const char *path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path);
  const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
  close(descriptor);
}

struct obstacle {
  const char *name;
  void (*make)(const char *path);
  const char *words;  // before the name of the output
};

const obstacle obstacles[] = {
    {"a folder", make_folder, "ERROR: failed to open file: "},
    {"a pipe without a reader", make_pipe, "ERROR: failed to open file: "},
    {"a socket", make_socket, "ERROR: failed to open file: "},
    {"a full disk", make_full_device, "ERROR: failed to write file: "},
};

TEST_F(io_faults_test, names_the_output_whose_name_is_taken) {
  for (const obstacle &c : obstacles) {
    for (const std::string name : {"run.kml", "coord.txt", "run.tvl", "run.txt", "run.pdf"}) {
      SCOPED_TRACE(std::string(c.name) + " for " + name);
      clear_folder();
      write_files(swoop_.before);
      c.make(name.c_str());
      const program_result result = run_program(swoop_.arguments);
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(last_line(result.out), c.words + name);
      EXPECT_EQ(read_text("run.csv"), swoop_.before.at("run.csv"));
    }
  }
}

// The course is copied from walk.txt. A device does not return what was written to it, and /dev/zero has no end.
TEST_F(io_faults_test, copies_no_course_from_a_device) {
  for (const char *device : {"/dev/null", "/dev/zero"}) {
    SCOPED_TRACE(device);
    clear_folder();
    write_files(survey_.before);
    fs::create_symlink(device, "walk.txt");
    const program_result result = run_program(survey_.arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(last_line(result.out), "ERROR: could not open walk.txt for reading");
    EXPECT_EQ(read_text("matrix.txt"), "an earlier course");
  }
}

// The first font of the machine; empty without any.
fs::path any_font() {
  std::error_code ignored;
  for (const fs::directory_entry &entry : fs::recursive_directory_iterator("/usr/share/fonts", ignored)) {
    if (entry.path().extension() == ".ttf") return entry.path();
  }
  return {};
}

// The font library caches the list of fonts and opens the font file only when it draws a text.
TEST_F(io_faults_test, reports_that_the_font_of_the_charts_cannot_be_read) {
  const fs::path font = any_font();
  if (font.empty()) GTEST_SKIP() << "there are no fonts here";
  const temp_dir fonts;
  fs::create_directory("fonts");
  fs::copy_file(font, "fonts/font.ttf");
  write_text("fonts.conf", "<?xml version=\"1.0\"?><!DOCTYPE fontconfig SYSTEM \"fonts.dtd\"><fontconfig><dir>" +
                               fonts.path() + "/fonts</dir><cachedir>" + fonts.path() +
                               "/cache</cachedir></fontconfig>");
  program_setting setting;
  setting.prepare = [&fonts] { setenv("FONTCONFIG_FILE", (fonts.path() + "/fonts.conf").c_str(), 1); };
  const temp_dir runs;
  EXPECT_EQ(run_from(swoop_, setting).result.status, 0);
  write_text(fonts.path() + "/fonts/font.ttf", "not a font any more");
  const outcome failed = run_from(swoop_, setting);
  EXPECT_EQ(failed.result.status, 1);
  EXPECT_EQ(last_line(failed.result.out), "ERROR: failed to read font for charts");
}

// This file can be opened; every read of it fails, as on a damaged disk.
constexpr const char *broken_file = "/proc/self/mem";

TEST_F(io_faults_test, reports_a_read_error_instead_of_a_wrong_format) {
  if (!fs::exists(broken_file)) GTEST_SKIP() << "no file here fails";
  const struct {
    const command_line &command;
    const char *broken;
  } cases[] = {{swoop_, "run.csv"}, {swoop_, "matrix.txt"}, {survey_, "walk.csv"}, {container_, "run.tvl"}};
  for (const auto &c : cases) {
    SCOPED_TRACE(trace_name(c.command) + c.broken);
    clear_folder();
    write_files(c.command.before);
    fs::remove(c.broken);
    fs::create_symlink(broken_file, c.broken);
    const program_result result = run_program(c.command.arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, std::string("ERROR: failed to read file: ") + c.broken + "\n");
  }
}

TEST_F(io_faults_test, fails_when_the_time_zone_cannot_be_read) {
  if (!fs::exists(broken_file)) GTEST_SKIP() << "no file here fails";
  program_setting setting;
  setting.time_zone = broken_file;
  const outcome failed = run_from(swoop_, setting);
  EXPECT_EQ(failed.result.status, 1);
  EXPECT_EQ(failed.result.out, std::string("ERROR: failed to read time zone: ") + broken_file + "\n");
  EXPECT_EQ(failed.after, swoop_.before);
}

TEST_F(io_faults_test, uses_universal_time_for_a_zone_that_does_not_exist) {
  program_setting universal;
  const outcome expected = run_from(swoop_, universal);
  for (const char *zone : {"", "No/Such/Zone", "/nonexistent", "/", "?"}) {
    SCOPED_TRACE(zone);
    program_setting setting;
    setting.time_zone = zone;
    const outcome elsewhere = run_from(swoop_, setting);
    EXPECT_EQ(elsewhere.result.status, 0);
    EXPECT_EQ(elsewhere.after, expected.after);
  }
}

TEST_F(io_faults_test, uses_the_time_zone_of_the_system_when_none_is_set) {
  program_setting unnamed;
  unnamed.prepare = [] { unsetenv("TZ"); };
  program_setting named;
  named.time_zone = ":/etc/localtime";
  EXPECT_EQ(run_from(swoop_, unnamed).after, run_from(swoop_, named).after);
}

TEST_F(io_faults_test, reports_what_it_has_no_permission_for) {
  clear_folder();
  write_files(swoop_.before);
  fs::permissions("run.csv", fs::perms::none);
  if (access("run.csv", R_OK) == 0) GTEST_SKIP() << "this user may read everything";
  EXPECT_EQ(run_program(swoop_.arguments).out, "ERROR: failed to open file: run.csv\n");
  fs::permissions("run.csv", fs::perms::owner_read);
  fs::permissions(".", fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_EQ(run_program(swoop_.arguments).out, "ERROR: failed to open file: run.kml\n");
  fs::permissions(".", fs::perms::owner_all);
  EXPECT_EQ(files_here(), swoop_.before);
}

}  // namespace
}  // namespace tarvel
