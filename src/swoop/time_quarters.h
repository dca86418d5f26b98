// When several samples were taken, for the question whether one of them is so much later than another. Differences of
// hostile times wrap, so that least and greatest do not answer it: after the greatest time comes the least. Within a
// quarter of all times, though, whatever is later than a given time ends or begins at one place at most, and one of the
// quarter's own two ends tells.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "support/time.h"
#include "track/gps_point.h"

namespace tarvel {

struct time_quarters {
  struct quarter {
    std::int64_t least = INT64_MAX;  // greater than the greatest: no samples
    std::int64_t greatest = INT64_MIN;
  };
  std::array<quarter, 4> quarters;

  void add(const gps_point &sample) {
    quarter &own = quarters[static_cast<std::uint64_t>(sample.time) >> 62];
    own.least = std::min(own.least, sample.time);
    own.greatest = std::max(own.greatest, sample.time);
  }

  void add(const time_quarters &others) {
    for (std::size_t i = 0; i < quarters.size(); ++i) {
      quarters[i].least = std::min(quarters[i].least, others.quarters[i].least);
      quarters[i].greatest = std::max(quarters[i].greatest, others.quarters[i].greatest);
    }
  }
};

// True for samples that were taken so many ms or more after the given one, and for the times of several if one of them
// was. The span is positive and less than a quarter of all times.
struct taken_after {
  const gps_point &from;
  std::int64_t span = 0;

  bool operator()(std::int64_t time) const { return elapsed(from.time, time) >= span; }
  bool operator()(const gps_point &sample) const { return elapsed(from.time, sample.time) >= span; }
  bool operator()(const time_quarters &times) const {
    return std::any_of(times.quarters.begin(), times.quarters.end(), [this](const time_quarters::quarter &q) {
      return q.least <= q.greatest && ((*this)(q.least) || (*this)(q.greatest));
    });
  }
};

}  // namespace tarvel
