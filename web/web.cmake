# The page of a run: checked by tsc, bundled by esbuild.
find_program(TARVEL_TSC tsc REQUIRED)
find_program(TARVEL_ESBUILD esbuild REQUIRED)

file(GLOB tarvel_page_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/web/src/*.ts)
set(tarvel_page_folder ${PROJECT_BINARY_DIR}/page)

add_custom_command(OUTPUT ${tarvel_page_folder}/checked
  COMMAND ${TARVEL_TSC} --project ${PROJECT_SOURCE_DIR}/web
  COMMAND ${CMAKE_COMMAND} -E make_directory ${tarvel_page_folder}
  COMMAND ${CMAKE_COMMAND} -E touch ${tarvel_page_folder}/checked
  DEPENDS ${tarvel_page_sources} ${PROJECT_SOURCE_DIR}/web/tsconfig.json
  COMMENT "Checking the page of a run" VERBATIM)
add_custom_target(tarvel_page ALL DEPENDS ${tarvel_page_folder}/checked)
