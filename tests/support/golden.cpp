#include "support/golden.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "support/files.h"

namespace tarvel {

namespace {

// The line that holds this position, in quotes; of a long one what is near the position.
std::string line_at(std::string_view text, std::size_t position) {
  constexpr std::size_t near = 80;
  std::size_t begin = text.substr(0, position).rfind('\n') + 1;  // npos + 1 is 0
  if (begin >= text.size()) return "(the text ends)";
  const std::size_t end = std::min({text.find('\n', position), text.size() - 1, position + near}) + 1;
  begin = std::max(begin, position - std::min(position, near));
  return testing::PrintToString(std::string(text.substr(begin, end - begin)));
}

}  // namespace

testing::AssertionResult same_text(std::string_view actual, std::string_view expected) {
  if (actual == expected) return testing::AssertionSuccess();
  const auto differs = std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end()).first;
  const auto position = static_cast<std::size_t>(differs - actual.begin());
  return testing::AssertionFailure() << "line " << std::count(actual.begin(), differs, '\n') + 1 << " is "
                                     << line_at(actual, position) << "\n  instead of " << line_at(expected, position)
                                     << "\n";
}

void expect_golden(const std::string &name, std::string_view text) {
  const std::string_view suite = testing::UnitTest::GetInstance()->current_test_info()->test_suite_name();
  EXPECT_TRUE(suite.ends_with("_golden_test")) << "update_golden does not run " << suite;
  const std::string path = source_dir() + "/tests/golden/" + name;
  if (std::getenv("TARVEL_UPDATE_GOLDEN") != nullptr) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    write_text(path, text);
    return;
  }
  SCOPED_TRACE(name);
  EXPECT_TRUE(same_text(text, read_text(path)));
}

}  // namespace tarvel
