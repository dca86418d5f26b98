# One target per component and per test, so that the link lines show who may use whom.

# Flags that every target of the project is built with.
add_library(tarvel_build_options INTERFACE)
target_include_directories(tarvel_build_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_features(tarvel_build_options INTERFACE cxx_std_20)
target_compile_options(tarvel_build_options INTERFACE
  # A fused multiply-add rounds once instead of twice: the digits of a report would depend on the machine.
  -ffp-contract=off
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wdouble-promotion
  $<$<BOOL:${TARVEL_WARNINGS_ARE_ERRORS}>:-Werror>)

# tarvel_component(tarvel_FOLDER SOURCES file... [USES target...]): a static library unless BUILD_SHARED_LIBS says
# otherwise. Its layer, the folder and those below it, is kept for check_layers.cmake.
function(tarvel_component name)
  cmake_parse_arguments(PARSE_ARGV 1 component "" "" "SOURCES;USES")
  add_library(${name} ${component_SOURCES})
  target_link_libraries(${name} PUBLIC ${component_USES} PRIVATE tarvel_build_options)
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_compile_options(${name} PRIVATE ${TARVEL_COMPONENT_OPTIONS})
  set(layer ${component_USES})
  list(FILTER layer INCLUDE REGEX "^tarvel_")
  list(JOIN layer "|" layer)
  set_property(GLOBAL APPEND_STRING PROPERTY TARVEL_LAYERS "${name}:${layer},")
endfunction()

# tarvel_program(NAME SOURCE USES target...): SOURCE holds main. The flags are for all programs: link-time optimisation on as
# many cores as there are, since g++ warns when nobody has said how many; and no library loaded that the program does not
# call, so that one that draws nothing starts without the drawing libraries.
function(tarvel_program name source)
  cmake_parse_arguments(PARSE_ARGV 2 program "" "" "USES")
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE ${program_USES} tarvel_build_options)
  target_link_options(${name} PRIVATE
    -Wl,--as-needed
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${CMAKE_INTERPROCEDURAL_OPTIMIZATION}>>:-flto=auto>)
endfunction()

# What libraries keep until the process ends is no leak of the project's. A request for more memory than there is fails
# under the sanitizer as it does without.
set(tarvel_sanitizer_options
  "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/known_leaks.txt:print_suppressions=0"
  "ASAN_OPTIONS=allocator_may_return_null=1")

# tarvel_is_test_code(TARGET): a test spends its time in what it tests. Its own code is compiled far more often than it is
# worth optimising. One precompiled header serves all only if all have -pthread, which pango asks of some.
function(tarvel_is_test_code target)
  target_compile_options(${target} PRIVATE -O0 -pthread)
endfunction()

# tarvel_test(FOLDER/NAME USES target...): builds tests/FOLDER/NAME.cpp and registers it. A test links its component
# alone, so that a call that points the wrong way fails to link.
function(tarvel_test path)
  cmake_parse_arguments(PARSE_ARGV 1 test "" "" "USES")
  get_filename_component(name ${path} NAME)
  add_executable(${name} tests/${path}.cpp)
  target_link_libraries(${name} PRIVATE ${test_USES} tarvel_test_support tarvel_build_options)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  tarvel_is_test_code(${name})
  target_precompile_headers(${name} REUSE_FROM tarvel_test_support)
  add_test(NAME ${path} COMMAND ${name})
  set_tests_properties(${path} PROPERTIES
    ENVIRONMENT "TZ=UTC;LC_ALL=C;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};${tarvel_sanitizer_options}"
    TIMEOUT 300)
endfunction()
