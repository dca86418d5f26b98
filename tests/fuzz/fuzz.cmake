# Fuzz targets, one file each. With TARVEL_FUZZERS each is built as a libFuzzer program:
#
#   scripts/fuzz 60 container
#
# With the tests each is also linked with a main that calls it with its seeds and its corpus. An input that made a
# target fail is reduced and becomes a seed. `scripts/fuzz --keep` writes the corpus; building the replay unpacks it.

if(TARVEL_FUZZERS)
  add_custom_target(fuzzers)
  add_library(tarvel_reused_memory OBJECT tests/fuzz/reused_memory.cpp)
  target_compile_options(tarvel_reused_memory PRIVATE -fno-sanitize=all)
  target_link_options(tarvel_reused_memory INTERFACE -fsanitize=fuzzer -Wl,--wrap=realloc,--wrap=free)
endif()

if(TARVEL_TESTS)
  add_library(tarvel_replay OBJECT tests/fuzz/replay.cpp)
  target_link_libraries(tarvel_replay PRIVATE tarvel_build_options)
  tarvel_is_test_code(tarvel_replay)
endif()

# tarvel_fuzzer(NAME USES target...)
function(tarvel_fuzzer name)
  cmake_parse_arguments(PARSE_ARGV 1 fuzzer "" "" "USES")
  if(TARVEL_FUZZERS)
    add_executable(${name}_fuzzer tests/fuzz/${name}_fuzzer.cpp)
    target_link_libraries(${name}_fuzzer PRIVATE ${fuzzer_USES} tarvel_reused_memory tarvel_build_options)
    add_dependencies(fuzzers ${name}_fuzzer)
  endif()
  if(TARVEL_TESTS)
    add_executable(${name}_replay tests/fuzz/${name}_fuzzer.cpp)
    target_link_libraries(${name}_replay PRIVATE ${fuzzer_USES} tarvel_replay tarvel_build_options)
    tarvel_is_test_code(${name}_replay)
    set(inputs ${PROJECT_SOURCE_DIR}/tests/fuzz/seeds/${name})
    file(GLOB archive CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/fuzz/corpus/${name}.tar.gz)
    if(archive)
      set(corpus ${PROJECT_BINARY_DIR}/corpus/${name})
      add_custom_command(OUTPUT ${corpus}.unpacked
        COMMAND ${CMAKE_COMMAND} -E rm -rf ${corpus}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${corpus}
        COMMAND ${CMAKE_COMMAND} -E chdir ${corpus} ${CMAKE_COMMAND} -E tar xzf ${archive}
        COMMAND ${CMAKE_COMMAND} -E touch ${corpus}.unpacked
        DEPENDS ${archive})
      target_sources(${name}_replay PRIVATE ${corpus}.unpacked)
      list(APPEND inputs ${corpus})
    endif()
    add_test(NAME fuzz/${name} COMMAND ${name}_replay ${inputs})
    set_tests_properties(fuzz/${name} PROPERTIES ENVIRONMENT "TZ=UTC;LC_ALL=C;${tarvel_sanitizer_options}" TIMEOUT 60)
  endif()
endfunction()

tarvel_fuzzer(header_lines USES tarvel_track)
tarvel_fuzzer(tagged_lines USES tarvel_track)
tarvel_fuzzer(time_field USES tarvel_track)
tarvel_fuzzer(container USES tarvel_container)
tarvel_fuzzer(course_file USES tarvel_formats)
tarvel_fuzzer(swoop_analysis USES tarvel_drawing)
tarvel_fuzzer(run_check USES tarvel_verdict)
tarvel_fuzzer(survey USES tarvel_gate tarvel_formats)
tarvel_fuzzer(split USES tarvel_split)
tarvel_fuzzer(chart USES tarvel_drawing)
tarvel_fuzzer(document USES tarvel_document)
