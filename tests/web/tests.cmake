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
