// Clock times, one in each line of the input, in a time zone with unusual rules. parse_time_field caches the last
// minute that it has converted; clearing the cache before each line must give the same times.
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "track/time_field.h"

namespace {

using namespace tarvel;

// 19 minutes and 32 seconds ahead of UTC, with summer time that begins and ends in the middle of a minute.
constexpr char zone[] = "LMT-0:19:32LST,M3.5.0/2:00:30,M10.5.0/3:00:30";

struct answer {
  std::int64_t time = 0;
  bool is_valid = false;

  bool operator==(const answer &) const = default;
};

answer parse(const std::string &text) {
  gps_point sample;
  error_slot error = nullptr;
  parse_time_field(text, sample, &error);
  return error == nullptr ? answer{sample.time, true} : answer{};
}

// Each line in a separate allocation, so that the sanitizer reports a read past its NUL. A field ends at its first NUL.
void split_lines(const char *text, std::size_t size, std::vector<std::string> &lines) {
  lines.clear();
  for (;;) {
    const void *const line_end = std::memchr(text, '\n', size);
    const std::size_t length =
        line_end != nullptr ? static_cast<std::size_t>(static_cast<const char *>(line_end) - text) : size;
    lines.emplace_back(text, strnlen(text, length));
    if (line_end == nullptr) return;
    text += length + 1;
    size -= length + 1;
  }
}

void parse_all(const std::vector<std::string> &lines, bool forgets, std::vector<answer> &answers) {
  static const std::string summer = "2024-06-01T12:00:00Z";
  // mktime's answer for the hour that occurs twice depends on the call before: both rounds start from the same call.
  forget_calendar_minute();
  static_cast<void>(parse(summer));
  forget_calendar_minute();
  answers.clear();
  for (const std::string &line : lines) {
    if (forgets) forget_calendar_minute();
    answers.push_back(parse(line));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const bool has_zone = setenv("TZ", zone, 1) == 0;
  require(has_zone);
  // They keep their memory from one input to the next, since most of the time went into its allocation.
  static std::vector<std::string> lines;
  static std::vector<answer> cached;
  static std::vector<answer> calculated;
  split_lines(reinterpret_cast<const char *>(data), size, lines);
  parse_all(lines, false, cached);
  parse_all(lines, true, calculated);
  require(cached == calculated);
  return 0;
}
