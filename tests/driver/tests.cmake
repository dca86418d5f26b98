include(tests/driver/support_tests.cmake)
