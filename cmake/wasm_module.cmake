# tarvel.wasm: the functions of src/module/module.h for hosts of WebAssembly, which give it its memory. The more of it there
# is from the start, the less often the allocator asks for a little more while a large track is read.
add_executable(tarvel_wasm $<TARGET_OBJECTS:tarvel_module>)
target_link_libraries(tarvel_wasm PRIVATE tarvel_module)
set_target_properties(tarvel_wasm PROPERTIES OUTPUT_NAME tarvel SUFFIX .wasm)
set(exported_functions
  allocate release open free version add_course survey analyse split track_jumps message warnings report document check map course log
  listing verdict jump_count jump jump_name)
list(TRANSFORM exported_functions PREPEND "-Wl,--export=tarvel_")
target_link_options(tarvel_wasm PRIVATE
  -mexec-model=reactor
  # A stage keeps blocks of 64 kB on its stack, which is all that a program has otherwise.
  -Wl,-z,stack-size=1048576
  -Wl,--initial-memory=16777216
  -Wl,--max-memory=4294967296
  -Wl,--import-memory
  -Wl,--strip-all
  -Wl,--gc-sections
  ${exported_functions})
