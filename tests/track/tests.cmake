tarvel_test(track/gps_point_test USES tarvel_track)
tarvel_test(track/gps_track_test USES tarvel_track)
tarvel_test(track/line_reader_test USES tarvel_track)
tarvel_test(track/decimal_test USES tarvel_track)
tarvel_test(track/time_field_test USES tarvel_track)
tarvel_test(track/calendar_test USES tarvel_track tarvel_failing_calls)
tarvel_test(track/course_test USES tarvel_track)
tarvel_test(track/columns_test USES tarvel_track)
tarvel_test(track/delimited_reader_test USES tarvel_track)
tarvel_test(track/track_frames_test USES tarvel_track)

# calendar_test forks 500 times, and each fork copies the page tables of the freed memory that the address sanitizer
# keeps back: 256 MB by default.
set_property(TEST track/calendar_test APPEND PROPERTY
  ENVIRONMENT "ASAN_OPTIONS=allocator_may_return_null=1:quarantine_size_mb=16")
