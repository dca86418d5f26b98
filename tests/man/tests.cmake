# The worked examples of the pages, read by the program's own readers.
tarvel_test(man/tvl_page_test USES tarvel_gate)
tarvel_test(man/course_page_test USES tarvel_driver)

find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(tarvel_page_environment
  "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAM=$<TARGET_FILE:tarvel>;TARVEL_CHECK_PROGRAM=$<TARGET_FILE:tarvel-check>;TARVEL_JSON_PROGRAM=$<TARGET_FILE:tarvel-json>;TARVEL_PAGE_PROGRAM=${PROJECT_BINARY_DIR}/tarvel-page;TARVEL_SPLIT_PROGRAM=$<TARGET_FILE:tarvel-split>"
  ${tarvel_sanitizer_options})

foreach(name options_test messages_test figures_test)
  add_test(NAME man/${name} COMMAND Python3::Interpreter -B ${PROJECT_SOURCE_DIR}/tests/man/${name}.py)
endforeach()

# These exit with 77 where a tool that they need is not installed.
foreach(name examples_work pages_are_clean)
  add_test(NAME man/${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/man/${name})
endforeach()

set_tests_properties(man/options_test man/messages_test man/figures_test man/examples_work man/pages_are_clean PROPERTIES
  ENVIRONMENT "${tarvel_page_environment}"
  SKIP_RETURN_CODE 77
  TIMEOUT 300)
