# Benchmarks, built with TARVEL_BENCHMARKS:
#
#   cmake --preset bench && cmake --build --preset bench && build/bench/stages_bench
#
# Times are processor times of one core. whole_run_bench measures a process of tarvel, with its peak memory.
if(TARVEL_BENCHMARKS)
  find_package(benchmark REQUIRED)
  add_library(tarvel_bench_support STATIC tests/bench/simulated_files.cpp tests/support/simulator.cpp
    tests/support/hand_made_walk.cpp)
  target_include_directories(tarvel_bench_support PUBLIC tests/bench tests)
  target_link_libraries(tarvel_bench_support PRIVATE tarvel_build_options)

  foreach(name readers_bench stages_bench survey_bench pages_bench whole_run_bench)
    add_executable(${name} tests/bench/${name}.cpp)
    target_link_libraries(${name} PRIVATE tarvel_drawing tarvel_gate tarvel_bench_support benchmark::benchmark_main tarvel_build_options)
  endforeach()
  add_dependencies(whole_run_bench tarvel)
  target_compile_definitions(whole_run_bench PRIVATE TARVEL_PROGRAM="$<TARGET_FILE:tarvel>")

  # For tests/bench/against_other_tools.
  add_executable(write_run tests/bench/write_run.cpp)
  target_link_libraries(write_run PRIVATE tarvel_bench_support tarvel_build_options)
endif()
