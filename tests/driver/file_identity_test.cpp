#include "driver/file_identity.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/files.h"

namespace tarvel {
namespace {

TEST(file_identity_test, tells_whether_two_names_lead_to_one_file) {
  const temp_dir dir;
  write_text("matrix.txt", "course");
  write_text("copy.txt", "course");
  ASSERT_EQ(link("matrix.txt", "hard.txt"), 0);
  ASSERT_EQ(symlink("matrix.txt", "soft.txt"), 0);
  ASSERT_EQ(symlink("nowhere", "dangling.txt"), 0);
  error_slot error = nullptr;
  EXPECT_TRUE(is_same_file("matrix.txt", "matrix.txt", &error));
  EXPECT_TRUE(is_same_file("matrix.txt", "./matrix.txt", &error));
  EXPECT_TRUE(is_same_file("matrix.txt", "hard.txt", &error));
  EXPECT_TRUE(is_same_file("soft.txt", "hard.txt", &error));
  EXPECT_FALSE(is_same_file("matrix.txt", "copy.txt", &error));
  EXPECT_FALSE(is_same_file("matrix.txt", "nowhere.txt", &error));
  EXPECT_FALSE(is_same_file("nowhere.txt", "matrix.txt", &error));
  EXPECT_FALSE(is_same_file("nowhere.txt", "nowhere.txt", &error));
  EXPECT_FALSE(is_same_file("dangling.txt", "dangling.txt", &error));
  EXPECT_EQ(error, nullptr);
}

}  // namespace
}  // namespace tarvel
