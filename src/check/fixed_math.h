// Logarithm and exponential from additions, multiplications and divisions alone. Those of the C libraries differ in
// their last bits, and a draw that differs in its last bit may make a detector choose another sample.
#pragma once

namespace tarvel {

// The natural logarithm of a positive, finite number; relative error below 1e-14.
[[nodiscard]] double fixed_log(double x);

// e to the power x; relative error below 1e-14. 0 for x below -700; x must not be greater than 700.
[[nodiscard]] double fixed_exp(double x);

}  // namespace tarvel
