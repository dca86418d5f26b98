#include "split/listing.h"

#include <cstdint>
#include <cstdio>
#include <ctime>

#include "support/time.h"
#include "support/units.h"

namespace tarvel {

namespace {

struct cell {
  char text[32];
};

cell number_of(const stretch &part) {
  cell result = {"-"};
  if (is_descent(part)) std::snprintf(result.text, sizeof result.text, "%u", part.number);
  return result;
}

// A hyphen for a time that the calendar cannot express.
cell clock_time(std::int64_t time) {
  cell result = {"-"};
  const std::time_t seconds = time / 1000;
  std::tm local = {};
  if (localtime_r(&seconds, &local) == nullptr) return result;
  if (std::strftime(result.text, sizeof result.text, "%Y-%m-%d %H:%M:%S", &local) == 0) return {"-"};
  return result;
}

cell exit_height(const stretch &part, bool metric) {
  cell result = {"-"};
  const display_units units = display_units_for(metric);
  if (part.exit == 0) return result;
  std::snprintf(result.text, sizeof result.text, "%.0f %s", part.exit_height * units.length_factor, units.length);
  return result;
}

// Hours, minutes and seconds; a hyphen when the last sample is earlier than the first.
cell duration_of(std::span<const gps_point> samples) {
  cell result = {"-"};
  const std::int64_t seconds = elapsed(samples.front().time, samples.back().time) / 1000;
  if (seconds < 0) return result;
  std::snprintf(result.text, sizeof result.text, "%lld:%02d:%02d", static_cast<long long>(seconds / 3600),
                static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
  return result;
}

const char *name_of(stretch_kind kind) {
  switch (kind) {
    case stretch_kind::run: return "run";
    case stretch_kind::descent: return "descent without a dive";
    case stretch_kind::climb: return "climb";
    case stretch_kind::walk: return "walk";
    case stretch_kind::ground: break;
  }
  return "ground";
}

}  // namespace

void print_stretches(std::FILE *stream, std::span<const gps_point> samples, std::span<const stretch> stretches,
                     bool metric) {
  std::fprintf(stream, "%3s  %-19s  %8s  %9s  %s\n", "no.", "time", "exit", "duration", "kind");
  for (const stretch &part : stretches) {
    const std::span<const gps_point> own = samples.subspan(part.samples.first, part.samples.end - part.samples.first);
    std::fprintf(stream, "%3s  %-19s  %8s  %9s  %s%s\n", number_of(part).text, clock_time(own.front().time).text,
                 exit_height(part, metric).text, duration_of(own).text, name_of(part.kind),
                 part.ends_in_the_air ? ", ends in the air" : "");
  }
}

}  // namespace tarvel
