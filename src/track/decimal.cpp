// Loggers write plain decimals, nine a row, and strtod for all of them would take most of a run's time. A decimal of at
// most 15 digits is a whole number below 2^53 divided by a power of ten below 10^22. A double holds both exactly, so
// that one division rounds just once, to the same double that strtod rounds to: 6.0627536 is 60627536.0 / 1e7. Longer
// decimals and those with an exponent are for std::from_chars, which rounds like strtod and takes a tenth of its time
// where the digits are many or the exponent is large. Every other spelling is left to strtod.

#include "track/decimal.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <system_error>

namespace tarvel {

namespace {

constexpr std::size_t most_digits = 15;

constexpr std::array<double, most_digits + 1> powers_of_ten = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                               1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// False unless the whole text is a decimal without surprises: what is too large, too small, or no number has more than
// one spelling, and strtod knows them.
bool read_long_decimal(std::string_view text, double &value) {
  const char *const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, value);
  return error == std::errc() && end == last && std::isfinite(value);
}

}  // namespace

bool read_plain_decimal(std::string_view text, double &value) {
  const bool is_negative = !text.empty() && text.front() == '-';
  if (is_negative) text.remove_prefix(1);
  // Longer texts have too many digits, and their sum would overflow.
  if (text.size() > most_digits + 1) return false;

  std::uint64_t digits = 0;
  const char *const last = text.data() + text.size();
  const char *point = nullptr;
  for (const char *position = text.data(); position != last; ++position) {
    const unsigned digit = static_cast<unsigned char>(*position) - unsigned{'0'};
    if (digit <= 9) {
      digits = digits * 10 + digit;
    } else if (*position == '.' && point == nullptr) {
      point = position;
    } else {
      return false;
    }
  }
  const std::size_t digit_count = text.size() - (point != nullptr ? 1 : 0);
  if (digit_count == 0 || digit_count > most_digits) return false;

  const auto decimals = static_cast<std::size_t>(point != nullptr ? last - point - 1 : 0);
  const double magnitude = static_cast<double>(digits) / powers_of_ten[decimals];
  value = is_negative ? -magnitude : magnitude;
  return true;
}

double read_decimal(std::string_view text) {
  double value = 0.0;
  if (read_plain_decimal(text, value) || read_long_decimal(text, value)) return value;
  return std::strtod(text.data(), nullptr);
}

}  // namespace tarvel
