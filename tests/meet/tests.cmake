# The sanitizers find nothing in a script, and its runs are those of other tests.
if(CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  return()
endif()
# The counters make tarvel slow.
set(tarvel_meet_runs 100)
if(CMAKE_CXX_FLAGS MATCHES "--coverage")
  set(tarvel_meet_runs 48)
endif()

foreach(name ReportTest ResumeTest AgainTest ReturnTest FolderTest FailureTest UsageTest HostTest)
  add_test(NAME meet/${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/meet/meet_test.py ${name})
  set_tests_properties(meet/${name} PROPERTIES
    ENVIRONMENT "TZ=UTC;LC_ALL=C.UTF-8;TARVEL_SOURCE_DIR=${PROJECT_SOURCE_DIR};TARVEL_PROGRAM=$<TARGET_FILE:tarvel>;TARVEL_MEET_RUNS=${tarvel_meet_runs};PYTHONDONTWRITEBYTECODE=1;${tarvel_sanitizer_options}"
    SKIP_RETURN_CODE 77
    TIMEOUT 300 COST 50)
endforeach()
