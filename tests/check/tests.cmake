tarvel_test(check/fixed_math_test USES tarvel_check)
tarvel_test(check/random_draws_test USES tarvel_check)
tarvel_test(check/banded_cholesky_test USES tarvel_check)
tarvel_test(check/axis_smoother_test USES tarvel_check)
tarvel_test(check/motion_series_test USES tarvel_check)
tarvel_test(check/contradiction_test USES tarvel_check)
tarvel_test(check/velocity_lag_test USES tarvel_check)
tarvel_test(check/noise_scale_test USES tarvel_check)
tarvel_test(check/interval_test USES tarvel_check)
tarvel_test(check/figures_test USES tarvel_check)
tarvel_test(check/check_window_test USES tarvel_check)
tarvel_test(check/run_check_test USES tarvel_check)
tarvel_test(check/reasons_test USES tarvel_check)
tarvel_test(check/turn_start_test USES tarvel_check)
tarvel_test(check/crossing_bounds_test USES tarvel_check)

# Simulated runs of known truth for scripts/check_coverage and scripts/check_degraded. They draw for minutes: optimised,
# unlike tests.
foreach(name check_simulated_runs check_degraded_runs)
  add_executable(${name} EXCLUDE_FROM_ALL
    tests/check/${name}.cpp tests/support/simulated_flights.cpp tests/support/simulator.cpp)
  target_include_directories(${name} PRIVATE tests)
  target_link_libraries(${name} PRIVATE tarvel_check tarvel_build_options)
endforeach()
