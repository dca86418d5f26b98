// Golden files: whole outputs that were checked once. A test fails when one changes.
#pragma once

#include <string>
#include <string_view>

namespace tarvel {

// Compares the text with tests/golden/NAME. The target update_golden writes the file instead; its diff is reviewed like
// code. It runs only suites called ..._golden_test, of the golden_tests in CMakeLists.txt, so only these call this
// function.
void expect_golden(const std::string &name, std::string_view text);

}  // namespace tarvel
