# WebAssembly with the system interface of WASI, by Debian's clang 14. Neither threads nor exceptions exist there.
set(CMAKE_SYSTEM_NAME WASI)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
set(CMAKE_AR llvm-ar-14)
set(CMAKE_RANLIB llvm-ranlib-14)
set(CMAKE_CXX_FLAGS_INIT "-fno-exceptions")
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# A track of a million samples is an array of 224 MB that doubles on its way there.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,--max-memory=4294967296")
