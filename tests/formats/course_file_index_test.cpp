#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "formats/course_file.h"
#include "support/files.h"

namespace tarvel {

namespace {

const std::string rows =
    "[1, 0, 0, 0]\n"
    "[0, 1, 0, 0]\n"
    "[0, 0, 1, 0]\n"
    "[0, 0, 0, 1]\n";

// What an index comes to: theta tells the course files apart.
struct outcome {
  bool has_matrix = false;
  bool has_pond = false;
  double theta = 0.0;
  std::string message;  // empty for success
  bool is_unread = false;
};

outcome read(const std::string &path, const char *swoop_file) {
  course result;
  result.theta = 77.0;
  error_slot error = "left over";
  read_course_file(path.c_str(), swoop_file, result, &error);
  return {result.matrix != nullptr, result.pond != nullptr, result.theta, error == nullptr ? "" : error,
          result.is_unread};
}

struct index_case {
  const char *name;
  std::string text;
  const char *swoop_file;
  double theta;              // of the course that is read
  const char *message = "";  // a failure's
};

const index_case index_cases[] = {
    {"a prefix of the name", "12-30 - one.txt\n", "12-30-05.csv", 1.0},
    {"the whole name", "12-30-05.csv - one.txt\n", "12-30-05.csv", 1.0},
    {"one character", "1 - one.txt\n", "12-30-05.csv", 1.0},
    {"longer than the name", "12-30-05.csv2 - one.txt\n", "12-30-05.csv", 0.0, "failed to parse index.txt"},
    {"the middle of a name", "30 - one.txt\n", "12-30-05.csv", 0.0, "failed to parse index.txt"},
    {"the folder belongs to the name", "2024/12 - one.txt\n", "2024/12-30.csv", 1.0},
    {"a name in a folder", "12 - one.txt\n", "2024/12-30.csv", 0.0, "failed to parse index.txt"},
    {"a digit at either end: 0", "0 - one.txt\n", "01.csv", 1.0},
    {"a digit at either end: 9", "9 - one.txt\n", "91.csv", 1.0},
    {"every name", "* - two.txt\n", "run.csv", 2.0},
    {"a star is no pattern", "*.csv - one.txt\n* - two.txt\n", "run.csv", 2.0},
    {"a star as a prefix", "*.csv - one.txt\n* - two.txt\n", "*.csv", 1.0},
    {"the first of two matches", "12 - one.txt\n12-30 - two.txt\n", "12-30-05.csv", 1.0},
    {"the second entry", "11 - one.txt\n12-30 - two.txt\n", "12-30-05.csv", 2.0},
    {"a file with a blank", "* - three and more.txt\n", "run.csv", 3.0},
    {"quotes", "* - \"three and more.txt\"\n", "run.csv", 3.0},
    {"quotes round a plain name", "* - \"one.txt\"\n", "run.csv", 1.0},
    {"a leading quote", "* - \"one.txt\n", "run.csv", 1.0},
    {"a trailing quote", "* - one.txt\"\n", "run.csv", 1.0},
    {"two pairs of quotes", "* - \"\"one.txt\"\"\n", "run.csv", 0.0, "failed to open file: \"one.txt\""},
    {"quotes round nothing", "* - \"\"\n", "run.csv", 0.0, "failed to open file: "},
    {"one quote", "* - \"\n", "run.csv", 0.0, "failed to open file: "},
    {"a carriage return", "* - one.txt\r\n", "run.csv", 1.0},
    {"no newline", "* - one.txt", "run.csv", 1.0},
    {"more blanks", "*   -    one.txt\n", "run.csv", 1.0},
    {"a blank behind the target", "* - one.txt \n", "run.csv", 0.0, "failed to open file: one.txt "},
    {"no dash", "* one.txt\n", "run.csv", 0.0, "failed to parse index.txt"},
    {"a dash at the name", "*- one.txt\n", "run.csv", 0.0, "failed to parse index.txt"},
    {"no target", "* - \n", "run.csv", 0.0, "failed to parse index.txt"},
    {"no target for another run", "5 - \n" + rows, "run.csv", 0.0, "failed to parse index.txt"},
    {"a star alone", "*\n", "run.csv", 0.0, "failed to parse index.txt"},
    {"a file that is not there", "* - gone.txt\n", "run.csv", 0.0, "failed to open file: gone.txt"},
    {"a file of no course", "* - empty.txt\n", "run.csv", 0.0, "failed to parse empty.txt"},
    {"a file of words", "* - words.txt\n", "run.csv", 0.0, "invalid line in words.txt"},
    {"no match and rows of its own", "5 - one.txt\n" + rows + "theta = 9\n", "run.csv", 9.0},
    {"a match behind rows of its own", rows + "theta = 9\n(1, 2),\n* - one.txt\n", "run.csv", 1.0},
    {"nothing behind a match is read", "* - one.txt\nwords\n", "run.csv", 1.0},
    {"a fault before a match", "words\n* - one.txt\n", "run.csv", 0.0, "invalid line in index.txt"},
    {"a fifth row before a match", rows + "[1, 2, 3, 4]\n* - one.txt\n", "run.csv", 0.0, "failed to parse index.txt"},
    {"an index behind the index", "* - folder/index.txt\n", "12-30-05.csv", 2.0},
    {"an index behind the index, for another run", "* - folder/index.txt\n", "13.csv", 0.0,
     "failed to parse folder/index.txt"},
};

// one.txt, two.txt and so on have theta 1, 2 and so on, and no pond.
void write_courses() {
  write_text("one.txt", rows + "theta = 1\n");
  write_text("two.txt", rows + "theta = 2\n");
  write_text("three and more.txt", rows + "theta = 3\n");
  write_text("empty.txt", "");
  write_text("words.txt", "words\n");
  std::filesystem::create_directory("folder");
  write_text("folder/index.txt", "12 - two.txt\n");  // opened from the working folder, not from this one
  write_text("folder/two.txt", rows + "theta = 22\n");
}

TEST(course_file_index_test, leads_to_the_course_of_the_first_matching_entry) {
  const temp_dir folder;
  write_courses();
  for (const index_case &c : index_cases) {
    SCOPED_TRACE(c.name);
    write_text("index.txt", c.text);
    const outcome found = read("index.txt", c.swoop_file);
    EXPECT_EQ(found.message, c.message);
    EXPECT_EQ(found.theta, c.theta);
    EXPECT_EQ(found.has_matrix, found.message.empty());
    EXPECT_FALSE(found.has_pond);
  }
}

const index_case no_gate_cases[] = {
    {"nogate", "* - nogate\n", "run.csv", 0.0},
    {"nogate with a carriage return", "* - nogate\r\n", "run.csv", 0.0},
    {"nogate behind rows, pond and theta", rows + "(1, 2),\ntheta = 5\n* - nogate\n", "run.csv", 0.0},
    {"nogate for this run alone", "12 - nogate\n* - one.txt\n", "12-30.csv", 0.0},
    {"nogate behind another index", "* - no.txt\n", "run.csv", 0.0},
};

TEST(course_file_index_test, nogate_leaves_the_run_without_a_course) {
  const temp_dir folder;
  write_courses();
  write_text("no.txt", rows + "* - nogate\n");
  for (const index_case &c : no_gate_cases) {
    SCOPED_TRACE(c.name);
    write_text("index.txt", c.text);
    const outcome found = read("index.txt", c.swoop_file);
    EXPECT_EQ(found.message, "");
    EXPECT_FALSE(found.has_matrix);
    EXPECT_FALSE(found.has_pond);
    EXPECT_EQ(found.theta, 0.0);
  }
}

const index_case not_nogate_cases[] = {
    {"for another run", "13 - nogate\n* - one.txt\n", "12-30.csv", 1.0},
    {"in quotes it is a file", "* - \"nogate\"\n", "run.csv", 0.0, "failed to open file: nogate"},
    {"in capitals it is a file", "* - NOGATE\n", "run.csv", 0.0, "failed to open file: NOGATE"},
    {"longer it is a file", "* - nogate.txt\n", "run.csv", 0.0, "failed to open file: nogate.txt"},
    {"shorter it is a file", "* - nogat\n", "run.csv", 0.0, "failed to open file: nogat"},
};

TEST(course_file_index_test, nogate_is_one_word) {
  const temp_dir folder;
  write_courses();
  for (const index_case &c : not_nogate_cases) {
    SCOPED_TRACE(c.name);
    write_text("index.txt", c.text);
    const outcome found = read("index.txt", c.swoop_file);
    EXPECT_EQ(found.message, c.message);
    EXPECT_EQ(found.theta, c.theta);
  }
}

// index.txt leads to 1.txt, that to 2.txt, and so on; the last one is a course with theta 8.
void write_chain(int further) {
  std::string path = "index.txt";
  for (int i = 1; i <= further; ++i) {
    const std::string next = std::to_string(i) + ".txt";
    write_text(path, "* - " + next + "\n");
    path = next;
  }
  write_text(path, rows + "theta = 8\n(1, 2),\n");
}

TEST(course_file_index_test, leads_through_64_further_files) {
  for (const int further : {1, 2, 63, 64}) {
    SCOPED_TRACE(further);
    const temp_dir folder;
    write_chain(further);
    const outcome found = read("index.txt", "run.csv");
    EXPECT_EQ(found.message, "");
    EXPECT_TRUE(found.has_matrix);
    EXPECT_TRUE(found.has_pond);
    EXPECT_EQ(found.theta, 8.0);
  }
}

TEST(course_file_index_test, does_not_open_the_65th) {
  for (const int further : {65, 66}) {
    SCOPED_TRACE(further);
    const temp_dir folder;
    write_chain(further);
    const outcome found = read("index.txt", "run.csv");
    EXPECT_EQ(found.message, "failed to open file: 65.txt");
    EXPECT_FALSE(found.has_matrix);
    EXPECT_EQ(found.theta, 0.0);
    EXPECT_TRUE(found.is_unread);
  }
  const temp_dir folder;
  write_chain(65);
  std::filesystem::remove("65.txt");
  EXPECT_FALSE(read("index.txt", "run.csv").is_unread);
}

TEST(course_file_index_test, an_index_that_names_itself_ends) {
  const temp_dir folder;
  write_text("index.txt", "* - index.txt\n");
  EXPECT_EQ(read("index.txt", "run.csv").message, "failed to open file: index.txt");
  write_text("a.txt", "* - b.txt\n");
  write_text("b.txt", "* - a.txt\n");
  // The 65th further file of a, b, a, b, ... is a b.
  EXPECT_EQ(read("a.txt", "run.csv").message, "failed to open file: b.txt");
}

// The first file leads to the second and so on, and the last back to one of them. The message names the 65th further
// file, as if all of them had been read.
TEST(course_file_index_test, a_ring_ends_with_the_65th_name) {
  for (int files = 1; files <= 66; ++files) {
    const temp_dir folder;
    for (int i = 0; i + 1 < files; ++i) {
      write_text(std::to_string(i) + ".txt", "* - " + std::to_string(i + 1) + ".txt\n");
    }
    for (int back = 0; back < files; back += files < 8 ? 1 : 7) {
      SCOPED_TRACE(std::to_string(files) + " files, back to " + std::to_string(back));
      write_text(std::to_string(files - 1) + ".txt", "* - " + std::to_string(back) + ".txt\n");
      int last = 0;
      for (int further = 1; further <= 65; ++further) last = last + 1 == files ? back : last + 1;
      EXPECT_EQ(read("0.txt", "run.csv").message, "failed to open file: " + std::to_string(last) + ".txt");
    }
  }
}

TEST(course_file_index_test, a_long_entry_is_cut_where_the_line_is) {
  const temp_dir folder;
  // "* - " and 95 characters fill a line of 99; the rest is a line of its own.
  const std::string name(95, 'n');
  write_text(name, rows + "theta = 4\n");
  write_text("index.txt", "* - " + name + "mmm\n");
  EXPECT_EQ(read("index.txt", "run.csv").theta, 4.0);
}

}  // namespace

}  // namespace tarvel
