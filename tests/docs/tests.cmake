# What the documentation says, held against the sources and the program.
find_package(Python3 REQUIRED COMPONENTS Interpreter)

foreach(name messages_test links_test one_jump_test report_lines_test pictures_test)
  add_test(NAME docs/${name} COMMAND Python3::Interpreter -B ${PROJECT_SOURCE_DIR}/tests/docs/${name}.py)
  set_tests_properties(docs/${name} PROPERTIES
    ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAM=$<TARGET_FILE:tarvel>"
    TIMEOUT 300)
endforeach()
