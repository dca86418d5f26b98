# tarvel.wasm: the functions of src/module/module.h for hosts of WebAssembly, which provide the memory. The more memory
# a host provides at the start, the fewer of the allocator's small requests for more follow while a large track is read.
add_executable(tarvel_wasm $<TARGET_OBJECTS:tarvel_module>)
target_link_libraries(tarvel_wasm PRIVATE tarvel_module)
set_target_properties(tarvel_wasm PROPERTIES OUTPUT_NAME tarvel SUFFIX .wasm)
set(exported_functions
  allocate release open free version add_course survey analyse split track_jumps message warnings report document check map course log
  listing verdict jump_count jump jump_name)
list(TRANSFORM exported_functions PREPEND "-Wl,--export=tarvel_")
target_link_options(tarvel_wasm PRIVATE
  -mexec-model=reactor
  # A stage has blocks of 64 kB on its stack; the default size of the whole stack is 64 kB.
  -Wl,-z,stack-size=1048576
  -Wl,--initial-memory=16777216
  -Wl,--max-memory=4294967296
  -Wl,--import-memory
  -Wl,--strip-all
  -Wl,--gc-sections
  ${exported_functions})
