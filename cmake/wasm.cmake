# WebAssembly with the system interface of WASI, by Debian's clang 14. Neither threads nor exceptions exist there.
# No system that CMake knows.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
set(CMAKE_AR llvm-ar-14)
set(CMAKE_RANLIB llvm-ranlib-14)
set(CMAKE_CXX_FLAGS_INIT "-fno-exceptions")
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# Addresses for two million samples at once, of which only what is used takes memory: growing there in small steps, as
# the allocator does, makes hosts fail in the middle of a track (node 20 crashes in its garbage collection).
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,--initial-memory=1073741824")
