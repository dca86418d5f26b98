# The page's modules that need no browser, under node.
find_program(TARVEL_NODE NAMES node nodejs)

# tarvel_module_test(NAME): tests/web/NAME.mjs, bundled with the modules that it imports.
function(tarvel_module_test name)
  set(bundle ${PROJECT_BINARY_DIR}/tests/web/${name}.mjs)
  add_test(NAME web/${name} COMMAND sh -c
    "${TARVEL_ESBUILD} ${PROJECT_SOURCE_DIR}/tests/web/${name}.mjs --bundle --platform=node --format=esm --log-level=warning --outfile=${bundle} && ${TARVEL_NODE} --test ${bundle}")
  set_tests_properties(web/${name} PROPERTIES TIMEOUT 120)
endfunction()

tarvel_module_test(modules_test)
tarvel_module_test(figures_test)
tarvel_module_test(meet_runs_test)

# Debian's selenium works with Debian's Python only. The tests exit with 77 when a browser is not installed.
find_program(TARVEL_DEBIAN_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
if(NOT TARVEL_DEBIAN_PYTHON)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  set(TARVEL_DEBIAN_PYTHON ${Python3_EXECUTABLE})
endif()

# tarvel_page_test(NAME): tests/web/NAME.py.
function(tarvel_page_test name)
  add_test(NAME web/${name} COMMAND ${TARVEL_DEBIAN_PYTHON} -B ${PROJECT_SOURCE_DIR}/tests/web/${name}.py)
  set_tests_properties(web/${name} PROPERTIES
    ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAM=$<TARGET_FILE:tarvel>;TARVEL_JSON_PROGRAM=$<TARGET_FILE:tarvel-json>;TARVEL_PAGE_PROGRAM=${PROJECT_BINARY_DIR}/tarvel-page;${tarvel_sanitizer_options}"
    SKIP_RETURN_CODE 77
    TIMEOUT 600)
endfunction()

tarvel_page_test(page_program_test)
set_tests_properties(web/page_program_test PROPERTIES COST 20)

# The sanitizers do not apply to scripts of a page.
if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  tarvel_page_test(browser_test)
  tarvel_page_test(firefox_test)
  tarvel_page_test(meet_page_test)
  tarvel_page_test(webkit_test)
  set_tests_properties(web/browser_test web/firefox_test web/meet_page_test web/webkit_test
    PROPERTIES LABELS browser COST 100)
endif()

if(TARGET tarvel_browser)
  foreach(name app_test firefox_app_test)
    tarvel_page_test(${name})
    set_property(TEST web/${name} APPEND PROPERTY ENVIRONMENT "TARVEL_BROWSER_PAGE=${tarvel_browser_page}")
    set_tests_properties(web/${name} PROPERTIES LABELS browser COST 100)
  endforeach()
  set_property(TEST web/webkit_test APPEND PROPERTY ENVIRONMENT "TARVEL_BROWSER_PAGE=${tarvel_browser_page}")
endif()
