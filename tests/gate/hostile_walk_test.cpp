// Damaged walks and finished courses: every cut and every bit, taken through the whole survey and into the course file.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "container/tvl_file.h"
#include "gate/gate_open.h"
#include "geo/course_frame.h"
#include "support/files.h"
#include "support/hand_made_walk.h"

namespace tarvel {
namespace {

// A file in memory that can be opened by name. One on a disk would be flushed for each of the many damaged versions.
class memory_file {
 public:
  memory_file() : descriptor_(memfd_create("gate", 0)), path_("/proc/self/fd/" + std::to_string(descriptor_)) {}
  ~memory_file() { close(descriptor_); }
  memory_file(const memory_file &) = delete;
  memory_file &operator=(const memory_file &) = delete;

  void write(std::string_view bytes) const {
    ASSERT_EQ(ftruncate(descriptor_, 0), 0);
    ASSERT_EQ(pwrite(descriptor_, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  }
  [[nodiscard]] const char *path() const { return path_.c_str(); }

 private:
  int descriptor_;
  std::string path_;
};

// A course, or a message; a pond that ends.
void expect_answer(const memory_file &file, std::string_view bytes) {
  file.write(bytes);
  owned_text log;
  error_slot error = nullptr;
  const owned_record<gate> course = gate_open(file.path(), &log, &error);
  ASSERT_EQ(course == nullptr, error != nullptr);
  if (error != nullptr) {
    EXPECT_STRNE(error, "");
    return;
  }
  EXPECT_EQ(course->track == nullptr, course->track_len == 0);
  EXPECT_LE(pond_points(course->pond.get()).size(), bytes.size());
  static_cast<void>(entry_gate_ends(course->matrix));
}

void expect_answers_to_damage(const std::string &bytes) {
  const memory_file file;
  for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
    SCOPED_TRACE(cut);
    expect_answer(file, std::string_view(bytes).substr(0, cut));
  }
  for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
    SCOPED_TRACE(bit);
    std::string damaged = bytes;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
    expect_answer(file, damaged);
  }
}

TEST(hostile_walk_test, answers_every_cut_and_every_flipped_bit_of_a_walk) {
  const temp_dir folder;
  walk_marks marks;
  marks.exit_mark = {{52.0, 40.0, 0.0}};
  const std::string walk = walk_text(sparse_walk(marks).samples);
  write_text("gate.csv", walk);
  error_slot error = nullptr;
  owned_text log;
  ASSERT_NE(gate_open("gate.csv", &log, &error), nullptr) << error;
  const std::string warnings = printed_by([&] { expect_answers_to_damage(walk); });
  // Damaged field names are warned of on the way.
  EXPECT_NE(warnings.find("WARNING: unknown field ("), std::string::npos);
}

TEST(hostile_walk_test, answers_every_cut_and_every_flipped_bit_of_a_finished_course) {
  const temp_dir folder;
  gate_file_data data;
  data.matrix = {
      {{0.5, -0.5, 0.5, 9551.6}, {0.5, 0.5, 0.5, 18382.0}, {0.6, 0.0, 0.8, -6364840.0}, {0.0, 0.0, 0.0, 1.0}}};
  data.theta = -0.0872;
  ASSERT_TRUE(try_zeroed(data.pond, 4));
  data.pond[0] = {81.3, -2.3, 0.0};
  data.pond[1] = {80.9, -0.7, 0.0};
  data.pond[2] = data.pond[0];
  error_slot error = nullptr;
  write_gate_file("course.tvl", data, &error);
  ASSERT_STREQ(error, nullptr);
  const std::string bytes = read_text("course.tvl");
  ASSERT_EQ(bytes.size(), 186U + 3 * 16);
  // A damaged container is tried as text.
  const std::string warnings = printed_by([&] { expect_answers_to_damage(bytes); });
  EXPECT_NE(warnings.find("WARNING: unknown field (uTVL)\n"), std::string::npos);
}

}  // namespace
}  // namespace tarvel
