#include "checker/number_arguments.h"

#include <charconv>
#include <cstring>

#include "support/integer.h"

namespace tarvel {

namespace {

// True when the whole argument is a decimal number.
template <typename T>
bool is_number(const char *argument, T &number) {
  const char *const end = argument + std::strlen(argument);
  const auto [behind, error] = std::from_chars(argument, end, number);
  return error == std::errc() && behind == end;
}

}  // namespace

void parse_time_aloft(const char *argument, std::uint32_t &milliseconds, error_slot *error) {
  constexpr double longest = 4294967.0;  // seconds, whose milliseconds fit
  double seconds = 0.0;
  if (is_number(argument, seconds) && seconds >= 0.0 && seconds <= longest) {
    milliseconds = truncate_to_uint32(seconds * 1000.0);
  } else {
    *error = format_error("not a number of seconds: %s", argument);
  }
}

void parse_draws(const char *argument, std::uint32_t &draws, error_slot *error) {
  constexpr std::uint32_t fewest_draws = 40;   // of fewer, 2.5 % are less than one draw
  constexpr std::uint32_t most_draws = 10000;  // takes some 10 s
  std::uint32_t number = 0;
  if (is_number(argument, number) && number >= fewest_draws && number <= most_draws) {
    draws = number;
  } else {
    *error = format_error("not a number of draws from 40 to 10000: %s", argument);
  }
}

void parse_seed(const char *argument, std::uint64_t &seed, error_slot *error) {
  if (!is_number(argument, seed)) *error = format_error("not a whole number: %s", argument);
}

}  // namespace tarvel
