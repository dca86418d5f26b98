// Standard output and standard error that the shell has redirected to a file of the call.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "support/files.h"
#include "support/hand_made_walk.h"
#include "support/program.h"
#include "support/simulator.h"

namespace tarvel {
namespace {

// As the shell's ">>".
program_setting appending_to(const char *path, bool with_standard_error) {
  program_setting setting;
  setting.prepare = [=] {
    const int file = open(path, O_WRONLY | O_CREAT | O_APPEND, 0666);
    dup2(file, STDOUT_FILENO);
    if (with_standard_error) dup2(file, STDERR_FILENO);
    close(file);
  };
  return setting;
}

class standard_output_test : public testing::Test {
 protected:
  void SetUp() override {
    write_text("run.csv", run_);
    write_text("walk.csv", walk_);
    write_text("matrix.txt", course_);
  }

  const temp_dir folder_;
  const std::string run_ = simulated_track(small_run());
  const std::string course_ = simulated_course(small_run());
  const std::string walk_ = walk_text(sparse_walk(walk_marks(), walk_place()).samples);
};

// A PDF contains the time of its creation.
std::string without_date(std::string content) {
  const std::size_t begin = content.find("/CreationDate (D:");
  if (begin != std::string::npos) content.erase(begin, content.find(')', begin) - begin);
  return content;
}

struct output_case {
  std::vector<std::string> arguments;
  const char *path;
  const char *message;
};

const output_case output_cases[] = {
    {{"run.csv"}, "run.kml", "ERROR: failed to open file: run.kml"},
    {{"run.csv"}, "run.pdf", "ERROR: failed to open file: run.pdf"},
    {{"-d", "run.csv"}, "run.tvl", "ERROR: failed to open file: run.tvl"},
    {{"-d", "run.csv"}, "coord.txt", "ERROR: failed to open file: coord.txt"},
    {{"-g", "walk.csv"}, "walk.txt", "ERROR: failed to open file: walk.txt"},
    {{"-g", "walk.csv"}, "matrix.txt", "ERROR: could not open matrix.txt for writing"},
    {{"-g", "walk.csv"}, "walk.kml", "ERROR: failed to open file: walk.kml"},
    {{"-d", "-g", "walk.csv"}, "walk.tvl", "ERROR: failed to open file: walk.tvl"},
};

// Printed text would be in the middle of the file.
TEST_F(standard_output_test, gets_no_other_output) {
  for (const output_case &c : output_cases) {
    SCOPED_TRACE(c.path);
    SetUp();
    program_setting setting;
    setting.out_path = c.path;
    EXPECT_EQ(run_program(c.arguments, setting).status, 1);
    EXPECT_EQ(last_line(read_text(c.path)), c.message);
    std::filesystem::remove(c.path);
  }
}

// The report has been printed before its file is written, and nothing is printed after it.
TEST_F(standard_output_test, may_be_the_report) {
  ASSERT_EQ(run_program({"run.csv"}).status, 0);
  const std::string report = read_text("run.txt");
  program_setting setting;
  setting.out_path = "run.txt";
  EXPECT_EQ(run_program({"run.csv"}, setting).status, 0);
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_EQ(run_program({"run.csv"}, appending_to("run.txt", false)).status, 0);
  EXPECT_EQ(read_text("run.txt"), report);
}

TEST_F(standard_output_test, may_be_the_report_of_a_run_without_charts) {
  ASSERT_EQ(run_program({"run.csv"}).status, 0);
  const std::string report = read_text("run.txt");
  std::filesystem::remove("run.pdf");
  std::filesystem::create_directory("run.pdf");
  program_setting setting;
  setting.out_path = "run.txt";
  const program_result result = run_program({"run.csv"}, setting);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "ERROR: failed to open file: run.pdf\n");
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_EQ(run_program({"run.csv"}, appending_to("run.txt", true)).status, 1);
  EXPECT_EQ(read_text("run.txt"), report);
}

// The lines of the survey would be lost.
TEST_F(standard_output_test, gets_no_report_after_a_survey) {
  const std::string printed = run_program({"-g", "walk.csv", "run.csv"}).out;
  program_setting printing_into;
  printing_into.out_path = "run.txt";
  for (const program_setting &setting : {printing_into, appending_to("run.txt", false)}) {
    std::filesystem::remove("run.txt");
    EXPECT_EQ(run_program({"-g", "walk.csv", "run.csv"}, setting).status, 1);
    EXPECT_EQ(read_text("run.txt"), printed + "ERROR: failed to open file: run.txt\n");
  }
}

struct input_case {
  std::vector<std::string> arguments;
  const char *path;
};

const input_case input_cases[] = {
    {{"run.csv"}, "run.csv"},
    {{"run.csv"}, "matrix.txt"},
    {{"-g", "walk.csv"}, "walk.csv"},
    {{"-g", "walk.csv", "run.csv"}, "run.csv"},
};

// The message is printed elsewhere or discarded.
TEST_F(standard_output_test, leaves_an_input_as_it_is) {
  for (const input_case &c : input_cases) {
    for (const bool with_standard_error : {false, true}) {
      SCOPED_TRACE(c.path);
      const std::string before = read_text(c.path);
      const program_result result = run_program(c.arguments, appending_to(c.path, with_standard_error));
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(result.out, "");
      EXPECT_EQ(result.err, with_standard_error ? "" : std::string("ERROR: failed to open file: ") + c.path + "\n");
      EXPECT_EQ(read_text(c.path), before);
    }
  }
}

// Makes the font library print to standard error.
void hide_fonts() { setenv("FONTCONFIG_FILE", "/nonexistent", 1); }

TEST_F(standard_output_test, is_the_report_alone_when_standard_error_goes_there_too) {
  ASSERT_EQ(run_program({"run.csv"}).status, 0);
  const std::string report = read_text("run.txt");
  program_setting setting;
  setting.out_path = "run.txt";
  setting.prepare = [] {
    dup2(STDOUT_FILENO, STDERR_FILENO);
    hide_fonts();
  };
  EXPECT_EQ(run_program({"run.csv"}, setting).status, 0);
  EXPECT_EQ(read_text("run.txt"), report);
}

void send_standard_error_to(const char *path, int flags) {
  const int file = open(path, O_WRONLY | O_CREAT | flags, 0666);
  dup2(file, STDERR_FILENO);
  close(file);
}

// The call, with standard error redirected to each of its files in turn, as by the shell's "2>" or, for inputs, "2>>".
TEST_F(standard_output_test, standard_error_is_never_printed_into_a_file_of_the_call) {
  const std::vector<std::string> arguments = {"-d", "-g", "walk.csv", "run.csv"};
  const char *const inputs[] = {"run.csv", "walk.csv"};
  const char *const outputs[] = {"walk.tvl", "walk.txt", "matrix.txt", "walk.kml", "coord.txt",
                                 "run.tvl",  "run.txt",  "run.kml",    "run.pdf"};
  program_setting setting;
  setting.prepare = hide_fonts;
  const program_result expected = run_program(arguments, setting);
  ASSERT_EQ(expected.status, 0);
  ASSERT_NE(expected.err, "");
  std::vector<std::string> contents;
  for (const char *const name : outputs) contents.push_back(without_date(read_text(name)));
  std::vector<std::pair<const char *, int>> targets;
  for (const char *const name : inputs) targets.emplace_back(name, O_APPEND);
  for (const char *const name : outputs) targets.emplace_back(name, O_TRUNC);
  for (const auto &[path, flags] : targets) {
    SCOPED_TRACE(path);
    setting.prepare = [path = path, flags = flags] {
      send_standard_error_to(path, flags);
      hide_fonts();
    };
    const program_result result = run_program(arguments, setting);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, expected.out);
    EXPECT_EQ(read_text("run.csv"), run_);
    EXPECT_EQ(read_text("walk.csv"), walk_);
    for (std::size_t i = 0; i < contents.size(); ++i) EXPECT_EQ(without_date(read_text(outputs[i])), contents[i]);
  }
}

// Without a survey the report may go to standard output's file, and is opened in another way.
TEST_F(standard_output_test, standard_error_is_not_printed_into_the_report_of_a_run_alone) {
  ASSERT_EQ(run_program({"run.csv"}).status, 0);
  const std::string report = read_text("run.txt");
  program_setting setting;
  setting.prepare = [] {
    send_standard_error_to("run.txt", O_TRUNC);
    hide_fonts();
  };
  EXPECT_EQ(run_program({"run.csv"}, setting).status, 0);
  EXPECT_EQ(read_text("run.txt"), report);
}

TEST_F(standard_output_test, a_course_that_standard_error_is_appended_to_stays_as_it_is) {
  program_setting setting;
  setting.prepare = [] {
    send_standard_error_to("matrix.txt", O_APPEND);
    hide_fonts();
  };
  EXPECT_EQ(run_program({"run.csv"}, setting).status, 0);
  EXPECT_EQ(read_text("matrix.txt"), course_);
}

// When the call redirects a stream, such a name refers to another file.
TEST_F(standard_output_test, an_output_may_lead_to_the_file_of_a_standard_stream) {
  ASSERT_EQ(run_program({"-g", "walk.csv", "run.csv"}).status, 0);
  std::vector<std::pair<std::string, std::string>> written;
  for (const char *const name : {"walk.kml", "run.txt", "run.kml"}) written.emplace_back(name, read_text(name));
  for (const auto &[name, content] : written) {
    SCOPED_TRACE(name);
    std::filesystem::remove(name);
    std::filesystem::create_symlink("/dev/stderr", name);
    program_setting setting;
    setting.prepare = [] { send_standard_error_to("e", O_TRUNC); };
    EXPECT_EQ(run_program({"-g", "walk.csv", "run.csv"}, setting).status, 0);
    EXPECT_EQ(read_text("e"), content);
    std::filesystem::remove(name);
  }
}

// Standard error goes to /dev/null by then, so that the course cannot be read from it.
TEST_F(standard_output_test, a_course_that_leads_to_standard_error_is_not_copied) {
  ASSERT_EQ(run_program({"-g", "walk.csv"}).status, 0);
  const std::string course = read_text("walk.txt");
  std::filesystem::remove("walk.txt");
  std::filesystem::create_symlink("/dev/stderr", "walk.txt");
  write_text("matrix.txt", course_);
  program_setting setting;
  setting.prepare = [] { send_standard_error_to("e", O_TRUNC); };
  EXPECT_EQ(last_line(run_program({"-g", "walk.csv"}, setting).out), "ERROR: could not open walk.txt for reading");
  EXPECT_EQ(read_text("e"), course);
  EXPECT_EQ(read_text("matrix.txt"), course_);
}

TEST_F(standard_output_test, the_report_may_lead_to_the_file_that_it_is_printed_to) {
  ASSERT_EQ(run_program({"run.csv"}).status, 0);
  const std::string report = read_text("run.txt");
  std::filesystem::remove("run.txt");
  std::filesystem::create_symlink("/dev/stdout", "run.txt");
  program_setting setting;
  setting.out_path = "o";
  setting.prepare = [] { send_standard_error_to("e", O_TRUNC); };
  EXPECT_EQ(run_program({"run.csv"}, setting).status, 0);
  EXPECT_EQ(read_text("o"), report);
  EXPECT_EQ(read_text("e"), "");
}

TEST_F(standard_output_test, standard_error_may_be_any_other_file) {
  program_setting setting;
  setting.prepare = [] {
    send_standard_error_to("errors.txt", O_TRUNC);
    hide_fonts();
  };
  EXPECT_EQ(run_program({"run.csv"}, setting).status, 0);
  EXPECT_NE(read_text("errors.txt"), "");
}

}  // namespace
}  // namespace tarvel
