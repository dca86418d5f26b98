# The engine on other machines. Its builds do not depend on this build's sanitizers or coverage counts.
if(CMAKE_CXX_FLAGS MATCHES "sanitize|coverage" OR CMAKE_CXX_COMPILER_ID MATCHES Clang)
  return()
endif()
find_package(Python3 REQUIRED COMPONENTS Interpreter)
find_program(TARVEL_NODE NAMES node nodejs REQUIRED)
find_program(TARVEL_QEMU qemu-aarch64 REQUIRED)

# Where optimized code calls the system interface of Node.js 20 directly, the heap is damaged, and at times it crashes.
set(tarvel_run_wasm ${TARVEL_NODE} --no-warnings --no-turbo-fast-api-calls
  ${CMAKE_CURRENT_LIST_DIR}/run_wasm.mjs)
set(tarvel_run_aarch64 ${TARVEL_QEMU})

# tarvel.html needs most of the engine for WebAssembly, so the test builds its program in the same tree.
set(tarvel_wasm_tree ${PROJECT_BINARY_DIR}/wasm)
set(tarvel_build_wasm ${CMAKE_COMMAND} --build ${tarvel_wasm_tree} --target engine_program)
# On ARM char is unsigned, so the preset unsigned-char is not tested here.
set(tarvel_aarch64_tree ${PROJECT_SOURCE_DIR}/build/aarch64)
set(tarvel_build_aarch64 sh -c "${CMAKE_COMMAND} --preset aarch64 && ${CMAKE_COMMAND} --build --preset aarch64 --target engine_program")
foreach(machine wasm aarch64)
  add_test(NAME engine/build_${machine} COMMAND ${tarvel_build_${machine}} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  add_test(NAME engine/${machine}
    COMMAND Python3::Interpreter -B ${CMAKE_CURRENT_LIST_DIR}/engine_test.py ${machine}
      ${tarvel_run_${machine}} ${tarvel_${machine}_tree}/engine_program)
  set_tests_properties(engine/build_${machine} PROPERTIES FIXTURES_SETUP engine_${machine} TIMEOUT 900 COST 100)
  set_tests_properties(engine/${machine} PROPERTIES FIXTURES_REQUIRED engine_${machine} TIMEOUT 300 COST 50
    ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAM=$<TARGET_FILE:tarvel>;TARVEL_JSON_PROGRAM=$<TARGET_FILE:tarvel-json>;TARVEL_CHECK_PROGRAM=$<TARGET_FILE:tarvel-check>")
endforeach()
