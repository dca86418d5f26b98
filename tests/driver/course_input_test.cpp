#include "driver/course_input.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "driver/file_handle.h"
#include "geo/angle.h"
#include "support/course_texts.h"
#include "support/failing_calls.h"
#include "support/files.h"
#include "support/refusals.h"

namespace tarvel {

namespace {

// The course file of a name: each has its own theta.
struct found_course {
  bool has_course = false;
  bool has_pond = false;
  double theta = 0.0;   // radians
  std::string message;  // empty for success
};

found_course read(const std::string &path, const char *swoop_file) {
  std::optional<course> result(std::in_place);
  result->theta = 77.0;
  error_slot error = "left over";
  read_course_file(path.c_str(), swoop_file, result, &error);
  found_course found;
  found.has_course = result.has_value();
  found.message = error == nullptr ? "" : error;
  if (result) {
    found.has_pond = result->pond.has_value();
    found.theta = result->theta;
  }
  return found;
}

struct chain_case {
  const char *name;
  std::string text;  // of index.txt
  const char *swoop_file;
  double theta;              // of the course that is read, degrees
  const char *message = "";  // a failure's
};

const chain_case chain_cases[] = {
    {"a course", unit_rows + "theta = 9\n", "run.csv", 9.0},
    {"no course", "", "run.csv", 0.0, "failed to parse index.txt"},
    {"words", "words\n", "run.csv", 0.0, "invalid line in index.txt"},
    {"a prefix of the name", "12-30 - one.txt\n", "12-30-05.csv", 1.0},
    {"the folder belongs to the name", "2024/12 - one.txt\n", "2024/12-30.csv", 1.0},
    {"every name", "* - two.txt\n", "run.csv", 2.0},
    {"a file with a blank", "* - three and more.txt\n", "run.csv", 3.0},
    {"quotes", "* - \"three and more.txt\"\n", "run.csv", 3.0},
    {"two pairs of quotes", "* - \"\"one.txt\"\"\n", "run.csv", 0.0, "failed to open file: \"one.txt\""},
    {"quotes round nothing", "* - \"\"\n", "run.csv", 0.0, "failed to open file: "},
    {"a blank behind the name", "* - one.txt \n", "run.csv", 0.0, "failed to open file: one.txt "},
    {"a file that is not there", "* - gone.txt\n", "run.csv", 0.0, "failed to open file: gone.txt"},
    {"a file of no course", "* - empty.txt\n", "run.csv", 0.0, "failed to parse empty.txt"},
    {"a file of words", "* - words.txt\n", "run.csv", 0.0, "invalid line in words.txt"},
    {"no match and rows of its own", "5 - one.txt\n" + unit_rows + "theta = 9\n", "run.csv", 9.0},
    {"a match behind rows and a pond of its own", unit_rows + "theta = 9\n(1, 2),\n* - one.txt\n", "run.csv", 1.0},
    {"nothing behind a match is read", "* - one.txt\nwords\n", "run.csv", 1.0},
    {"an index behind the index", "* - folder/index.txt\n", "12-30-05.csv", 2.0},
    {"an index behind the index, for another run", "* - folder/index.txt\n", "13.csv", 0.0,
     "failed to parse folder/index.txt"},
};

// one.txt, two.txt and so on have theta 1, 2 and so on, and no pond.
void write_courses() {
  write_text("one.txt", unit_rows + "theta = 1\n");
  write_text("two.txt", unit_rows + "theta = 2\n");
  write_text("three and more.txt", unit_rows + "theta = 3\n");
  write_text("empty.txt", "");
  write_text("words.txt", "words\n");
  std::filesystem::create_directory("folder");
  write_text("folder/index.txt", "12 - two.txt\n");  // opened from the working folder, not from this one
  write_text("folder/two.txt", unit_rows + "theta = 22\n");
}

TEST(course_input_test, finds_the_course_where_the_names_lead) {
  const temp_dir folder;
  write_courses();
  for (const chain_case &c : chain_cases) {
    SCOPED_TRACE(c.name);
    write_text("index.txt", c.text);
    const found_course found = read("index.txt", c.swoop_file);
    EXPECT_EQ(found.message, c.message);
    EXPECT_EQ(found.theta, radians_from_degrees(c.theta));
    EXPECT_EQ(found.has_course, found.message.empty());
    EXPECT_FALSE(found.has_pond);
  }
}

const chain_case no_gate_cases[] = {
    {"nogate", "* - nogate\n", "run.csv", 0.0},
    {"nogate behind rows, pond and theta", unit_rows + "(1, 2),\ntheta = 5\n* - nogate\n", "run.csv", 0.0},
    {"nogate behind another index", "* - no.txt\n", "run.csv", 0.0},
};

TEST(course_input_test, finds_none_for_a_run_without_a_gate) {
  const temp_dir folder;
  write_courses();
  write_text("no.txt", unit_rows + "* - nogate\n");
  for (const chain_case &c : no_gate_cases) {
    SCOPED_TRACE(c.name);
    write_text("index.txt", c.text);
    const found_course found = read("index.txt", c.swoop_file);
    EXPECT_EQ(found.message, "");
    EXPECT_FALSE(found.has_course);
  }
}

// index.txt refers to 1.txt, that to 2.txt, and so on; the last one is a course with theta 8.
void write_chain(int further) {
  std::string path = "index.txt";
  for (int i = 1; i <= further; ++i) {
    const std::string next = std::to_string(i) + ".txt";
    write_text(path, "* - " + next + "\n");
    path = next;
  }
  write_text(path, unit_rows + "theta = 8\n(1, 2),\n");
}

TEST(course_input_test, leads_through_64_further_files) {
  for (const int further : {1, 2, 63, 64}) {
    SCOPED_TRACE(further);
    const temp_dir folder;
    write_chain(further);
    const found_course found = read("index.txt", "run.csv");
    EXPECT_EQ(found.message, "");
    EXPECT_TRUE(found.has_course);
    EXPECT_TRUE(found.has_pond);
    EXPECT_EQ(found.theta, radians_from_degrees(8.0));
  }
}

TEST(course_input_test, does_not_open_the_65th) {
  for (const int further : {65, 66}) {
    SCOPED_TRACE(further);
    const temp_dir folder;
    write_chain(further);
    const found_course found = read("index.txt", "run.csv");
    EXPECT_EQ(found.message, "failed to open file: 65.txt");
    EXPECT_FALSE(found.has_course);
  }
}

TEST(course_input_test, an_index_that_names_itself_ends) {
  const temp_dir folder;
  write_text("index.txt", "* - index.txt\n");
  EXPECT_EQ(read("index.txt", "run.csv").message, "failed to open file: index.txt");
  write_text("a.txt", "* - b.txt\n");
  write_text("b.txt", "* - a.txt\n");
  // The 65th further file of a, b, a, b, ... is a b.
  EXPECT_EQ(read("a.txt", "run.csv").message, "failed to open file: b.txt");
}

// The first file refers to the second and so on, and the last one to one of the others.
TEST(course_input_test, a_ring_ends_with_the_65th_name) {
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
      const found_course found = read("0.txt", "run.csv");
      EXPECT_EQ(found.message, "failed to open file: " + std::to_string(last) + ".txt");
      EXPECT_FALSE(found.has_course);
    }
  }
}

TEST(course_input_test, opens_the_longest_name_that_a_line_holds) {
  const temp_dir folder;
  // "* - " and 95 characters fill a line of 99; the rest is a line of its own.
  const std::string name(95, 'n');
  write_text(name, unit_rows + "theta = 4\n");
  write_text("index.txt", "* - " + name + "mmm\n");
  EXPECT_EQ(read("index.txt", "run.csv").theta, radians_from_degrees(4.0));
}

TEST(course_input_test, names_the_file_that_cannot_be_opened) {
  const temp_dir folder;
  EXPECT_EQ(read("matrix.txt", "run.csv").message, "failed to open file: matrix.txt");
  EXPECT_EQ(read("missing/gate.txt", "run.csv").message, "failed to open file: missing/gate.txt");
  EXPECT_EQ(read(".", "run.csv").message, "failed to parse .");  // opens, but has no lines
  write_text("gate.txt", unit_rows);
  {
    const failing_call disk(c_call::fstat, 0, EIO);
    EXPECT_EQ(read("gate.txt", "run.csv").message, "failed to open file: gate.txt");
  }
  const failing_call disk(c_call::fdopen, 0, ENOMEM);
  EXPECT_EQ(read("gate.txt", "run.csv").message, "failed to open file: gate.txt");
}

TEST(course_input_test, protects_a_course_that_cannot_be_opened) {
  const temp_dir folder;
  write_text("run.kml", unit_rows);
  write_text("matrix.txt", "* - run.kml\n");
  {
    const failing_call disk(c_call::fdopen, 1, EMFILE);
    EXPECT_EQ(read("matrix.txt", "run.csv").message, "failed to open file: run.kml");
  }
  error_slot error = nullptr;
  EXPECT_NE(open_output("run.kml", &error), nullptr);
  EXPECT_STREQ(error, nullptr);
  EXPECT_EQ(read_text("run.kml.orig"), unit_rows);
}

struct file_case {
  const char *name;
  const char *run;
  const char *file;
  bool has_course;
};

// An entry for another run is parsed, too.
const file_case file_cases[] = {
    {"an entry leads on", "11-42.csv", "south.txt", true},
    {"an entry leads to an index that leads on", "12-00.csv", "rows.txt", true},
    {"the rows behind the entries", "run.csv", "matrix.txt", true},
    {"no gate", "14-37.csv", "matrix.txt", false},
};

TEST(course_input_test, tells_the_file_that_the_course_is_in) {
  const temp_dir folder;
  write_text("matrix.txt", "11 - south.txt\n12 - \"second.txt\"\n14 - nogate\n15 - east.txt\n" + unit_rows);
  write_text("second.txt", "* - rows.txt\n");
  write_text("south.txt", unit_rows);
  write_text("rows.txt", unit_rows);
  for (const file_case &c : file_cases) {
    SCOPED_TRACE(c.name);
    std::optional<course> found;
    course_link file;
    error_slot error = nullptr;
    read_course_file("matrix.txt", c.run, found, file, &error);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(found.has_value(), c.has_course);
    EXPECT_STREQ(file.path, c.file);
  }
}

TEST(course_input_test, tells_the_file_that_failed) {
  const temp_dir folder;
  write_text("matrix.txt", "* - south.txt\n");
  std::optional<course> found;
  course_link file;
  error_slot error = nullptr;
  read_course_file("matrix.txt", "run.csv", found, file, &error);
  EXPECT_STREQ(error, "failed to open file: south.txt");
  EXPECT_STREQ(file.path, "south.txt");
}

// The kernel does not let the process read its memory at 0.
TEST(course_input_test, names_the_file_that_cannot_be_read) {
  const temp_dir folder;
  std::filesystem::create_symlink("/proc/self/mem", "disk.txt");
  const found_course found = read("disk.txt", "run.csv");
  EXPECT_EQ(found.message, "failed to read file: disk.txt");
  EXPECT_FALSE(found.has_course);
  write_text("further.txt", "* - disk.txt\n");
  const found_course further = read("further.txt", "run.csv");
  EXPECT_EQ(further.message, "failed to read file: disk.txt");
  EXPECT_FALSE(further.has_course);
}

TEST(course_input_test, every_refused_request_leaves_no_course) {
  const temp_dir folder;
  write_text("matrix.txt", "* - gate.txt\n");
  std::string pond;
  for (int i = 1; i <= 600; ++i) pond += "(" + std::to_string(i) + ", 1.0),\n";
  write_text("gate.txt", pond + unit_rows);
  const auto attempt = [](std::size_t granted) {
    std::optional<course> result(std::in_place);
    error_slot error = nullptr;
    const allocation_limit limit(granted);
    read_course_file("matrix.txt", "run.csv", result, &error);
    EXPECT_EQ(result.has_value(), error == nullptr);
    return error;
  };
  std::vector<std::string> messages = messages_of_refusals(attempt);
  // Absent where the files have the inodes of inputs that earlier tests have removed.
  std::erase(messages, "strdup() failed");
  EXPECT_EQ(messages, std::vector<std::string>{"failed to realloc pond array"});
}

}  // namespace

}  // namespace tarvel
