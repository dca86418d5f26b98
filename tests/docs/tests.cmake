# Compares the documentation with the sources and with the output of the programs.
foreach(name messages_test links_test layers_test one_jump_test report_lines_test pictures_test trust_a_figure_test
    architecture_test top_level_test)
  tarvel_script_test(docs/${name} "TARVEL_FIRST_PAGE_PICTURE=$<TARGET_FILE:first_page_picture>")
endforeach()
set_target_properties(first_page_picture PROPERTIES EXCLUDE_FROM_ALL OFF)
