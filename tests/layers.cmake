# The layers are kept, and the check finds one that is crossed: here samples that may not use support/.
get_property(layers GLOBAL PROPERTY TARVEL_LAYERS)
string(REPLACE "tarvel_track:tarvel_support|" "tarvel_track:" crossed_layers "${layers}")
foreach(name layers crossed_layers)
  add_test(NAME cmake/${name}
    COMMAND ${CMAKE_COMMAND} -D LAYERS=${${name}} -D SOURCE=${PROJECT_SOURCE_DIR}/src -P ${PROJECT_SOURCE_DIR}/cmake/check_layers.cmake)
endforeach()
set_tests_properties(cmake/crossed_layers PROPERTIES WILL_FAIL TRUE)
