# What the documentation says, held against the sources and the program.
find_package(Python3 REQUIRED COMPONENTS Interpreter)

foreach(name messages_test links_test one_jump_test report_lines_test pictures_test trust_a_figure_test architecture_test)
  add_test(NAME docs/${name} COMMAND Python3::Interpreter -B ${PROJECT_SOURCE_DIR}/tests/docs/${name}.py)
  set_tests_properties(docs/${name} PROPERTIES
    ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAM=$<TARGET_FILE:tarvel>;TARVEL_CHECK_PROGRAM=$<TARGET_FILE:tarvel-check>;TARVEL_SPLIT_PROGRAM=$<TARGET_FILE:tarvel-split>"
    TIMEOUT 300)
endforeach()

set_target_properties(first_page_picture PROPERTIES EXCLUDE_FROM_ALL OFF)
set_property(TEST docs/pictures_test APPEND PROPERTY
  ENVIRONMENT "TARVEL_FIRST_PAGE_PICTURE=$<TARGET_FILE:first_page_picture>;${tarvel_sanitizer_options}")

get_property(layers GLOBAL PROPERTY TARVEL_LAYERS)
set_property(TEST docs/architecture_test APPEND PROPERTY ENVIRONMENT "TARVEL_LAYERS=${layers}")
