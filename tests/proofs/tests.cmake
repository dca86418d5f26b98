# The proofs find planted faults. Without strace or valgrind, which scripts/setup proofs installs, some tests are
# skipped.
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  return()  # one build is enough: the tests are of the proofs
endif()
find_package(Python3 REQUIRED COMPONENTS Interpreter)

foreach(name harness_test disturbed_test judges_test compare_programs_test)
  add_test(NAME proofs/${name} COMMAND Python3::Interpreter -B ${PROJECT_SOURCE_DIR}/tests/proofs/${name}.py)
  set_tests_properties(proofs/${name} PROPERTIES
    ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAM=$<TARGET_FILE:tarvel>;${tarvel_sanitizer_options}"
    TIMEOUT 300 COST 20)
endforeach()
