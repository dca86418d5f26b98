tarvel_test(drawing/cell_layout_test USES tarvel_drawing)
tarvel_test(drawing/drawing_guard_test USES tarvel_drawing)
tarvel_test(drawing/pages_test USES tarvel_driver)

# These stand in for cairo's stroke and fill and for pango's text, and write down what would be drawn.
foreach(name renderer_test renderer_words_test renderer_limits_test)
  tarvel_test(drawing/${name} USES tarvel_drawing)
  target_sources(${name} PRIVATE tests/drawing/drawing_log.cpp)
endforeach()
