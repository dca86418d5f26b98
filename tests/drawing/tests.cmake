tarvel_test(drawing/cell_layout_test USES tarvel_drawing)
tarvel_test(drawing/drawing_guard_test USES tarvel_drawing)
tarvel_test(drawing/pages_test USES tarvel_driver)

# drawing_log.cpp replaces the functions of cairo and pango that draw lines, areas and text, and records their calls.
foreach(name renderer_test renderer_words_test renderer_limits_test)
  tarvel_test(drawing/${name} USES tarvel_drawing)
  target_sources(${name} PRIVATE tests/support/drawing_log.cpp)
endforeach()
