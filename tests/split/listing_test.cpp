#include "split/listing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/files.h"

namespace tarvel {
namespace {

// The table's line for one stretch of two samples.
std::string line_of(std::int64_t first, std::int64_t last, stretch part = {}) {
  std::vector<gps_point> samples(2);
  samples[0].time = first;
  samples[1].time = last;
  part.samples = {0, 2};
  const std::string table = bytes_written_by([&](std::FILE *stream) {
    print_stretches(stream, samples, {&part, 1}, false);
  });
  return table.substr(table.find('\n') + 1);
}

struct duration_case {
  const char *name;
  std::int64_t duration;  // ms
  const char *text;
};

const duration_case duration_cases[] = {
    {"none", 0, "  0:00:00"},
    {"less than a second", 999, "  0:00:00"},
    {"less than a minute", 59999, "  0:00:59"},
    {"a minute", 60000, "  0:01:00"},
    {"less than an hour", 3599999, "  0:59:59"},
    {"an hour", 3600000, "  1:00:00"},
    {"a long time", 359999999, " 99:59:59"},
    {"the clock went back", -1000, "        -"},
};

TEST(listing_test, rounds_durations_down) {
  for (const duration_case &c : duration_cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(line_of(1000, 1000 + c.duration),
              "  -  1970-01-01 00:00:01         -  " + std::string(c.text) + "  ground\n");
  }
}

}  // namespace
}  // namespace tarvel
