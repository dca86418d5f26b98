// The arguments that say how tracks are drawn.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>

namespace tarvel {

// Each is true when the whole argument is such a number.

template <typename T>
[[nodiscard]] bool is_number(const char *argument, T &number) {
  const char *const end = argument + std::strlen(argument);
  const auto [behind, error] = std::from_chars(argument, end, number);
  return error == std::errc() && behind == end;
}

// Fewer draws have no 2.5 % to speak of; more take longer than anybody waits.
[[nodiscard]] inline bool is_number_of_draws(const char *argument, std::uint32_t &draws) {
  constexpr std::uint32_t fewest_draws = 40;
  constexpr std::uint32_t most_draws = 10000;
  return is_number(argument, draws) && draws >= fewest_draws && draws <= most_draws;
}

}  // namespace tarvel
