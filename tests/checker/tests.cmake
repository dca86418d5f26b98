find_package(Python3 REQUIRED COMPONENTS Interpreter)
add_test(NAME checker/program_test COMMAND Python3::Interpreter -B ${PROJECT_SOURCE_DIR}/tests/checker/program_test.py)
set_tests_properties(checker/program_test PROPERTIES
  ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAM=$<TARGET_FILE:tarvel>;TARVEL_CHECK_PROGRAM=$<TARGET_FILE:tarvel-check>;${tarvel_sanitizer_options}"
  TIMEOUT 300)
