include(tests/driver/support_tests.cmake)
tarvel_test(driver/hostile_track_test USES tarvel_driver)

# Tests that run the program itself.
foreach(name options_test program_test program_outputs_test program_map_test program_hostile_test
        standard_output_test)
  tarvel_test(driver/${name} USES tarvel_driver)
  add_dependencies(${name} tarvel)
  set_property(TEST driver/${name} APPEND PROPERTY ENVIRONMENT "TARVEL_PROGRAM=$<TARGET_FILE:tarvel>")
endforeach()

include(tests/driver/gate_tests.cmake)
