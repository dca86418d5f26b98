// A second implementation of the geodesy, one operation a line, to compare bits with: two ways to write the same
// formula may differ in the last digit.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "geo/mat4.h"
#include "geo/vec3.h"

namespace tarvel::plain {

// A zero keeps its sign; which NaN it is does not matter.
[[nodiscard]] inline bool same_bits(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

[[nodiscard]] inline testing::AssertionResult same(double a, double b) {
  if (same_bits(a, b)) return testing::AssertionSuccess();
  char text[100];
  std::snprintf(text, sizeof text, "%.17g (%a) is not %.17g (%a)", a, a, b, b);
  return testing::AssertionFailure() << text;
}

[[nodiscard]] inline testing::AssertionResult same(const vec3 &a, const vec3 &b) {
  if (const testing::AssertionResult x = same(a.x, b.x); !x) return testing::AssertionFailure() << "x: " << x.message();
  if (const testing::AssertionResult y = same(a.y, b.y); !y) return testing::AssertionFailure() << "y: " << y.message();
  if (const testing::AssertionResult z = same(a.z, b.z); !z) return testing::AssertionFailure() << "z: " << z.message();
  return testing::AssertionSuccess();
}

[[nodiscard]] inline testing::AssertionResult same(const mat4 &a, const mat4 &b) {
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      if (const testing::AssertionResult element = same(a.m[r][c], b.m[r][c]); !element) {
        return testing::AssertionFailure() << "row " << r << ", column " << c << ": " << element.message();
      }
    }
  }
  return testing::AssertionSuccess();
}

// One right-hand side in column n. The multiplier is computed again for each element, and columns run from right to
// left so that a[r][k] is cleared last.
inline void solve(double (&a)[4][5], int n) {
  for (int k = 0; k < n; ++k) {
    int p = k;
    for (int r = k + 1; r < n; ++r) {
      if (std::abs(a[r][k]) > std::abs(a[p][k])) p = r;
    }
    for (int c = 0; c <= n; ++c) {
      const double kept = a[k][c];
      a[k][c] = a[p][c];
      a[p][c] = kept;
    }
    for (int c = n; c >= k; --c) {
      for (int r = k + 1; r < n; ++r) {
        const double multiplier = a[r][k] / a[k][k];
        const double product = a[k][c] * multiplier;
        a[r][c] = a[r][c] - product;
      }
    }
  }
  for (int i = n - 1; i >= 0; --i) {
    a[i][n] = a[i][n] / a[i][i];
    a[i][i] = 1.0;
    for (int r = 0; r < i; ++r) {
      const double product = a[i][n] * a[r][i];
      a[r][n] = a[r][n] - product;
      a[r][i] = 0.0;
    }
  }
}

[[nodiscard]] inline mat4 inverse(const mat4 &matrix) {
  mat4 result;
  for (int c = 0; c < 4; ++c) {
    double a[4][5] = {};
    for (int r = 0; r < 4; ++r) {
      for (int k = 0; k < 4; ++k) a[r][k] = matrix.m[r][k];
    }
    a[c][4] = 1.0;
    solve(a, 4);
    for (int r = 0; r < 4; ++r) result.m[r][c] = a[r][4];
  }
  return result;
}

[[nodiscard]] inline double row_times(const double (&row)[4], const vec3 &v) {
  const double first = v.x * row[0];
  const double second = row[1] * v.y;
  const double third = row[2] * v.z;
  const double two = first + second;
  return two + third;
}

[[nodiscard]] inline vec3 transform_vector(const mat4 &m, const vec3 &v) {
  return {row_times(m.m[0], v), row_times(m.m[1], v), row_times(m.m[2], v)};
}

[[nodiscard]] inline vec3 transform_point(const mat4 &m, const vec3 &v) {
  return {row_times(m.m[0], v) + m.m[0][3], row_times(m.m[1], v) + m.m[1][3], row_times(m.m[2], v) + m.m[2][3]};
}

[[nodiscard]] inline double radians(double degrees) {
  const double product = 3.141592653589793 * degrees;
  return product / 180.0;
}

[[nodiscard]] inline double degrees(double radians) {
  const double product = 180.0 * radians;
  return product / 3.141592653589793;
}

[[nodiscard]] inline double normal_radius(double sine) {
  const double square = sine * sine;
  const double product = 0.0066943799901413165 * square;
  return 6378137.0 / std::sqrt(1.0 - product);
}

[[nodiscard]] inline vec3 ecef_from_wgs84(const vec3 &wgs84) {
  const double phi = radians(wgs84.x);
  const double lambda = radians(wgs84.y);
  const double n = normal_radius(std::sin(phi));
  const double from_axis = (n + wgs84.z) * std::cos(phi);
  const double shortened = 0.9933056200098587 * n;
  return {from_axis * std::cos(lambda), from_axis * std::sin(lambda), (shortened + wgs84.z) * std::sin(phi)};
}

[[nodiscard]] inline vec3 wgs84_from_ecef(const vec3 &ecef) {
  const double xx = ecef.x * ecef.x;
  const double yy = ecef.y * ecef.y;
  const double p = std::sqrt(xx + yy);
  const double theta = std::atan((6378137.0 * ecef.z) / (6356752.314245179 * p));
  const double s = std::sin(theta);
  const double c = std::cos(theta);
  const double above = ecef.z + 42841.31151331357 * ((s * s) * s);
  const double below = p - 42697.67270717997 * ((c * c) * c);
  const double phi = std::atan(above / below);
  const double height = p / std::cos(phi) - normal_radius(std::sin(phi));
  return {degrees(phi), degrees(std::atan2(ecef.y, ecef.x)), height};
}

// The frame matrix of north, east and down.
[[nodiscard]] inline mat4 north_east_down(const vec3 &wgs84) {
  const double phi = radians(wgs84.x);
  const double lambda = radians(wgs84.y);
  return {{{-std::sin(phi) * std::cos(lambda), -std::sin(phi) * std::sin(lambda), std::cos(phi), 0.0},
           {-std::sin(lambda), std::cos(lambda), 0.0, 0.0},
           {-std::cos(phi) * std::cos(lambda), -std::cos(phi) * std::sin(lambda), -std::sin(phi), 0.0},
           {0.0, 0.0, 0.0, 1.0}}};
}

[[nodiscard]] inline vec3 ecef_velocity(const vec3 &wgs84, const vec3 &ned) {
  return transform_vector(inverse(north_east_down(wgs84)), ned);
}

}  // namespace tarvel::plain
