#include "check/fixed_math.h"

#include <cmath>

namespace tarvel {

namespace {

constexpr double ln_2 = 0.6931471805599453;
constexpr double sqrt_half = 0.7071067811865476;

}  // namespace

// log m = 2 atanh((m - 1) / (m + 1)), m between sqrt(1/2) and sqrt(2): the series of atanh to the 21st power.
double fixed_log(double x) {
  int exponent = 0;
  double m = std::frexp(x, &exponent);
  if (m < sqrt_half) {
    m *= 2.0;
    --exponent;
  }
  const double s = (m - 1.0) / (m + 1.0);
  const double square = s * s;
  double sum = 0.0;
  for (int power = 21; power >= 1; power -= 2) sum = sum * square + 1.0 / power;
  return exponent * ln_2 + 2.0 * s * sum;
}

// x = n ln 2 + r: 2 to the power n times the Taylor series of r, which is at most ln 2 / 2.
double fixed_exp(double x) {
  if (x < -700.0) return 0.0;
  const double n = std::floor(x / ln_2 + 0.5);
  const double r = x - n * ln_2;
  double sum = 1.0;
  for (int k = 15; k >= 1; --k) sum = 1.0 + sum * r / k;
  return std::ldexp(sum, static_cast<int>(n));
}

}  // namespace tarvel
