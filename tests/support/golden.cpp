#include "support/golden.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "support/files.h"

namespace tarvel {

void expect_golden(const std::string &name, std::string_view text) {
  const std::string_view suite = testing::UnitTest::GetInstance()->current_test_info()->test_suite_name();
  EXPECT_TRUE(suite.ends_with("_golden_test")) << "update_golden does not run " << suite;
  const std::string path = source_dir() + "/tests/golden/" + name;
  if (std::getenv("TARVEL_UPDATE_GOLDEN") != nullptr) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    write_text(path, text);
    return;
  }
  EXPECT_EQ(read_text(path), text) << "differs from " << name;
}

}  // namespace tarvel
