tarvel_test(geo/angle_test USES tarvel_geo)
tarvel_test(geo/vec3_test USES tarvel_geo)
tarvel_test(geo/solve_test USES tarvel_geo)
tarvel_test(geo/mat4_test USES tarvel_geo)
tarvel_test(geo/wgs84_test USES tarvel_geo)
tarvel_test(geo/plane_test USES tarvel_geo)
tarvel_test(geo/course_frame_test USES tarvel_geo)

# A geodesy library of its own standing, for this test alone.
find_path(GEOGRAPHICLIB_INCLUDE_DIR GeographicLib/Geocentric.hpp REQUIRED)
find_library(GEOGRAPHICLIB_LIBRARY NAMES GeographicLib Geographic REQUIRED)
tarvel_test(geo/wgs84_geodesy_test USES tarvel_geo)
target_include_directories(wgs84_geodesy_test SYSTEM PRIVATE ${GEOGRAPHICLIB_INCLUDE_DIR})
target_link_libraries(wgs84_geodesy_test PRIVATE ${GEOGRAPHICLIB_LIBRARY})
