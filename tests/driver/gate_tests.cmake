# Tests of gate mode that run the program itself.
foreach(name gate_program_test gate_program_hostile_test)
  tarvel_test(driver/${name} USES tarvel_driver)
  add_dependencies(${name} tarvel)
  set_property(TEST driver/${name} APPEND PROPERTY ENVIRONMENT "TARVEL_PROGRAM=$<TARGET_FILE:tarvel>")
endforeach()
