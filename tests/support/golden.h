// Golden files: whole outputs that were checked once. A test fails when one changes.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace tarvel {

// Fails with the first line that differs.
[[nodiscard]] testing::AssertionResult same_text(std::string_view actual, std::string_view expected);

// Compares the text with tests/golden/NAME. The target update_golden writes the file instead; its diff is reviewed like
// code. It runs only suites called ..._golden_test, of the golden_tests in CMakeLists.txt, so only these call this
// function.
void expect_golden(const std::string &name, std::string_view text);

}  // namespace tarvel
