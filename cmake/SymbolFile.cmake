# add_symbol_file(PROGRAM)
#
# Links the program at a fixed position, and writes <program>_symbols.txt beside it after each link: one line for
# each address of its code, in ascending order. The last line is the end of all code, `etext`, which the linker
# defines on request.
function(add_symbol_file program)
  target_link_libraries(${program} PRIVATE fixed_position)
  target_link_options(${program} PRIVATE LINKER:--undefined=etext)
  get_target_property(directory ${program} RUNTIME_OUTPUT_DIRECTORY)
  get_target_property(name ${program} OUTPUT_NAME)
  if(NOT name)
    set(name ${program})
  endif()
  set(file ${directory}/${name}_symbols.txt)
  add_custom_command(TARGET ${program} POST_BUILD
    COMMAND ${PROJECT_SOURCE_DIR}/cmake/symbolfile ${CMAKE_NM} $<TARGET_FILE:${program}> ${file}
    BYPRODUCTS ${file}
    VERBATIM)
endfunction()
