#include <gtest/gtest.h>

#include <optional>
#include <span>
#include <string>

#include "driver/course_input.h"
#include "formats/course_file.h"
#include "geo/angle.h"
#include "support/man_page.h"

namespace tarvel {
namespace {

std::string display(const std::string &mark) { return display_after(page_source("tarvel-course.5"), mark); }

// Theta of the course that a run of this name has: it identifies the file. 0 for a run without a course.
double theta_for(const char *run) {
  std::optional<course> found;
  error_slot error = nullptr;
  read_course_file("matrix.txt", run, found, &error);
  EXPECT_STREQ(error, nullptr) << run;
  return found ? degrees_from_radians(found->theta) : 0.0;
}

std::string course_with_theta(const std::string &theta) {
  return "[1, 0, 0, 0]\n[0, 1, 0, 0]\n[0, 0, 1, 0]\n[0, 0, 0, 1]\ntheta = " + theta + "\n";
}

error_slot message_for(const std::string &text) {
  write_text("matrix.txt", text);
  std::optional<course> found;
  error_slot error = nullptr;
  read_course_file("matrix.txt", "11-42.csv", found, &error);
  return error;
}

TEST(course_page_test, the_course_is_that_of_the_examples_with_fewer_points) {
  const temp_dir folder;
  write_text("page.txt", display("course"));
  std::optional<course> shown;
  std::optional<course> example;
  error_slot error = nullptr;
  read_course_file("page.txt", "run.csv", shown, &error);
  ASSERT_STREQ(error, nullptr);
  read_course_file((source_dir() + "/examples/matrix.txt").c_str(), "run.csv", example, &error);
  ASSERT_STREQ(error, nullptr);
  ASSERT_TRUE(shown && example);
  EXPECT_TRUE(shown->matrix == example->matrix);
  EXPECT_EQ(shown->theta, example->theta);
  ASSERT_TRUE(shown->pond);
  const std::span<const vec3> pond = points_of(*shown->pond);
  ASSERT_EQ(pond.size(), 9);
  EXPECT_EQ(pond.front().x, pond.back().x);
  EXPECT_EQ(pond.front().y, pond.back().y);
}

TEST(course_page_test, the_index_selects_the_courses_that_the_page_states) {
  const temp_dir folder;
  write_text("matrix.txt", display("index"));
  write_text("south.txt", course_with_theta("1"));
  write_text("north.txt", course_with_theta("2"));
  EXPECT_DOUBLE_EQ(theta_for("11-42.csv"), 1.0);
  EXPECT_DOUBLE_EQ(theta_for("11-05.csv"), 2.0);
  EXPECT_DOUBLE_EQ(theta_for("09-30.csv"), 1.0);
  EXPECT_DOUBLE_EQ(theta_for("anna.csv"), 1.0);
  // With a folder before its name the run matches only the star.
  EXPECT_DOUBLE_EQ(theta_for("saturday/11-05.csv"), 1.0);

  std::optional<course> none;
  error_slot error = nullptr;
  read_course_file("matrix.txt", "14-37.csv", none, &error);
  EXPECT_STREQ(error, nullptr);
  EXPECT_FALSE(none);
}

TEST(course_page_test, limits_are_as_stated) {
  const temp_dir folder;
  const std::string course_text = course_with_theta("1");
  EXPECT_STREQ(message_for("//" + std::string(97, 'x') + "\n" + course_text), nullptr);
  EXPECT_STREQ(message_for("//" + std::string(98, 'x') + "\n" + course_text), "invalid line in matrix.txt");
  EXPECT_STREQ(message_for("theta = 2" + std::string(90, ' ') + "\n" + course_text), nullptr);
  EXPECT_STREQ(message_for("theta = 2" + std::string(91, ' ') + "\n" + course_text), "invalid line in matrix.txt");
  EXPECT_STREQ(message_for("\r\n" + course_text), "invalid line in matrix.txt");
  EXPECT_STREQ(message_for("* - matrix.txt\n"), "failed to open file: matrix.txt");
}

TEST(course_page_test, what_follows_a_part_that_fits_is_ignored) {
  const temp_dir folder;
  EXPECT_STREQ(message_for("(1, 2) (3, 4)\n(5, 6), and more\n" + course_with_theta("1 degree")), nullptr);
  EXPECT_STREQ(message_for("(1, 2), (3\n" + course_with_theta("1")), "failed to parse matrix.txt");
  EXPECT_STREQ(message_for("[1 , 2, 3, 4]\n"), "failed to parse matrix.txt");
}

}  // namespace
}  // namespace tarvel
