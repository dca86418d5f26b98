// The quantile is Wichura's algorithm AS 241 (PPND16): three ratios of polynomials of degree 7, one for the middle
// 85 percent, two for the tails.
#include "check/random_draws.h"

#include <cmath>
#include <span>

#include "check/fixed_math.h"

namespace tarvel {

namespace {

// From the constant term to the seventh power.
constexpr double middle_above[] = {3.3871328727963666080e0,  1.3314166789178437745e+2, 1.9715909503065514427e+3,
                                   1.3731693765509461125e+4, 4.5921953931549871457e+4, 6.7265770927008700853e+4,
                                   3.3430575583588128105e+4, 2.5090809287301226727e+3};
constexpr double middle_below[] = {1.0,
                                   4.2313330701600911252e+1,
                                   6.8718700749205790830e+2,
                                   5.3941960214247511077e+3,
                                   2.1213794301586595867e+4,
                                   3.9307895800092710610e+4,
                                   2.8729085735721942674e+4,
                                   5.2264952788528545610e+3};
constexpr double near_tail_above[] = {1.42343711074968357734e0,  4.63033784615654529590e0, 5.76949722146069140550e0,
                                      3.64784832476320460504e0,  1.27045825245236838258e0, 2.41780725177450611770e-1,
                                      2.27238449892691845833e-2, 7.74545014278341407640e-4};
constexpr double near_tail_below[] = {1.0,
                                      2.05319162663775882187e0,
                                      1.67638483018380384940e0,
                                      6.89767334985100004550e-1,
                                      1.48103976427480074590e-1,
                                      1.51986665636164571966e-2,
                                      5.47593808499534494600e-4,
                                      1.05075007164441684324e-9};
constexpr double far_tail_above[] = {6.65790464350110377720e0,  5.46378491116411436990e0,  1.78482653991729133580e0,
                                     2.96560571828504891230e-1, 2.65321895265761230930e-2, 1.24266094738807843860e-3,
                                     2.71155556874348757815e-5, 2.01033439929228813265e-7};
constexpr double far_tail_below[] = {1.0,
                                     5.99832206555887937690e-1,
                                     1.36929880922735805310e-1,
                                     1.48753612908506148525e-2,
                                     7.86869131145613259100e-4,
                                     1.84631831751005468180e-5,
                                     1.42151175831644588870e-7,
                                     2.04426310338993978564e-15};

double polynomial(std::span<const double, 8> terms, double x) {
  double sum = terms[7];
  for (int i = 6; i >= 0; --i) sum = sum * x + terms[static_cast<std::size_t>(i)];
  return sum;
}

double tail_quantile(double tail) {
  const double r = std::sqrt(-fixed_log(tail));
  return r <= 5.0 ? polynomial(near_tail_above, r - 1.6) / polynomial(near_tail_below, r - 1.6)
                  : polynomial(far_tail_above, r - 5.0) / polynomial(far_tail_below, r - 5.0);
}

}  // namespace

double normal_quantile(double probability) {
  const double q = probability - 0.5;
  if (std::fabs(q) <= 0.425) {
    const double r = 0.180625 - q * q;
    return q * polynomial(middle_above, r) / polynomial(middle_below, r);
  }
  return q < 0.0 ? -tail_quantile(probability) : tail_quantile(1.0 - probability);
}

double random_source::uniform() {
  constexpr double unit = 0x1p-53;
  return (static_cast<double>(engine_() >> 11U) + 0.5) * unit;
}

double random_source::normal() { return normal_quantile(uniform()); }

double random_source::chi_square(int degrees_of_freedom) {
  double sum = 0.0;
  for (int i = 0; i < degrees_of_freedom; ++i) {
    const double variate = normal();
    sum += variate * variate;
  }
  return sum;
}

}  // namespace tarvel
