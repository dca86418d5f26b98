# Reads the version and its date from src/support/version.h, the only place that has them.
set(version_header ${CMAKE_CURRENT_SOURCE_DIR}/src/support/version.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${version_header})
file(STRINGS ${version_header} version_line REGEX "version = ")
if(NOT version_line MATCHES "\"version ([0-9.]+) \\(([A-Za-z]+ [0-9]+, [0-9]+)\\)\"")
  message(FATAL_ERROR "no version in ${version_header}")
endif()
set(TARVEL_VERSION ${CMAKE_MATCH_1})
set(TARVEL_DATE ${CMAKE_MATCH_2})
