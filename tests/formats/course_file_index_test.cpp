#include <gtest/gtest.h>

#include <string>

#include "formats/course_file.h"
#include "geo/angle.h"
#include "support/course_texts.h"
#include "support/files.h"

namespace tarvel {

namespace {

constexpr double theta_of_before = 77.0;

struct index_answer {
  course_answer answer = course_answer::here;
  std::string link;
  std::string message;  // empty for success
  double theta = 0.0;   // degrees
  bool has_pond = false;
};

index_answer read(const std::string &text, const char *swoop_file) {
  const file_handle stream = open_bytes(text);
  course result;
  result.theta = theta_of_before;
  course_link link;
  error_slot error = "left over";
  const course_answer answer = read_course(stream.get(), "index.txt", swoop_file, result, link, &error);
  return {answer, link.path, error == nullptr ? "" : error, result.theta, result.pond.has_value()};
}

struct index_case {
  const char *name;
  std::string text;
  const char *swoop_file;
  const char *link;
  const char *message = "";  // a failure's
};

const index_case index_cases[] = {
    {"a prefix of the name", "12-30 - one.txt\n", "12-30-05.csv", "one.txt"},
    {"the whole name", "12-30-05.csv - one.txt\n", "12-30-05.csv", "one.txt"},
    {"one character", "1 - one.txt\n", "12-30-05.csv", "one.txt"},
    {"longer than the name", "12-30-05.csv2 - one.txt\n", "12-30-05.csv", nullptr, "failed to parse index.txt"},
    {"the middle of a name", "30 - one.txt\n", "12-30-05.csv", nullptr, "failed to parse index.txt"},
    {"the folder belongs to the name", "2024/12 - one.txt\n", "2024/12-30.csv", "one.txt"},
    {"a name in a folder", "12 - one.txt\n", "2024/12-30.csv", nullptr, "failed to parse index.txt"},
    {"a digit at either end: 0", "0 - one.txt\n", "01.csv", "one.txt"},
    {"a digit at either end: 9", "9 - one.txt\n", "91.csv", "one.txt"},
    {"every name", "* - two.txt\n", "run.csv", "two.txt"},
    {"a star is no pattern", "*.csv - one.txt\n* - two.txt\n", "run.csv", "two.txt"},
    {"a star as a prefix", "*.csv - one.txt\n* - two.txt\n", "*.csv", "one.txt"},
    {"the first of two matches", "12 - one.txt\n12-30 - two.txt\n", "12-30-05.csv", "one.txt"},
    {"the second entry", "11 - one.txt\n12-30 - two.txt\n", "12-30-05.csv", "two.txt"},
    {"a file with a blank", "* - three and more.txt\n", "run.csv", "three and more.txt"},
    {"quotes", "* - \"three and more.txt\"\n", "run.csv", "three and more.txt"},
    {"quotes round a plain name", "* - \"one.txt\"\n", "run.csv", "one.txt"},
    {"a leading quote", "* - \"one.txt\n", "run.csv", "one.txt"},
    {"a trailing quote", "* - one.txt\"\n", "run.csv", "one.txt"},
    {"two pairs of quotes", "* - \"\"one.txt\"\"\n", "run.csv", "\"one.txt\""},
    {"quotes round nothing", "* - \"\"\n", "run.csv", ""},
    {"one quote", "* - \"\n", "run.csv", ""},
    {"a carriage return", "* - one.txt\r\n", "run.csv", "one.txt"},
    {"no newline", "* - one.txt", "run.csv", "one.txt"},
    {"more blanks", "*   -    one.txt\n", "run.csv", "one.txt"},
    {"a blank behind the target", "* - one.txt \n", "run.csv", "one.txt "},
    {"no dash", "* one.txt\n", "run.csv", nullptr, "failed to parse index.txt"},
    {"a dash at the name", "*- one.txt\n", "run.csv", nullptr, "failed to parse index.txt"},
    {"no target", "* - \n", "run.csv", nullptr, "failed to parse index.txt"},
    {"no target for another run", "5 - \n" + unit_rows, "run.csv", nullptr, "failed to parse index.txt"},
    {"a star alone", "*\n", "run.csv", nullptr, "failed to parse index.txt"},
    {"a file that is not there", "* - gone.txt\n", "run.csv", "gone.txt"},
    {"a match behind rows of its own", unit_rows + "theta = 9\n(1, 2),\n* - one.txt\n", "run.csv", "one.txt"},
    {"nothing behind a match is read", "* - one.txt\nwords\n", "run.csv", "one.txt"},
    {"a fault before a match", "words\n* - one.txt\n", "run.csv", nullptr, "invalid line in index.txt"},
    {"a fifth row before a match", unit_rows + "[1, 2, 3, 4]\n* - one.txt\n", "run.csv", nullptr,
     "failed to parse index.txt"},
};

TEST(course_file_index_test, leads_to_the_file_of_the_first_matching_entry) {
  for (const index_case &c : index_cases) {
    SCOPED_TRACE(c.name);
    const index_answer found = read(c.text, c.swoop_file);
    EXPECT_EQ(found.message, c.message);
    EXPECT_EQ(found.answer, c.link != nullptr ? course_answer::elsewhere : course_answer::here);
    if (c.link != nullptr) {
      EXPECT_EQ(found.link, c.link);
    }
    // The target is unchanged when the course is in another file or there is none.
    EXPECT_EQ(found.theta, theta_of_before);
    EXPECT_FALSE(found.has_pond);
  }
}

TEST(course_file_index_test, is_a_course_itself_for_a_run_that_no_entry_matches) {
  const index_answer found = read("5 - one.txt\n" + unit_rows + "theta = 9\n", "run.csv");
  EXPECT_EQ(found.message, "");
  EXPECT_EQ(found.answer, course_answer::here);
  EXPECT_EQ(found.theta, radians_from_degrees(9.0));
}

const index_case no_gate_cases[] = {
    {"nogate", "* - nogate\n", "run.csv", nullptr},
    {"nogate with a carriage return", "* - nogate\r\n", "run.csv", nullptr},
    {"nogate behind rows, pond and theta", unit_rows + "(1, 2),\ntheta = 5\n* - nogate\n", "run.csv", nullptr},
    {"nogate for this run alone", "12 - nogate\n* - one.txt\n", "12-30.csv", nullptr},
};

TEST(course_file_index_test, nogate_leaves_the_run_without_a_course) {
  for (const index_case &c : no_gate_cases) {
    SCOPED_TRACE(c.name);
    const index_answer found = read(c.text, c.swoop_file);
    EXPECT_EQ(found.message, "");
    EXPECT_EQ(found.answer, course_answer::no_gate);
    EXPECT_EQ(found.theta, theta_of_before);
    EXPECT_FALSE(found.has_pond);
  }
}

const index_case not_nogate_cases[] = {
    {"for another run", "13 - nogate\n* - one.txt\n", "12-30.csv", "one.txt"},
    {"in quotes it is a file", "* - \"nogate\"\n", "run.csv", "nogate"},
    {"in capitals it is a file", "* - NOGATE\n", "run.csv", "NOGATE"},
    {"longer it is a file", "* - nogate.txt\n", "run.csv", "nogate.txt"},
    {"shorter it is a file", "* - nogat\n", "run.csv", "nogat"},
};

TEST(course_file_index_test, nogate_is_one_word) {
  for (const index_case &c : not_nogate_cases) {
    SCOPED_TRACE(c.name);
    const index_answer found = read(c.text, c.swoop_file);
    EXPECT_EQ(found.message, "");
    EXPECT_EQ(found.answer, course_answer::elsewhere);
    EXPECT_EQ(found.link, c.link);
  }
}

TEST(course_file_index_test, a_long_entry_is_cut_where_the_line_is) {
  // "* - " and 95 characters fill a line of 99; the rest is a line of its own.
  const std::string name(95, 'n');
  EXPECT_EQ(read("* - " + name + "mmm\n", "run.csv").link, name);
}

}  // namespace

}  // namespace tarvel
