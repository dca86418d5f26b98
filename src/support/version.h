#pragma once

namespace tarvel {

constexpr const char *version = "version 2.23 (August 2, 2026)";

}  // namespace tarvel
