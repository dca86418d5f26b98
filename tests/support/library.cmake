# What tests share: its sources are in tests/support/, and its headers are included as "support/...".
find_package(GTest REQUIRED)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

# Wraps the allocator for everything that is linked with it, so that tests can make allocations fail.
add_library(tarvel_allocation_limit tests/support/allocation_limit.cpp)
target_include_directories(tarvel_allocation_limit PUBLIC tests)
target_link_libraries(tarvel_allocation_limit PRIVATE tarvel_build_options)
target_link_options(tarvel_allocation_limit PUBLIC
  -Wl,--wrap=malloc,--wrap=realloc,--wrap=calloc,--wrap=mmap,--undefined=__wrap_realloc)
if(BUILD_SHARED_LIBS)
  # --wrap works within one shared library: each that allocates must be linked with the wrapper.
  target_link_libraries(tarvel_support PRIVATE tarvel_allocation_limit)
  target_link_libraries(tarvel_drawing PRIVATE tarvel_allocation_limit)
endif()

# Every test has these: files, golden files, tracks and walks, calls of the programs.
add_library(tarvel_test_support STATIC
  tests/support/files.cpp
  tests/support/golden.cpp
  tests/support/hand_made_walk.cpp
  tests/support/main.cpp
  tests/support/program.cpp
  tests/support/simulator.cpp)
target_include_directories(tarvel_test_support PUBLIC tests)
target_link_libraries(tarvel_test_support
  PUBLIC tarvel_support tarvel_allocation_limit GTest::gtest PRIVATE tarvel_build_options)
tarvel_is_test_code(tarvel_test_support)
target_precompile_headers(tarvel_test_support PRIVATE
  <gtest/gtest.h> <algorithm> <cmath> <filesystem> <random> <string> <vector>)

# Wraps functions of the C library in the tests that USE it, so that tests can make their calls fail.
add_library(tarvel_failing_calls OBJECT tests/support/failing_calls.cpp)
target_include_directories(tarvel_failing_calls PRIVATE tests)
target_link_libraries(tarvel_failing_calls PRIVATE tarvel_build_options)
tarvel_is_test_code(tarvel_failing_calls)

# An independent geodesy library, to compare with.
find_path(TARVEL_GEOGRAPHICLIB_FOLDER GeographicLib/Geocentric.hpp REQUIRED)
find_library(TARVEL_GEOGRAPHICLIB NAMES GeographicLib Geographic REQUIRED)
add_library(tarvel_geographiclib INTERFACE)
target_include_directories(tarvel_geographiclib SYSTEM INTERFACE ${TARVEL_GEOGRAPHICLIB_FOLDER})
target_link_libraries(tarvel_geographiclib INTERFACE ${TARVEL_GEOGRAPHICLIB})

# tarvel_script_test(FOLDER/NAME [VARIABLE=value...]): registers tests/FOLDER/NAME.py, or a program of that name without
# an extension. It finds the programs by these variables, and exits with 77 when a tool that it needs is not installed.
function(tarvel_script_test path)
  set(command ${PROJECT_SOURCE_DIR}/tests/${path})
  if(EXISTS ${command}.py)
    set(command Python3::Interpreter -B ${command}.py)
  endif()
  add_test(NAME ${path} COMMAND ${command})
  set_tests_properties(${path} PROPERTIES
    ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAM=$<TARGET_FILE:tarvel>;TARVEL_CHECK_PROGRAM=$<TARGET_FILE:tarvel-check>;TARVEL_JSON_PROGRAM=$<TARGET_FILE:tarvel-json>;TARVEL_SPLIT_PROGRAM=$<TARGET_FILE:tarvel-split>;${tarvel_sanitizer_options};${ARGN}"
    SKIP_RETURN_CODE 77
    TIMEOUT 300)
endfunction()
