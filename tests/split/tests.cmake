tarvel_test(split/stretches_test USES tarvel_split)
tarvel_test(split/joined_tracks_test USES tarvel_split)

find_package(Python3 REQUIRED COMPONENTS Interpreter)
add_test(NAME split/program_test COMMAND Python3::Interpreter -B ${PROJECT_SOURCE_DIR}/tests/split/program_test.py)
set_tests_properties(split/program_test PROPERTIES
  ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAM=$<TARGET_FILE:tarvel>;TARVEL_SPLIT_PROGRAM=$<TARGET_FILE:tarvel-split>;${tarvel_sanitizer_options}"
  TIMEOUT 300)
