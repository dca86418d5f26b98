// The clock time of a sample. The input's lines are times in the order of a track: what is remembered from one must not
// change what the next one gives.
#include <algorithm>
#include <string>

#include "fuzz_input.h"
#include "track/time_field.h"

namespace {

using namespace tarvel;

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string all(reinterpret_cast<const char *>(data), size);
  std::string previous;
  for (std::size_t start = 0; start <= all.size();) {
    const std::size_t end = std::min(all.find('\n', start), all.size());
    // A field ends at its first NUL.
    const std::string line = std::string(all.substr(start, end - start).c_str());
    forget_calendar_minute();
    const answer alone = parse(line);
    forget_calendar_minute();
    static_cast<void>(parse(previous));
    require(parse(line) == alone);
    previous = line;
    start = end + 1;
  }
  return 0;
}
