# The program's readers read the worked examples of the pages.
tarvel_test(man/tvl_page_test USES tarvel_gate)
tarvel_test(man/course_page_test USES tarvel_driver)

foreach(name options_test messages_test figures_test examples_work pages_are_clean)
  tarvel_script_test(man/${name} "TARVEL_PAGE_PROGRAM=${PROJECT_BINARY_DIR}/tarvel-page")
endforeach()
set_tests_properties(man/examples_work PROPERTIES COST 20)
