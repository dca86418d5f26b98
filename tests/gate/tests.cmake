target_sources(tarvel_test_support PRIVATE tests/support/hand_made_walk.cpp)

tarvel_test(gate/waypoints_test USES tarvel_gate)
tarvel_test(gate/standstill_test USES tarvel_gate)
tarvel_test(gate/levelling_test USES tarvel_gate)
tarvel_test(gate/survey_test USES tarvel_gate)
tarvel_test(gate/exit_gate_test USES tarvel_gate)
tarvel_test(gate/pond_test USES tarvel_gate)
tarvel_test(gate/pond_storage_test USES tarvel_gate)
tarvel_test(gate/gate_open_test USES tarvel_gate)
tarvel_test(gate/hostile_walk_test USES tarvel_gate)

# A geodesy library of its own standing says where the corners of a course lie.
find_library(geographiclib_library GeographicLib REQUIRED)
find_path(geographiclib_folder GeographicLib/Geodesic.hpp REQUIRED)
tarvel_test(gate/survey_geodesy_test USES tarvel_gate ${geographiclib_library})
target_include_directories(survey_geodesy_test SYSTEM PRIVATE ${geographiclib_folder})
