# Replaces the allocator of a program into which it is preloaded. Without a sanitizer, since it is called before the
# sanitizer is initialised; with frame pointers, from which the sanitizer finds the caller.
add_library(failing_allocator SHARED tests/support/failing_allocator.cpp)
target_include_directories(failing_allocator PRIVATE tests)
target_link_libraries(failing_allocator PRIVATE tarvel_build_options)
target_compile_options(failing_allocator PRIVATE -fno-sanitize=all -fno-threadsafe-statics -fno-omit-frame-pointer)
target_link_options(failing_allocator PRIVATE -fno-sanitize=all -Wl,--as-needed)

tarvel_test(faults/memory_faults_test USES tarvel_driver)
add_dependencies(memory_faults_test tarvel failing_allocator)
set_property(TEST faults/memory_faults_test APPEND PROPERTY ENVIRONMENT
  "TARVEL_PROGRAM=$<TARGET_FILE:tarvel>" "TARVEL_FAILING_ALLOCATOR=$<TARGET_FILE:failing_allocator>")
# It calls the program hundreds of times.
set_tests_properties(faults/memory_faults_test PROPERTIES TIMEOUT 900 COST 40)

tarvel_test(faults/io_faults_test USES tarvel_driver)
add_dependencies(io_faults_test tarvel)
set_property(TEST faults/io_faults_test APPEND PROPERTY ENVIRONMENT "TARVEL_PROGRAM=$<TARGET_FILE:tarvel>")
# short_transfers has the registers of these processors only.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|aarch64)$")
  add_executable(short_transfers tests/support/short_transfers.cpp)
  target_link_libraries(short_transfers PRIVATE tarvel_build_options)
  add_dependencies(io_faults_test short_transfers)
  set_property(TEST faults/io_faults_test APPEND PROPERTY ENVIRONMENT
    "TARVEL_SHORT_TRANSFERS=$<TARGET_FILE:short_transfers>")
endif()
set_tests_properties(faults/io_faults_test PROPERTIES COST 40)
