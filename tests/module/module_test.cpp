#include "module/module.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "module/memory_stream.h"
#include "support/failing_calls.h"
#include "support/files.h"

namespace tarvel {
namespace {

struct file_freer {
  void operator()(tarvel_file *file) const { tarvel_free(file); }
};
using opened_file = std::unique_ptr<tarvel_file, file_freer>;

std::string project_file(const std::string &name) {
  return read_text(std::string(std::getenv("TARVEL_SOURCE_DIR")) + "/" + name);
}

opened_file open_file(const char *name, std::string_view bytes) {
  char *const block = tarvel_allocate(bytes.size());
  if (block == nullptr) return nullptr;
  std::copy(bytes.begin(), bytes.end(), block);
  return opened_file(tarvel_open(name, block, bytes.size()));
}

opened_file open_example(const std::string &name) { return open_file(name.c_str(), project_file("examples/" + name)); }

std::string text_of(const tarvel_bytes *bytes) {
  return bytes == nullptr ? "nothing" : std::string(bytes->data, bytes->size);
}

TEST(module_test, makes_the_outputs_of_a_run) {
  const opened_file course = open_example("matrix.txt");
  const opened_file run = open_example("carve.csv");
  ASSERT_TRUE(tarvel_add_course(run.get(), course.get()));
  ASSERT_TRUE(tarvel_analyse(run.get(), "matrix.txt", false, 0)) << tarvel_message(run.get());
  EXPECT_EQ(tarvel_message(run.get()), nullptr);
  EXPECT_STREQ(tarvel_warnings(run.get()), "");
  EXPECT_EQ(text_of(tarvel_report(run.get())), project_file("tests/golden/driver/carve.txt"));
  EXPECT_EQ(text_of(tarvel_map(run.get())), project_file("tests/golden/driver/carve.kml"));
  const std::string document = text_of(tarvel_document(run.get()));
  EXPECT_NE(document.find("44e7b825f8dabe326d02609da32b7646aedca5cd1b6972d98235bf3ecc5541b0"), std::string::npos);
  EXPECT_NE(document.find("\"failure\":null"), std::string::npos);
  EXPECT_NE(document.find("6778710e8f7ffe1ed6bdb74c264790fb40e02b1a3a9ca2cd409975c990e846c9"), std::string::npos);
  EXPECT_EQ(document.back(), '\n');
}

TEST(module_test, a_damaged_course_has_no_digest) {
  const opened_file course = open_file("matrix.txt", "no course\n");
  const opened_file run = open_example("carve.csv");
  ASSERT_TRUE(tarvel_add_course(run.get(), course.get()));
  EXPECT_FALSE(tarvel_analyse(run.get(), "matrix.txt", false, 0));
  EXPECT_NE(text_of(tarvel_document(run.get())).find("\"course\":{\"file\":\"matrix.txt\",\"sha256\":null"),
            std::string::npos);
}

// The samples of the second track are a minute apart.
TEST(module_test, the_map_of_a_failed_run_has_the_time_of_its_first_sample) {
  const std::string row = ":00Z,48.5,11.25,420,0,0,0,1,1,1,9\n";
  const std::string one = "time,lat,lon,hMSL,velN,velE,velD,hAcc,vAcc,sAcc,numSV\n\n2024-06-01T12:30" + row;
  for (const std::string &bytes : {one, one + "2024-06-01T12:31" + row}) {
    const opened_file run = open_file("short.csv", bytes);
    EXPECT_FALSE(tarvel_analyse(run.get(), nullptr, false, 0));
    EXPECT_NE(text_of(tarvel_map(run.get())).find("<name>Jun01 12:30</name>"), std::string::npos);
  }
}

TEST(module_test, says_that_memory_is_short_for_an_output) {
  const opened_file walk = open_example("walk.csv");
  ASSERT_TRUE(tarvel_survey(walk.get(), true));
  const failing_call memory(c_call::open_memstream, 0, ENOMEM);
  EXPECT_EQ(tarvel_map(walk.get()), nullptr);
  EXPECT_STREQ(tarvel_message(walk.get()), "malloc() failed");
}

TEST(module_test, reads_blocks_of_no_bytes_and_of_one) {
  memory_block block;
  const memory_stream empty = open_block(block);
  EXPECT_EQ(std::getc(empty.get()), EOF);
  EXPECT_EQ(std::ferror(empty.get()), 0);
  EXPECT_EQ(std::fseek(empty.get(), 0, SEEK_END), 0);
  EXPECT_EQ(std::ftell(empty.get()), 0);
  EXPECT_EQ(std::getc(empty.get()), EOF);

  block = {try_duplicate("x"), 1};
  const memory_stream one = open_block(block);
  EXPECT_EQ(std::getc(one.get()), 'x');
  EXPECT_EQ(std::getc(one.get()), EOF);
}

TEST(module_test, a_block_is_left_as_it_was_when_its_stream_has_failed) {
  const auto write_nothing_more = [](std::FILE *stream) {
    std::fputs("half", stream);
    stream->_flags |= _IO_ERR_SEEN;  // as after a write that found no memory
  };
  memory_block block = {try_duplicate("whole"), 5};
  EXPECT_FALSE(write_block(block, write_nothing_more));
  EXPECT_STREQ(block.data.get(), "whole");
  EXPECT_EQ(block.size, 5U);

  EXPECT_TRUE(write_block(block, [](std::FILE *stream) { std::fputs("new", stream); }));
  EXPECT_STREQ(block.data.get(), "new");
  EXPECT_EQ(block.size, 3U);
}

TEST(module_test, follows_an_index_to_the_course_of_the_run) {
  const opened_file index = open_file("matrix.txt", "* - north.txt\n");
  const opened_file course = open_file("north.txt", project_file("examples/matrix.txt"));
  const opened_file run = open_example("carve.csv");
  ASSERT_TRUE(tarvel_add_course(run.get(), index.get()));
  EXPECT_FALSE(tarvel_analyse(run.get(), "matrix.txt", false, 0));
  EXPECT_STREQ(tarvel_message(run.get()), "failed to open file: north.txt");
  EXPECT_EQ(tarvel_report(run.get()), nullptr);

  ASSERT_TRUE(tarvel_add_course(run.get(), course.get()));
  ASSERT_TRUE(tarvel_analyse(run.get(), "matrix.txt", false, 0));
  EXPECT_EQ(text_of(tarvel_report(run.get())), project_file("tests/golden/driver/carve.txt"));
}

TEST(module_test, a_failed_run_has_a_message_a_document_and_a_map) {
  const opened_file run = open_example("walk.csv");
  EXPECT_FALSE(tarvel_analyse(run.get(), nullptr, false, 0));
  const std::string message = tarvel_message(run.get());
  EXPECT_NE(message, "");
  EXPECT_EQ(tarvel_check(run.get()), nullptr);
  EXPECT_NE(text_of(tarvel_map(run.get())).find("<coordinates>"), std::string::npos);
  // The message of another file does not get into the document.
  const opened_file other = open_file("none.csv", "");
  EXPECT_FALSE(tarvel_analyse(other.get(), nullptr, false, 0));
  EXPECT_NE(text_of(tarvel_document(run.get())).find(message), std::string::npos);
}

TEST(module_test, a_file_of_no_bytes_has_the_programs_message) {
  const opened_file file = open_file("none.csv", "");
  EXPECT_FALSE(tarvel_analyse(file.get(), nullptr, false, 0));
  EXPECT_STREQ(tarvel_message(file.get()), "missing field names");
  EXPECT_FALSE(tarvel_survey(file.get(), false));
  EXPECT_STREQ(tarvel_message(file.get()), "missing field names");
}

// Leaves out the lines that contain some words.
std::string lines_without(const std::string &text, std::string_view words) {
  std::string kept;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.find(words) == std::string::npos) kept += line + '\n';
  }
  return kept;
}

TEST(module_test, has_the_verdict_of_a_check) {
  constexpr int good = 0;
  constexpr int doubtful = 1;
  constexpr int unusable = 2;
  const std::string straight = project_file("examples/straight.csv");
  const std::pair<std::string, int> runs[] = {
      {straight, good},
      {project_file("examples/tagged.csv"), doubtful},    // the pilot walks where the track ends
      {lines_without(straight, "T11:45:12."), unusable},  // crosses the gate in this second
  };
  const opened_file course = open_example("matrix.txt");
  for (const auto &[track, verdict] : runs) {
    const opened_file run = open_file("run.csv", track);
    EXPECT_EQ(tarvel_verdict(run.get()), good) << "before the analysis";
    ASSERT_TRUE(tarvel_add_course(run.get(), course.get()));
    ASSERT_TRUE(tarvel_analyse(run.get(), "matrix.txt", false, 0)) << tarvel_message(run.get());
    EXPECT_EQ(tarvel_verdict(run.get()), good) << "before the check";
    ASSERT_NE(tarvel_check(run.get()), nullptr);
    EXPECT_EQ(tarvel_verdict(run.get()), verdict);
  }
}

TEST(module_test, surveys_a_walk) {
  const opened_file walk = open_example("walk.csv");
  ASSERT_TRUE(tarvel_survey(walk.get(), true));
  EXPECT_EQ(text_of(tarvel_log(walk.get())), project_file("tests/golden/gate/example_walk.progress"));
  EXPECT_EQ(text_of(tarvel_course(walk.get())), project_file("examples/matrix.txt"));
  EXPECT_NE(text_of(tarvel_map(walk.get())).find("<coordinates>"), std::string::npos);
  ASSERT_TRUE(tarvel_survey(walk.get(), false));
  EXPECT_EQ(text_of(tarvel_course(walk.get())).find("(x, y)"), std::string::npos);
}

TEST(module_test, splits_a_day_at_its_jumps) {
  const std::string bytes = project_file("examples/straight.csv");
  const opened_file day = open_file("day.csv", bytes);
  ASSERT_TRUE(tarvel_split(day.get()));
  ASSERT_EQ(tarvel_jump_count(day.get()), 1U);
  EXPECT_EQ(text_of(tarvel_jump_name(day.get(), 0)), "day-1.csv");
  EXPECT_EQ(text_of(tarvel_jump(day.get(), 0)).substr(0, 40), bytes.substr(0, 40));
  EXPECT_EQ(tarvel_jump(day.get(), 1), nullptr);
  EXPECT_EQ(tarvel_jump_name(day.get(), 1), nullptr);
  EXPECT_EQ(text_of(tarvel_listing(day.get(), false)).substr(0, 10), "no.  time ");
}

// The stretches on the ground have the number 0, which must not be that of the jump after the last index.
TEST(module_test, has_no_jump_for_the_greatest_index) {
  const opened_file day = open_example("walk.csv");
  ASSERT_TRUE(tarvel_split(day.get()));
  EXPECT_EQ(tarvel_jump_count(day.get()), 0U);
  EXPECT_EQ(tarvel_jump(day.get(), UINT32_MAX), nullptr);
  EXPECT_EQ(tarvel_jump_name(day.get(), UINT32_MAX), nullptr);
}

// The rows of a second track behind those of the first.
std::string two_jumps() {
  const std::string second = project_file("examples/carve.csv");
  const std::size_t rows = second.find('\n', second.find('\n') + 1) + 1;
  return project_file("examples/straight.csv") + second.substr(rows);
}

TEST(module_test, counts_the_jumps_in_the_track_of_a_run) {
  const std::string two = two_jumps();
  const opened_file day = open_file("day.csv", two);
  EXPECT_EQ(tarvel_track_jumps(day.get()), 0U);  // not analysed
  static_cast<void>(tarvel_analyse(day.get(), nullptr, false, 0));
  EXPECT_EQ(tarvel_track_jumps(day.get()), 2U);
  ASSERT_TRUE(tarvel_split(day.get()));
  EXPECT_EQ(tarvel_jump_count(day.get()), 2U);

  for (const auto &[name, jumps] : {std::pair{"straight.csv", 1U}, {"walk.csv", 0U}}) {
    const opened_file run = open_example(name);
    static_cast<void>(tarvel_analyse(run.get(), nullptr, false, 0));
    EXPECT_EQ(tarvel_track_jumps(run.get()), jumps) << name;
  }
  const opened_file unread = open_file("none.csv", "");
  EXPECT_FALSE(tarvel_analyse(unread.get(), nullptr, false, 0));
  EXPECT_EQ(tarvel_track_jumps(unread.get()), 0U);
}

TEST(module_test, a_file_that_cannot_be_split_has_no_listing) {
  const opened_file day = open_file("day.csv", "no track");
  EXPECT_FALSE(tarvel_split(day.get()));
  EXPECT_EQ(tarvel_listing(day.get(), false), nullptr);
}

TEST(module_test, nothing_is_made_of_a_file_before_the_work) {
  const opened_file file = open_example("carve.csv");
  for (const auto make : {tarvel_report, tarvel_document, tarvel_check, tarvel_map, tarvel_course, tarvel_log}) {
    EXPECT_EQ(make(file.get()), nullptr);
  }
  EXPECT_EQ(tarvel_listing(file.get(), false), nullptr);
  EXPECT_EQ(tarvel_jump_count(file.get()), 0U);
}

}  // namespace
}  // namespace tarvel
