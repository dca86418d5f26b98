// Golden files: whole outputs that were checked once and must not change unnoticed.
#pragma once

#include <string>
#include <string_view>

namespace tarvel {

// Holds the text against tests/golden/NAME. The target update_golden writes the file instead; the diff is reviewed like
// code. It runs the suites called ..._golden_test, from which alone this is called, of the golden_tests in CMakeLists.txt.
void expect_golden(const std::string &name, std::string_view text);

}  // namespace tarvel
