tarvel_test(formats/kml_test USES tarvel_formats)
tarvel_test(formats/fixed_decimal_test USES tarvel_formats)
tarvel_test(formats/kml_number_test USES tarvel_formats)
tarvel_test(formats/course_file_write_test USES tarvel_formats)
tarvel_test(formats/course_file_read_test USES tarvel_formats)
tarvel_test(formats/course_file_index_test USES tarvel_formats)
tarvel_test(formats/coord_dump_test USES tarvel_formats)

# Some of these let calls of the C library fail.
foreach(name kml_test course_file_read_test)
  target_sources(${name} PRIVATE tests/support/failing_calls.cpp)
endforeach()
