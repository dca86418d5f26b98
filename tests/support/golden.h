// Golden files: whole outputs that were checked once and must not change unnoticed.
#pragma once

#include <string>
#include <string_view>

namespace tarvel {

// Holds the text against tests/golden/NAME. With TARVEL_UPDATE_GOLDEN set it writes the file instead; the diff is
// reviewed like code.
void expect_golden(const std::string &name, std::string_view text);

}  // namespace tarvel
