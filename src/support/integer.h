// Converts floating point to integers, with the same result for every input on every compiler.
#pragma once

#include <cstdint>

namespace tarvel {

// Truncates toward zero. INT64_MIN for NaN, infinities and values outside the range of the type, as the x86-64
// conversion instruction gives.
[[nodiscard]] inline std::int64_t truncate_to_int64(double value) {
  constexpr double limit = 9223372036854775808.0;  // 2^63, the first double above every int64
  if (value >= -limit && value < limit) return static_cast<std::int64_t>(value);
  return INT64_MIN;
}

// The low 32 bits of truncate_to_int64: -1.0 becomes 4294967295.
[[nodiscard]] inline std::uint32_t truncate_to_uint32(double value) {
  return static_cast<std::uint32_t>(truncate_to_int64(value));
}

}  // namespace tarvel
