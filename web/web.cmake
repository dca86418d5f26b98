# The page of a run: checked by tsc, bundled and minified by esbuild into one script and one style sheet.
# web/tarvel-page puts documents into it.
find_program(TARVEL_TSC tsc REQUIRED)
find_program(TARVEL_ESBUILD esbuild REQUIRED)

file(GLOB tarvel_page_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/web/src/*.ts ${PROJECT_SOURCE_DIR}/web/src/*.css)
file(GLOB_RECURSE tarvel_page_vendored ${PROJECT_SOURCE_DIR}/web/vendor/uplot/*)
set(tarvel_page_folder ${PROJECT_BINARY_DIR}/page)
# The language that browsers have supported since 2020.
set(esbuild ${TARVEL_ESBUILD} --bundle --minify --target=es2020 --charset=utf8 --log-level=warning)
# The licence of uPlot requires this notice in every copy.
set(uplot_notice "/* Contains uPlot, Copyright (c) 2022 Leon Sorokin, used under the MIT License. */")

add_custom_command(
  OUTPUT ${tarvel_page_folder}/page.js ${tarvel_page_folder}/page.css ${tarvel_page_folder}/meet.js ${tarvel_page_folder}/meet.css
  COMMAND ${TARVEL_TSC} --project ${PROJECT_SOURCE_DIR}/web
  COMMAND ${esbuild} --format=iife "--banner:js=${uplot_notice}" ${PROJECT_SOURCE_DIR}/web/src/page.ts --outfile=${tarvel_page_folder}/page.js
  COMMAND ${esbuild} --format=iife "--banner:js=${uplot_notice}" ${PROJECT_SOURCE_DIR}/web/src/meet.ts --outfile=${tarvel_page_folder}/meet.js
  COMMAND ${esbuild} ${PROJECT_SOURCE_DIR}/web/src/style.css --outfile=${tarvel_page_folder}/page.css
  COMMAND ${esbuild} ${PROJECT_SOURCE_DIR}/web/src/meet.css --outfile=${tarvel_page_folder}/meet.css
  DEPENDS ${tarvel_page_sources} ${tarvel_page_vendored} ${PROJECT_SOURCE_DIR}/web/tsconfig.json
  COMMENT "Bundling the page of a run" VERBATIM)
add_custom_target(tarvel_page ALL DEPENDS ${tarvel_page_folder}/page.js)
# Beside tarvel-json, as it is installed.
configure_file(web/tarvel-page ${PROJECT_BINARY_DIR}/tarvel-page COPYONLY)
configure_file(src/meet/meet_page.py ${tarvel_page_folder}/meet_page.py COPYONLY)
