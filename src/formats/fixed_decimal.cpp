// A logger's coordinate is a decimal of a few digits, so that value * 10^decimals lies next to a whole number, and the
// digits of that number are the result. The product is rounded once: below 2^40 it is off by at most 2^-14. Whatever
// lies further than that from a tie therefore rounds to the same digits as the exact value; the rest is left to
// std::to_chars.

#include "formats/fixed_decimal.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace tarvel {

namespace {

constexpr std::array<double, 10> powers_of_ten = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
constexpr double largest_product = 1099511627776.0;  // 2^40
constexpr double tie_width = 1.0 / 1024.0;           // well above 2^-14

// The product's whole number, or -1 where the rounded product does not tell it.
std::int64_t round_product(double product) {
  if (!(product < largest_product)) return -1;
  const auto whole = static_cast<std::int64_t>(product);
  const double rest = product - static_cast<double>(whole);
  if (std::fabs(rest - 0.5) < tie_width) return -1;
  return rest > 0.5 ? whole + 1 : whole;
}

// "00", "01" and so on to "99": two digits a division.
constexpr std::array<char, 200> digit_pairs = [] {
  std::array<char, 200> pairs = {};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

// The number's digits with leading zeros, up to last. Returns the first of them.
char *print_digits(char *last, std::uint64_t number, int least_count) {
  char *const enough = last - least_count;
  char *position = last;
  while (number >= 10) {
    position -= 2;
    std::memcpy(position, &digit_pairs[2 * (number % 100)], 2);
    number /= 100;
  }
  if (number > 0) *--position = static_cast<char>('0' + number);
  while (position > enough) *--position = '0';
  return position;
}

}  // namespace

char *print_fixed(char *first, double value, int decimals) {
  const auto places = static_cast<std::size_t>(decimals);
  const std::int64_t rounded =
      places < powers_of_ten.size() ? round_product(std::fabs(value) * powers_of_ten[places]) : -1;
  if (rounded < 0) {
    return std::to_chars(first, first + longest_fixed_decimal, value, std::chars_format::fixed, decimals).ptr;
  }
  if (std::signbit(value)) *first++ = '-';

  char digits[16];  // 2^40 has 13
  char *const digits_end = digits + sizeof digits;
  const char *const digits_begin = print_digits(digits_end, static_cast<std::uint64_t>(rounded), decimals + 1);
  const auto whole_count = static_cast<std::size_t>(digits_end - digits_begin) - places;
  std::memcpy(first, digits_begin, whole_count);
  first += whole_count;
  if (places > 0) {
    *first++ = '.';
    std::memcpy(first, digits_begin + whole_count, places);
  }
  return first + places;
}

}  // namespace tarvel
