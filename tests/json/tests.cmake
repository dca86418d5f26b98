find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(tarvel_json_environment
  "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAM=$<TARGET_FILE:tarvel>;TARVEL_JSON_PROGRAM=$<TARGET_FILE:tarvel-json>;TARVEL_CHECK_PROGRAM=$<TARGET_FILE:tarvel-check>;TARVEL_DOCUMENT_REPLAY=${PROJECT_BINARY_DIR}/document_replay"
  ${tarvel_sanitizer_options})

if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  list(APPEND tarvel_json_environment "TARVEL_IS_SANITIZED=1")
endif()

tarvel_test(json/input_stream_test USES tarvel_json)
tarvel_test(json/json_program_test USES tarvel_support)
add_dependencies(json_program_test tarvel-json)
set_property(TEST json/json_program_test APPEND PROPERTY ENVIRONMENT "TARVEL_PROGRAM=$<TARGET_FILE:tarvel-json>")

foreach(name documents_test json_page_test)
  add_test(NAME json/${name} COMMAND Python3::Interpreter -B ${PROJECT_SOURCE_DIR}/tests/json/${name}.py)
  set_tests_properties(json/${name} PROPERTIES ENVIRONMENT "${tarvel_json_environment}" TIMEOUT 300)
endforeach()
