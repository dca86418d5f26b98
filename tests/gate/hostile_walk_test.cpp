// Damaged walks and courses: every cut and every changed bit, through the whole survey to the course file.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "geo/course_frame.h"
#include "support/container_bytes.h"
#include "support/gate_of_bytes.h"
#include "support/hand_made_walk.h"
#include "support/pond_of.h"

namespace tarvel {
namespace {

// A course, or a message; a pond of no more points than there are bytes.
void expect_answer(std::string_view bytes, text_buffer &warnings) {
  owned_text log;
  error_slot error = nullptr;
  const owned_record<gate> found = gate_of_bytes(bytes, &log, &error, &warnings);
  ASSERT_EQ(found == nullptr, error != nullptr);
  if (error != nullptr) {
    EXPECT_STRNE(error, "");
    return;
  }
  EXPECT_EQ(found->track == nullptr, found->track_len == 0);
  EXPECT_LE(found->course.pond ? found->course.pond->count : 0, bytes.size());
  static_cast<void>(entry_gate_ends(found->course.matrix));
}

// Returns the warnings.
std::string expect_answers_to_damage(const std::string &bytes) {
  warning_buffer warnings;
  for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
    SCOPED_TRACE(cut);
    expect_answer(std::string_view(bytes).substr(0, cut), warnings);
  }
  for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
    SCOPED_TRACE(bit);
    std::string damaged = bytes;
    damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
    expect_answer(damaged, warnings);
  }
  return warnings.text();
}

TEST(hostile_walk_test, answers_every_cut_and_every_flipped_bit_of_a_walk) {
  walk_marks marks;
  marks.exit_mark = {{52.0, 40.0, 0.0}};
  const std::string walk = walk_text(sparse_walk(marks).samples);
  error_slot error = nullptr;
  owned_text log;
  ASSERT_NE(gate_of_bytes(walk, &log, &error), nullptr) << error;
  const std::string warnings = expect_answers_to_damage(walk);
  // Damaged field names give warnings.
  EXPECT_NE(warnings.find("WARNING: unknown field ("), std::string::npos);
}

TEST(hostile_walk_test, answers_every_cut_and_every_flipped_bit_of_a_finished_course) {
  course finished = course_with(-0.0872, {{81.3, -2.3, 0.0}, {80.9, -0.7, 0.0}, {81.3, -2.3, 0.0}});
  finished.matrix = {
      {{0.5, -0.5, 0.5, 9551.6}, {0.5, 0.5, 0.5, 18382.0}, {0.6, 0.0, 0.8, -6364840.0}, {0.0, 0.0, 0.0, 1.0}}};
  const std::string bytes = gate_bytes(finished);
  ASSERT_EQ(bytes.size(), 186U + 3 * 16);
  // A damaged container is tried as text.
  const std::string warnings = expect_answers_to_damage(bytes);
  EXPECT_NE(warnings.find("WARNING: unknown field (uTVL)\n"), std::string::npos);
}

}  // namespace
}  // namespace tarvel
