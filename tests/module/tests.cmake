tarvel_test(module/sha256_test USES tarvel_module)
tarvel_test(module/module_test USES tarvel_module tarvel_failing_calls)

# Compares the module in WebAssembly with the programs of this machine. Sanitizers and coverage do not apply to it.
if(CMAKE_CXX_FLAGS MATCHES "sanitize|coverage" OR CMAKE_CXX_COMPILER_ID MATCHES Clang)
  return()
endif()
find_package(Python3 REQUIRED COMPONENTS Interpreter)
find_program(TARVEL_NODE NAMES node nodejs REQUIRED)
set(tarvel_module_runner ${PROJECT_BINARY_DIR}/tests/module/run_module.mjs)
add_test(NAME module/bundle_runner
  COMMAND ${TARVEL_ESBUILD} ${CMAKE_CURRENT_LIST_DIR}/run_module.mjs --bundle --platform=node --format=esm
    --log-level=warning --outfile=${tarvel_module_runner})
set_tests_properties(module/bundle_runner PROPERTIES FIXTURES_SETUP module_runner)
add_test(NAME module/wasm_test COMMAND Python3::Interpreter -B ${CMAKE_CURRENT_LIST_DIR}/wasm_test.py
  ${TARVEL_NODE} ${tarvel_module_runner} ${PROJECT_BINARY_DIR}/wasm/tarvel.wasm)
set_tests_properties(module/wasm_test PROPERTIES FIXTURES_REQUIRED module_runner TIMEOUT 1800 COST 50
  ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAMS=${PROJECT_BINARY_DIR};PYTHONPATH=${PROJECT_SOURCE_DIR}/tests/engine")
