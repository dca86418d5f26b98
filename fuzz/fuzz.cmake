# Fuzz targets, one file each. With TARVEL_FUZZERS each becomes a libFuzzer program:
#
#   scripts/fuzz 60 container
#
# With the tests each is also linked with a main that replays its seeds and its corpus, under whatever the tests are
# built with. A finding, made small, becomes a seed. The corpus is what scripts/fuzz kept of its last long run; building
# the replay unpacks it.

if(TARVEL_FUZZERS)
  add_library(tarvel_reused_memory OBJECT fuzz/reused_memory.cpp)
  target_compile_options(tarvel_reused_memory PRIVATE -fno-sanitize=all)
  target_link_options(tarvel_reused_memory INTERFACE -fsanitize=fuzzer -Wl,--wrap=realloc,--wrap=free)
endif()

# tarvel_fuzzer(NAME USES target...)
function(tarvel_fuzzer name)
  cmake_parse_arguments(PARSE_ARGV 1 fuzzer "" "" "USES")
  if(TARVEL_FUZZERS)
    add_executable(${name}_fuzzer fuzz/${name}_fuzzer.cpp)
    target_link_libraries(${name}_fuzzer PRIVATE ${fuzzer_USES} tarvel_reused_memory tarvel_build_options)
  endif()
  if(TARVEL_TESTS)
    add_executable(${name}_replay fuzz/${name}_fuzzer.cpp fuzz/replay.cpp)
    target_link_libraries(${name}_replay PRIVATE ${fuzzer_USES} tarvel_build_options)
    file(GLOB inputs CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
    add_test(NAME fuzz/${name} COMMAND ${name}_replay ${PROJECT_SOURCE_DIR}/fuzz/seeds/${name} ${inputs})
    set_tests_properties(fuzz/${name} PROPERTIES ENVIRONMENT "TZ=UTC;LC_ALL=C;${tarvel_sanitizer_options}" TIMEOUT 60)
  endif()
endfunction()

tarvel_fuzzer(header_lines USES tarvel_track)
tarvel_fuzzer(tagged_lines USES tarvel_track)
tarvel_fuzzer(time_field USES tarvel_track)
tarvel_fuzzer(container USES tarvel_container)
tarvel_fuzzer(course_file USES tarvel_formats)
tarvel_fuzzer(swoop_analysis USES tarvel_drawing)
tarvel_fuzzer(survey USES tarvel_gate tarvel_formats)
tarvel_fuzzer(split USES tarvel_split)
tarvel_fuzzer(chart USES tarvel_drawing)
tarvel_fuzzer(document USES tarvel_document)
