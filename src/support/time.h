// Times and durations in ms. A file may contain any 64-bit time, so sums, differences and products wrap around instead
// of overflowing.
#pragma once

#include <cstdint>

namespace tarvel {

// The duration from one time to another; negative when the second is earlier.
[[nodiscard]] constexpr std::int64_t elapsed(std::int64_t from, std::int64_t to) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from));
}

[[nodiscard]] constexpr std::int64_t time_after(std::int64_t time, std::int64_t duration) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(time) + static_cast<std::uint64_t>(duration));
}

// second * 1000 + millisecond.
[[nodiscard]] constexpr std::int64_t time_of(std::int64_t second, std::uint32_t millisecond) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(second) * 1000 + millisecond);
}

// The duration in seconds, computed without a sign: a negative one becomes a huge number, such as after a time that is
// missing (0) or a clock that stepped back.
[[nodiscard]] constexpr double unsigned_seconds(std::int64_t from, std::int64_t to) {
  return static_cast<double>(static_cast<std::uint64_t>(elapsed(from, to))) / 1000.0;
}

}  // namespace tarvel
