#include "document/failure_code.h"

#include <string_view>

namespace tarvel {

namespace {

struct coded_message {
  std::string_view beginning;
  const char *code;
};

// The first entry with which a message begins gives its code. tarvel-json(5) explains each code.
constexpr coded_message coded_messages[] = {
    // Files.
    {"failed to open file: ", "cannot-open-file"},
    {"failed to read file: ", "cannot-read-file"},
    {"failed to read track", "cannot-read-file"},
    {"failed to read time zone: ", "cannot-read-time-zone"},
    // Tracks.
    {"missing field names", "not-a-track"},
    {"invalid field names", "not-a-track"},
    {"missing field units", "not-a-track"},
    {"line length exceeded size of buffer", "not-a-track"},
    {"missing $ prefix", "not-a-track"},
    {"invalid time field", "bad-time"},
    {"no GPS points found", "empty-track"},
    {"no points found in track", "empty-track"},
    {"failed to read TVL header", "bad-container"},
    {"failed to read section header table entry", "bad-container"},
    {"failed to read swoop ", "bad-container"},
    {"invalid TVL header", "bad-container"},
    {"more/less than one section", "bad-container"},
    {"not a swoop section", "bad-container"},
    {"invalid swoop header", "bad-container"},
    {"incorrect swoop section size", "bad-container"},
    // Courses.
    {"failed to parse ", "bad-course-file"},
    {"invalid line in ", "bad-course-file"},
    {"invalid gate location ", "far-from-course"},
    // Phases.
    {"could not detect flight", "no-flight"},
    {"could not detect dive", "no-dive"},
    {"could not find dive at 100 feet", "no-dive"},
    {"could not detect landing", "no-landing"},
    {"could not detect pattern entry", "no-pattern-entry"},
    {"could not determine swoop heading", "no-swoop"},
    {"did not detect end of motion after swoop", "no-stop"},
    {"could not find rollout", "no-rollout"},
    {"touchdown time estimate not found", "no-touchdown"},
    // The machine.
    {"failed to malloc ", "no-memory"},
    {"failed to realloc ", "no-memory"},
    {"failed to allocate memory for ", "no-memory"},
    {"malloc() failed", "no-memory"},
    {"realloc failed", "no-memory"},
    {"strdup() failed", "no-memory"},
    {"vsnprintf() failed ", "no-memory"},
};

}  // namespace

const char *failure_code(error_slot message) {
  for (const coded_message &coded : coded_messages) {
    if (std::string_view(message).starts_with(coded.beginning)) return coded.code;
  }
  return "other";
}

}  // namespace tarvel
