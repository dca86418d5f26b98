# WebAssembly with the system interface WASI, by Debian's clang 14. It has neither threads nor exceptions.
set(CMAKE_SYSTEM_NAME Generic)  # CMake has no name for WASI
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
set(CMAKE_AR llvm-ar-14)
set(CMAKE_RANLIB llvm-ranlib-14)
set(CMAKE_CXX_FLAGS_INIT "-fno-exceptions")
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# 1 GB of addresses from the start, enough for two million samples; only pages that are used take memory. The allocator
# grows the memory in small steps, and with a large track node 20 then crashes in its garbage collection.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,--initial-memory=1073741824")
