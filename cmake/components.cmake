# One target per component and per test: the link lines say which component may use which.

# The flags of every target of the project.
add_library(tarvel_build_options INTERFACE)
target_include_directories(tarvel_build_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_features(tarvel_build_options INTERFACE cxx_std_20)
target_compile_options(tarvel_build_options INTERFACE
  # A fused multiply-add rounds once instead of twice: a report would have other digits on machines that have one.
  -ffp-contract=off
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wdouble-promotion
  $<$<BOOL:${TARVEL_WARNINGS_ARE_ERRORS}>:-Werror>)

# tarvel_precompile_headers(TARGET OTHER [header...]): without headers TARGET uses those of OTHER, which must be
# compiled with equal flags.
function(tarvel_precompile_headers target other)
  if(ARGN)
    target_precompile_headers(${target} PRIVATE ${ARGN})
  else()
    target_precompile_headers(${target} REUSE_FROM ${other})
  endif()
endfunction()

# tarvel_component(tarvel_FOLDER SOURCES file... [USES target...] [HEADERS header...]): a static library, or with
# BUILD_SHARED_LIBS a shared one. Its link line is recorded for check_layers.cmake. HEADERS are precompiled; a component
# without them uses those of tarvel_support: the C++ library's headers take two thirds of a source's compilation time.
function(tarvel_component name)
  cmake_parse_arguments(PARSE_ARGV 1 component "" "" "SOURCES;USES;HEADERS")
  add_library(${name} ${component_SOURCES})
  target_link_libraries(${name} PUBLIC ${component_USES} PRIVATE tarvel_build_options)
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_compile_options(${name} PRIVATE ${TARVEL_COMPONENT_OPTIONS})
  tarvel_precompile_headers(${name} tarvel_support ${component_HEADERS})
  # A macro of its own in each shared library would make the precompiled headers differ.
  set_target_properties(${name} PROPERTIES DEFINE_SYMBOL "")
  set(layer ${component_USES})
  list(FILTER layer INCLUDE REGEX "^tarvel_")
  list(JOIN layer "|" layer)
  set_property(GLOBAL APPEND_STRING PROPERTY TARVEL_LAYERS "${name}:${layer},")
endfunction()

# tarvel_program(NAME SOURCE USES target...): SOURCE has main. Link-time optimisation uses all cores; without a number
# g++ warns. --as-needed leaves out libraries that the program does not call: one that draws nothing does not load the
# drawing libraries. The C++ library is linked statically, since loading it takes a millisecond of every call.
function(tarvel_program name source)
  cmake_parse_arguments(PARSE_ARGV 2 program "" "" "USES")
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE ${program_USES} tarvel_build_options)
  target_link_options(${name} PRIVATE
    -Wl,--as-needed
    $<$<NOT:$<BOOL:${BUILD_SHARED_LIBS}>>:-static-libstdc++;-static-libgcc>
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${CMAKE_INTERPROCEDURAL_OPTIMIZATION}>>:-flto=auto>)
endfunction()

# Memory that third-party libraries keep until the process ends is not reported as a leak. With the sanitizer, too, an
# allocation that is too large returns null.
set(tarvel_sanitizer_options
  "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/known_leaks.txt:print_suppressions=0"
  "ASAN_OPTIONS=allocator_may_return_null=1")

# tarvel_is_test_code(TARGET): without optimisation, since test code is compiled often and takes little of a test's
# time; with no more debugging information than backtraces need, which saves a quarter of its compilation time; and of
# the sanitizers with that of addresses alone, since the others double it and are there for the code under test.
function(tarvel_is_test_code target)
  target_compile_options(${target} PRIVATE -O0 -g1 -fno-sanitize=undefined,float-cast-overflow)
endfunction()

# gold links a test in a third of the time that GNU ld takes.
include(CheckLinkerFlag)
check_linker_flag(CXX -fuse-ld=gold TARVEL_HAS_GOLD)

# tarvel_test(FOLDER/NAME USES target... [HEADERS header...] [HEADERS_OF test]): builds tests/FOLDER/NAME.cpp and
# registers it. A test links only the component that it tests: when that calls a component above it, the test does not
# link. HEADERS are precompiled; without them the test uses those of HEADERS_OF, or those of most tests.
function(tarvel_test path)
  cmake_parse_arguments(PARSE_ARGV 1 test "" "HEADERS_OF" "USES;HEADERS")
  if(NOT test_HEADERS_OF)
    set(test_HEADERS_OF tarvel_test_support)
  endif()
  get_filename_component(name ${path} NAME)
  add_executable(${name} tests/${path}.cpp)
  target_link_libraries(${name} PRIVATE ${test_USES} tarvel_test_support tarvel_build_options)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  tarvel_is_test_code(${name})
  target_link_options(${name} PRIVATE $<$<BOOL:${TARVEL_HAS_GOLD}>:-fuse-ld=gold>)
  tarvel_precompile_headers(${name} ${test_HEADERS_OF} ${test_HEADERS})
  add_test(NAME ${path} COMMAND ${name})
  set_tests_properties(${path} PROPERTIES
    ENVIRONMENT "TZ=UTC;LC_ALL=C;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};${tarvel_sanitizer_options}"
    TIMEOUT 300)
endfunction()
