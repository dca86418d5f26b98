#include "driver/exit.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace tarvel {
namespace {

constexpr const char *lost = "ERROR: failed to write file: standard output\n";

void print_to(const char *path, int buffering) {
  ASSERT_NE(std::freopen(path, "w", stdout), nullptr);
  ASSERT_EQ(std::setvbuf(stdout, nullptr, buffering, 4096), 0);
  std::fputs("words", stdout);
}

TEST(exit_test, ends_with_the_status_that_it_is_given) {
  EXPECT_EXIT(exit_program(EXIT_SUCCESS), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(exit_program(3), testing::ExitedWithCode(3), "");
}

// Buffered text is lost at the end, unbuffered text when it is printed.
TEST(exit_test, fails_when_output_is_lost) {
  for (const int buffering : {_IOFBF, _IONBF}) {
    EXPECT_EXIT(
        {
          print_to("/dev/full", buffering);
          exit_program(EXIT_SUCCESS);
        },
        testing::ExitedWithCode(1), lost);
  }
}

TEST(exit_test, tells_lost_output_with_the_name_of_the_program) {
  EXPECT_EXIT(
      {
        print_to("/dev/full", _IOFBF);
        exit_program(EXIT_SUCCESS, "tarvel-split");
      },
      testing::ExitedWithCode(1), "^tarvel-split: failed to write file: standard output\n$");
  EXPECT_EXIT(
      {
        print_to("/dev/full", _IOFBF);
        fail_program("tarvel-split", "file exists: day-1.csv");
      },
      testing::ExitedWithCode(1),
      "^tarvel-split: file exists: day-1.csv\ntarvel-split: failed to write file: standard output\n$");
}

TEST(exit_test, goes_on_without_an_error) {
  EXPECT_EXIT(
      {
        fatal_error(nullptr);
        exit_program(5);
      },
      testing::ExitedWithCode(5), "");
}

TEST(exit_test, prints_an_error_to_standard_output_and_fails) {
  EXPECT_EXIT(
      {
        print_to("/dev/stderr", _IOFBF);
        fatal_error("no points found in track");
      },
      testing::ExitedWithCode(1), "wordsERROR: no points found in track\n");
}

TEST(exit_test, fails_with_the_name_of_the_program_on_standard_error) {
  EXPECT_EXIT(
      {
        fail_program("tarvel-split", nullptr);
        exit_program(5);
      },
      testing::ExitedWithCode(5), "");
  EXPECT_EXIT(fail_program("tarvel-split", "file exists: day-1.csv"), testing::ExitedWithCode(1),
              "^tarvel-split: file exists: day-1.csv\n$");
}

}  // namespace
}  // namespace tarvel
