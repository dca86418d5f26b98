// Times and durations, ms. A file may hold any time: sums, differences and products wrap instead of overflowing.
#pragma once

#include <cstdint>

namespace tarvel {

// From one time to another, negative when the second is the earlier one.
[[nodiscard]] constexpr std::int64_t elapsed(std::int64_t from, std::int64_t to) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from));
}

[[nodiscard]] constexpr std::int64_t time_after(std::int64_t time, std::int64_t duration) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(time) + static_cast<std::uint64_t>(duration));
}

// The time of a second and a millisecond in it.
[[nodiscard]] constexpr std::int64_t time_of(std::int64_t second, std::uint32_t millisecond) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(second) * 1000 + millisecond);
}

// Seconds, never negative: after a missing time, which is 0, or a step back they are a huge number that nobody takes
// for a score.
[[nodiscard]] constexpr double unsigned_seconds(std::int64_t from, std::int64_t to) {
  return static_cast<double>(static_cast<std::uint64_t>(elapsed(from, to))) / 1000.0;
}

}  // namespace tarvel
