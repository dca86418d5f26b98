tarvel_test(check/fixed_math_test USES tarvel_check)
tarvel_test(check/random_draws_test USES tarvel_check)
tarvel_test(check/banded_cholesky_test USES tarvel_check)
tarvel_test(check/axis_smoother_test USES tarvel_check)
