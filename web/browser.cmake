# tarvel.html: Tarvel for browsers, with the engine in it. The engine is compiled to WebAssembly in a build tree of its
# own, by another compiler, and a component as one source: that takes a third of the time. Sanitizers and coverage do not
# apply to it.
if(CMAKE_CXX_FLAGS MATCHES "sanitize|coverage" OR CMAKE_CXX_COMPILER_ID MATCHES Clang)
  return()
endif()
find_program(TARVEL_WASM_COMPILER clang++-14)
find_program(TARVEL_WASM_LINKER wasm-ld-14)
find_file(TARVEL_WASM_LIBRARY wasm32-wasi/libc.a PATHS /usr/lib NO_DEFAULT_PATH)
set(can_build_browser_page OFF)
if(TARVEL_WASM_COMPILER AND TARVEL_WASM_LINKER AND TARVEL_WASM_LIBRARY)
  set(can_build_browser_page ON)
endif()
option(TARVEL_BROWSER "Build tarvel.html, which needs clang and the libraries for WebAssembly" ${can_build_browser_page})
if(NOT TARVEL_BROWSER)
  message(STATUS "tarvel.html is not built")
  return()
endif()
find_package(Python3 REQUIRED COMPONENTS Interpreter)
include(ExternalProject)

ExternalProject_Add(tarvel_wasm
  SOURCE_DIR ${PROJECT_SOURCE_DIR}
  BINARY_DIR ${PROJECT_BINARY_DIR}/wasm
  STAMP_DIR ${PROJECT_BINARY_DIR}/wasm-stamps
  TMP_DIR ${PROJECT_BINARY_DIR}/wasm-stamps
  CMAKE_ARGS -DCMAKE_TOOLCHAIN_FILE=${PROJECT_SOURCE_DIR}/cmake/wasm.cmake -DCMAKE_BUILD_TYPE=Release
    -DTARVEL_ENGINE_ONLY=ON -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=0
    -DTARVEL_WARNINGS_ARE_ERRORS=${TARVEL_WARNINGS_ARE_ERRORS}
    -DCMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}
  BUILD_COMMAND ${CMAKE_COMMAND} --build <BINARY_DIR> --target tarvel_wasm
  BUILD_BYPRODUCTS ${PROJECT_BINARY_DIR}/wasm/tarvel.wasm
  BUILD_ALWAYS ON
  INSTALL_COMMAND "")

file(GLOB tarvel_app_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/web/app/*.ts ${PROJECT_SOURCE_DIR}/web/app/*.css)
set(tarvel_app_folder ${PROJECT_BINARY_DIR}/app)
add_custom_command(OUTPUT ${tarvel_app_folder}/app.js ${tarvel_app_folder}/app.css ${tarvel_app_folder}/worker.js
  COMMAND ${TARVEL_TSC} --project ${PROJECT_SOURCE_DIR}/web
  COMMAND ${esbuild} --format=iife "--banner:js=${uplot_notice}" ${PROJECT_SOURCE_DIR}/web/app/app.ts --outfile=${tarvel_app_folder}/app.js
  COMMAND ${esbuild} --format=iife ${PROJECT_SOURCE_DIR}/web/app/worker.ts --outfile=${tarvel_app_folder}/worker.js
  COMMAND ${esbuild} ${PROJECT_SOURCE_DIR}/web/app/app.css --outfile=${tarvel_app_folder}/app.css
  DEPENDS ${tarvel_app_sources} ${tarvel_page_sources} ${tarvel_page_vendored} ${PROJECT_SOURCE_DIR}/web/tsconfig.json
  COMMENT "Bundling Tarvel for browsers" VERBATIM)
set(tarvel_browser_page ${PROJECT_BINARY_DIR}/tarvel.html)
add_custom_command(OUTPUT ${tarvel_browser_page}
  COMMAND Python3::Interpreter -B ${PROJECT_SOURCE_DIR}/web/make_browser_page.py ${PROJECT_BINARY_DIR}/tarvel-page
    ${tarvel_app_folder} ${PROJECT_BINARY_DIR}/wasm/tarvel.wasm ${tarvel_browser_page}
  DEPENDS ${tarvel_app_folder}/app.js ${tarvel_page_folder}/page.js ${PROJECT_BINARY_DIR}/wasm/tarvel.wasm
    ${PROJECT_SOURCE_DIR}/web/make_browser_page.py ${PROJECT_SOURCE_DIR}/web/tarvel-page tarvel_wasm
  COMMENT "Making tarvel.html" VERBATIM)
add_custom_target(tarvel_browser ALL DEPENDS ${tarvel_browser_page})
