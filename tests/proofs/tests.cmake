# The proofs find what they look for.
find_package(Python3 REQUIRED COMPONENTS Interpreter)

add_test(NAME proofs/compare_programs_test
  COMMAND Python3::Interpreter -B ${PROJECT_SOURCE_DIR}/tests/proofs/compare_programs_test.py)
set_tests_properties(proofs/compare_programs_test PROPERTIES
  ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAM=$<TARGET_FILE:tarvel>;${tarvel_sanitizer_options}"
  TIMEOUT 300)
