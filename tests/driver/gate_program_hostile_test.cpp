// Gate mode when the names of its files are taken, or its files cannot be written or are damaged.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/hand_made_walk.h"
#include "support/program.h"

namespace tarvel {
namespace {

namespace fs = std::filesystem;

class gate_program_hostile_test : public testing::Test {
 protected:
  gate_program_hostile_test() {
    write_text("walk.csv", walk_);
    EXPECT_EQ(run_program({"-p", "-d", "-g", "walk.csv"}).status, 0);
    course_ = read_text("walk.txt");
    container_ = read_text("walk.tvl");
    for (const char *name : {"walk.txt", "walk.tvl", "walk.kml", "matrix.txt"}) fs::remove(name);
  }

  const temp_dir folder_;
  const std::string walk_ = walk_text(sparse_walk({.exit_mark = {{52.0, 40.0, 0.0}}}).samples);
  std::string course_;
  std::string container_;
};

TEST_F(gate_program_hostile_test, keeps_a_walk_that_has_the_name_of_an_output) {
  for (const char *name : {"walk.txt", "walk.kml", "walk.tvl"}) {
    SCOPED_TRACE(name);
    write_text(name, walk_);
    const program_result result = run_program({"-p", "-d", "-g", name});
    EXPECT_EQ(result.status, 0) << result.out;
    EXPECT_EQ(read_text("walk.txt"), course_);
    EXPECT_EQ(read_text("walk.tvl"), container_);
    EXPECT_EQ(read_text("matrix.txt"), course_);
    EXPECT_EQ(read_text(std::string(name) + ".orig"), walk_);
    for (const char *output : {"walk.txt", "walk.kml", "walk.tvl", "matrix.txt"}) fs::remove(output);
  }
}

TEST_F(gate_program_hostile_test, keeps_a_walk_that_is_called_like_the_course) {
  write_text("matrix.txt", walk_);
  EXPECT_EQ(run_program({"-p", "-g", "matrix.txt"}).status, 0);
  EXPECT_EQ(read_text("matrix.txt"), course_);
  EXPECT_EQ(read_text("matrix.txt.orig"), walk_);
  EXPECT_TRUE(file_exists("matrix.kml"));
}

TEST_F(gate_program_hostile_test, writes_the_course_of_a_walk_called_matrix) {
  write_text("matrix.csv", walk_);
  EXPECT_EQ(run_program({"-p", "-g", "matrix.csv"}).status, 0);
  EXPECT_EQ(read_text("matrix.txt"), course_);
  EXPECT_EQ(read_text("matrix.csv"), walk_);
}

TEST_F(gate_program_hostile_test, keeps_a_container_that_it_copies) {
  write_text("course.tvl", container_);
  EXPECT_EQ(run_program({"-d", "-g", "course.tvl"}).status, 0);
  EXPECT_EQ(read_text("course.tvl"), container_);
  EXPECT_EQ(read_text("course.tvl.orig"), container_);
}

// The run is read only after the survey has written its files.
TEST_F(gate_program_hostile_test, keeps_a_run_that_has_the_name_of_an_output_of_the_survey) {
  write_text("walk.kml", "this is the run's only copy");
  const program_result result = run_program({"-g", "walk.csv", "walk.kml"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(read_text("walk.kml.orig"), "this is the run's only copy");
}

TEST_F(gate_program_hostile_test, needs_an_extension_of_three_characters) {
  write_text("walk.gps5", walk_);
  const program_result result = run_program({"-g", "walk.gps5"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "ERROR: filename does not have 3 character extension\n");
  EXPECT_FALSE(file_exists("matrix.txt"));
}

TEST_F(gate_program_hostile_test, names_the_walk_that_cannot_be_read) {
  EXPECT_EQ(run_program({"-g", "none.csv"}).out, "ERROR: failed to open file: none.csv\n");
  EXPECT_EQ(run_program({"-g", "none.csv"}).status, 1);
  fs::create_directory("folder.csv");
  EXPECT_EQ(run_program({"-g", "folder.csv"}).out, "ERROR: missing field names\n");
  // The container of a swoop is not one of a gate; as text it has no field names.
  std::string swoop = container_;
  swoop[29] = 1;
  write_text("swoop.tvl", swoop);
  EXPECT_EQ(last_line(run_program({"-g", "swoop.tvl"}).out), "ERROR: invalid field names");
}

struct blocked_case {
  const char *name;
  const char *folder_message;      // when a folder has the name
  const char *full_message;        // on a full disk
  std::vector<const char *> kept;  // written before
};

const blocked_case blocked_cases[] = {
    {"walk.tvl", "failed to open file: walk.tvl", "failed to write file: walk.tvl", {}},
    {"walk.txt", "failed to open file: walk.txt", "failed to write file: walk.txt", {"walk.tvl"}},
    {"matrix.txt",
     "could not open matrix.txt for writing",
     "failed to write file: matrix.txt",
     {"walk.tvl", "walk.txt"}},
    {"walk.kml",
     "failed to open file: walk.kml",
     "failed to write file: walk.kml",
     {"walk.tvl", "walk.txt", "matrix.txt"}},
};

void expect_outputs(const blocked_case &c) {
  for (const char *name : {"walk.tvl", "walk.txt", "matrix.txt", "walk.kml"}) {
    const bool is_kept = std::find_if(c.kept.begin(), c.kept.end(),
                                      [&](const std::string &kept) { return kept == name; }) != c.kept.end();
    const bool is_blocked = std::string(c.name) == name;
    EXPECT_TRUE(is_blocked || file_exists(name) == is_kept) << name;
    fs::remove_all(name);
  }
}

TEST_F(gate_program_hostile_test, names_the_output_that_cannot_be_opened) {
  for (const blocked_case &c : blocked_cases) {
    SCOPED_TRACE(c.name);
    fs::create_directory(c.name);
    const program_result result = run_program({"-d", "-g", "walk.csv"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(last_line(result.out), std::string("ERROR: ") + c.folder_message);
    expect_outputs(c);
  }
}

TEST_F(gate_program_hostile_test, names_the_output_on_a_full_disk) {
  for (const blocked_case &c : blocked_cases) {
    SCOPED_TRACE(c.name);
    fs::create_symlink("/dev/full", c.name);
    const program_result result = run_program({"-d", "-g", "walk.csv"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(last_line(result.out), std::string("ERROR: ") + c.full_message);
    expect_outputs(c);
  }
}

TEST_F(gate_program_hostile_test, reports_that_standard_output_is_full) {
  program_setting setting;
  setting.out_path = "/dev/full";
  const program_result result = run_program({"-g", "walk.csv"}, setting);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "ERROR: failed to write file: standard output\n");
  EXPECT_EQ(read_text("walk.txt"), read_text("matrix.txt"));
}

void expect_answer(const std::string &bytes, const char *name) {
  write_text(name, bytes);
  const program_result result = run_program({"-p", "-d", "-g", name});
  EXPECT_TRUE(result.status == 0 || result.status == 1) << result.status << "\n" << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(last_line(result.out).rfind("ERROR: ", 0) == 0, result.status == 1) << result.out;
}

void expect_answers_to_a_sample_of_damage(const std::string &bytes, const char *name) {
  for (std::size_t i = 0; i < 40; ++i) {
    const std::size_t cut = i * bytes.size() / 40;
    SCOPED_TRACE(cut);
    expect_answer(bytes.substr(0, cut), name);
  }
  for (std::size_t i = 0; i < 60; ++i) {
    const std::size_t bit = i * (8 * bytes.size() / 60) + i % 8;
    SCOPED_TRACE(bit);
    std::string damaged = bytes;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
    expect_answer(damaged, name);
  }
}

TEST_F(gate_program_hostile_test, answers_a_sample_of_damaged_walks) {
  expect_answers_to_a_sample_of_damage(walk_, "damaged.csv");
}

TEST_F(gate_program_hostile_test, answers_a_sample_of_damaged_containers) {
  expect_answers_to_a_sample_of_damage(container_, "damaged.tvl");
}

// A run reads a damaged course file.
TEST_F(gate_program_hostile_test, answers_a_sample_of_damaged_courses) {
  copy_example("straight.csv");
  copy_example("matrix.txt");
  const std::string course = read_text("matrix.txt");
  for (std::size_t i = 0; i < 24; ++i) {
    const std::size_t bit = i * (8 * course.size() / 24) + i % 8;
    SCOPED_TRACE(bit);
    std::string damaged = course;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
    write_text("matrix.txt", i % 2 == 0 ? damaged : course.substr(0, bit / 8));
    const program_result result = run_program({"straight.csv"});
    EXPECT_TRUE(result.status == 0 || result.status == 1) << result.status;
    EXPECT_EQ(last_line(result.out).rfind("ERROR: ", 0) == 0, result.status == 1) << result.out;
  }
}

}  // namespace
}  // namespace tarvel
