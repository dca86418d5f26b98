// No output may overwrite an input, whatever names the two have.
#include "driver/protected_inputs.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "driver/file_handle.h"
#include "support/allocation_limit.h"
#include "support/files.h"
#include "support/ordinary_user.h"

namespace tarvel {
namespace {

constexpr const char *samples = "the only copy of the samples";
constexpr const char *report = "report";

// Inputs are remembered for the whole process by their inode. An open file keeps its number from being given to a file
// of a later test.
void protect(const char *path) {
  static std::vector<file_handle> held;
  held.emplace_back(std::fopen(path, "rb"));
  error_slot error = nullptr;
  protect_input(path, &error);
  ASSERT_EQ(error, nullptr);
}

void write_output(const char *path) {
  error_slot error = nullptr;
  file_handle file = open_output(path, &error);
  ASSERT_EQ(error, nullptr);
  ASSERT_NE(file, nullptr);
  std::fputs(report, file.get());
  close_output(std::move(file), path, &error);
  ASSERT_EQ(error, nullptr);
}

bool is_link(const char *path) {
  struct stat status;
  return lstat(path, &status) == 0 && S_ISLNK(status.st_mode);
}

TEST(protected_inputs_test, renames_an_input_that_has_the_name_of_an_output) {
  const temp_dir dir;
  write_text("run.txt", samples);
  protect("run.txt");
  EXPECT_EQ(read_text("run.txt"), samples);
  write_output("run.txt");
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_EQ(read_text("run.txt.orig"), samples);
}

TEST(protected_inputs_test, protects_what_was_opened_for_reading) {
  const temp_dir dir;
  write_text("run.txt", samples);
  error_slot error = nullptr;
  static const file_handle held = open_input("run.txt", &error);  // to the end, like those of protect()
  write_output("run.txt");
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_EQ(read_text("run.txt.orig"), samples);
}

TEST(protected_inputs_test, writes_over_its_own_output) {
  const temp_dir dir;
  write_text("run.kml", samples);
  protect("run.kml");
  write_output("run.kml");
  write_output("run.kml");
  EXPECT_EQ(read_text("run.kml"), report);
  EXPECT_EQ(read_text("run.kml.orig"), samples);
  EXPECT_FALSE(file_exists("run.kml.orig.2"));
}

TEST(protected_inputs_test, leaves_an_input_of_another_name_alone) {
  const temp_dir dir;
  write_text("run.csv", samples);
  protect("run.csv");
  write_output("run.txt");
  EXPECT_EQ(read_text("run.csv"), samples);
  EXPECT_FALSE(file_exists("run.csv.orig"));
  EXPECT_FALSE(file_exists("run.txt.orig"));
}

TEST(protected_inputs_test, counts_on_when_the_new_name_is_taken) {
  const temp_dir dir;
  write_text("run.txt", samples);
  write_text("run.txt.orig", "of the first run");
  ASSERT_EQ(symlink("nowhere", "run.txt.orig.2"), 0);
  ASSERT_EQ(mkdir("run.txt.orig.3", 0700), 0);
  protect("run.txt");
  write_output("run.txt");
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_EQ(read_text("run.txt.orig"), "of the first run");
  EXPECT_TRUE(is_link("run.txt.orig.2"));
  EXPECT_EQ(read_text("run.txt.orig.4"), samples);
}

TEST(protected_inputs_test, takes_the_second_name_first) {
  const temp_dir dir;
  write_text("run.txt", samples);
  write_text("run.txt.orig", "of the first run");
  protect("run.txt");
  write_output("run.txt");
  EXPECT_EQ(read_text("run.txt.orig.2"), samples);
}

TEST(protected_inputs_test, counts_past_nine) {
  const temp_dir dir;
  write_text("run.txt", samples);
  write_text("run.txt.orig", "1");
  for (int i = 2; i < 12; ++i) write_text("run.txt.orig." + std::to_string(i), "taken");
  protect("run.txt");
  write_output("run.txt");
  EXPECT_EQ(read_text("run.txt.orig.12"), samples);
}

TEST(protected_inputs_test, renames_beside_the_input_in_its_folder) {
  const temp_dir dir;
  ASSERT_EQ(mkdir("tracks", 0700), 0);
  write_text("tracks/run.txt", samples);
  protect("tracks/../tracks/run.txt");
  write_output("tracks/run.txt");
  EXPECT_EQ(read_text("tracks/run.txt"), report);
  EXPECT_EQ(read_text("tracks/run.txt.orig"), samples);
}

// Both names of the file are changed: that of the input by the rule, that of the output because it would still refer to
// the samples.
TEST(protected_inputs_test, follows_a_hard_link) {
  const temp_dir dir;
  write_text("run.csv", samples);
  ASSERT_EQ(link("run.csv", "run.txt"), 0);
  protect("run.csv");
  write_output("run.txt");
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_FALSE(file_exists("run.csv"));
  EXPECT_EQ(read_text("run.csv.orig"), samples);
  EXPECT_EQ(read_text("run.txt.orig"), samples);
}

TEST(protected_inputs_test, follows_an_input_that_is_a_link_to_the_output) {
  const temp_dir dir;
  write_text("run.txt", samples);
  ASSERT_EQ(symlink("run.txt", "run.csv"), 0);
  protect("run.csv");
  write_output("run.txt");
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_EQ(read_text("run.txt.orig"), samples);
  EXPECT_FALSE(is_link("run.txt.orig"));
  // The link keeps its name: renamed, it would refer to the output or to nothing.
  EXPECT_TRUE(is_link("run.csv"));
  EXPECT_FALSE(file_exists("run.csv.orig"));
}

TEST(protected_inputs_test, follows_an_output_that_is_a_link_to_the_input) {
  const temp_dir dir;
  write_text("run.csv", samples);
  ASSERT_EQ(symlink("run.csv", "run.txt"), 0);
  protect("run.csv");
  write_output("run.txt");
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_EQ(read_text("run.csv.orig"), samples);
  EXPECT_FALSE(is_link("run.csv.orig"));
}

TEST(protected_inputs_test, follows_two_links_to_one_file) {
  const temp_dir dir;
  write_text("store", samples);
  ASSERT_EQ(symlink("store", "run.csv"), 0);
  ASSERT_EQ(symlink("store", "run.txt"), 0);
  protect("run.csv");
  write_output("run.txt");
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_EQ(read_text("store.orig"), samples);
}

TEST(protected_inputs_test, renames_the_link_when_input_and_output_are_that_link) {
  const temp_dir dir;
  write_text("store", samples);
  ASSERT_EQ(symlink("store", "run.txt"), 0);
  protect("run.txt");
  write_output("run.txt");
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_FALSE(is_link("run.txt"));
  EXPECT_TRUE(is_link("run.txt.orig"));
  EXPECT_EQ(read_text("run.txt.orig"), samples);
  EXPECT_EQ(read_text("store"), samples);
}

TEST(protected_inputs_test, follows_an_input_that_was_renamed_since) {
  const temp_dir dir;
  write_text("run.csv", samples);
  protect("run.csv");
  ASSERT_EQ(rename("run.csv", "run.txt"), 0);
  write_text("run.csv", "somebody else's");
  write_output("run.txt");
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_EQ(read_text("run.txt.orig"), samples);
  EXPECT_EQ(read_text("run.csv"), "somebody else's");
}

TEST(protected_inputs_test, protects_an_input_again_under_its_new_name) {
  const temp_dir dir;
  write_text("run.txt", samples);
  protect("run.txt");
  write_output("run.txt");
  write_output("run.txt.orig");
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_EQ(read_text("run.txt.orig"), report);
  EXPECT_EQ(read_text("run.txt.orig.orig"), samples);
}

TEST(protected_inputs_test, creates_an_output_in_place_of_an_input_that_is_gone) {
  const temp_dir dir;
  write_text("run.txt", samples);
  protect("run.txt");
  ASSERT_EQ(unlink("run.txt"), 0);
  write_output("run.txt");
  EXPECT_EQ(read_text("run.txt"), report);
  EXPECT_FALSE(file_exists("run.txt.orig"));
}

TEST(protected_inputs_test, remembers_many_inputs) {
  const temp_dir dir;
  for (int i = 0; i < 70; ++i) {
    const std::string name = std::to_string(i) + ".txt";
    write_text(name, samples);
    protect(name.c_str());
    protect(name.c_str());
  }
  for (int i = 0; i < 70; ++i) {
    const std::string name = std::to_string(i) + ".txt";
    write_output(name.c_str());
    EXPECT_EQ(read_text(name), report);
    EXPECT_EQ(read_text(name + ".orig"), samples);
    EXPECT_FALSE(file_exists(name + ".orig.orig"));
  }
}

TEST(protected_inputs_test, does_not_rename_a_pipe) {
  const temp_dir dir;
  ASSERT_EQ(mkfifo("run.txt", 0600), 0);
  error_slot error = nullptr;
  protect_input("run.txt", &error);
  EXPECT_EQ(error, nullptr);
  const int reader = open("run.txt", O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  write_output("run.txt");
  char bytes[16] = {};
  EXPECT_EQ(read(reader, bytes, sizeof bytes), 6);
  EXPECT_STREQ(bytes, report);
  close(reader);
  EXPECT_FALSE(file_exists("run.txt.orig"));
}

TEST(protected_inputs_test, fails_when_no_memory_is_left_to_remember_an_input) {
  const temp_dir dir;
  write_text("run.csv", samples);
  const file_handle held(std::fopen("run.csv", "rb"));
  error_slot error = nullptr;
  {
    const allocation_limit limit(0);
    protect_input("run.csv", &error);
  }
  EXPECT_STREQ(error, "strdup() failed");
}

TEST(protected_inputs_test, does_not_mind_an_input_that_is_not_there) {
  const temp_dir dir;
  error_slot error = nullptr;
  protect_input("run.csv", &error);
  EXPECT_EQ(error, nullptr);
}

TEST(protected_inputs_test, fails_when_the_input_cannot_be_moved) {
  const temp_dir dir;
  ASSERT_EQ(chmod(dir.path().c_str(), 0755), 0);
  ASSERT_EQ(mkdir("tracks", 0755), 0);
  write_text("tracks/run.txt", samples);
  ASSERT_EQ(chmod("tracks/run.txt", 0666), 0);
  ASSERT_EQ(chmod("tracks", 0555), 0);
  protect("tracks/run.txt");
  error_slot error = nullptr;
  {
    const ordinary_user user;
    EXPECT_EQ(open_output("tracks/run.txt", &error), nullptr);
  }
  EXPECT_STREQ(error, "failed to open file: tracks/run.txt");
  EXPECT_EQ(read_text("tracks/run.txt"), samples);
  ASSERT_EQ(chmod("tracks", 0755), 0);
}

TEST(protected_inputs_test, fails_when_no_memory_is_left_for_the_new_name) {
  const temp_dir dir;
  write_text("run.txt", samples);
  protect("run.txt");
  error_slot error = nullptr;
  {
    const allocation_limit limit(0);
    EXPECT_EQ(open_output("run.txt", &error), nullptr);
  }
  EXPECT_STREQ(error, "failed to open file: run.txt");
  EXPECT_EQ(read_text("run.txt"), samples);
}

TEST(protected_inputs_test, fails_when_a_hard_link_cannot_be_moved_as_well) {
  const temp_dir dir;
  ASSERT_EQ(chmod(dir.path().c_str(), 0777), 0);
  ASSERT_EQ(mkdir("locked", 0755), 0);
  write_text("run.csv", samples);
  ASSERT_EQ(chmod("run.csv", 0666), 0);
  ASSERT_EQ(link("run.csv", "locked/run.txt"), 0);
  ASSERT_EQ(chmod("locked", 0555), 0);
  protect("run.csv");
  error_slot error = nullptr;
  {
    const ordinary_user user;
    EXPECT_EQ(open_output("locked/run.txt", &error), nullptr);
  }
  EXPECT_STREQ(error, "failed to open file: locked/run.txt");
  EXPECT_EQ(read_text("locked/run.txt"), samples);
  ASSERT_EQ(chmod("locked", 0755), 0);
}

}  // namespace
}  // namespace tarvel
