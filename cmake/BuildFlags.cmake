# The flags of every target: hand-written ones link `build_flags` PRIVATE, generated ones
# `generated_flags`.
#
# Programs are linked without PIE, so that the addresses in a symbol file are the addresses that
# appear at run time; those without a symbol file set TOLMIRA_PIE. All code is compiled for both.
define_property(TARGET PROPERTY TOLMIRA_PIE INITIALIZE_FROM_VARIABLE TOLMIRA_PIE)
set(TOLMIRA_SANITIZE "" CACHE STRING "Sanitizers for every target, as -fsanitize= takes them")

# Language, include roots, position and source paths. The second prefix map wins for files below the
# build tree, which lies inside the source tree.
add_library(language_flags INTERFACE)
target_include_directories(language_flags INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
target_compile_options(language_flags INTERFACE
  -std=c++17
  -fPIE
  # Lines are fetched for a store; a processor that doesn't know the instruction takes it as none.
  -mprfchw
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=
  -fmacro-prefix-map=${PROJECT_BINARY_DIR}/=)
target_link_options(language_flags INTERFACE
  $<IF:$<BOOL:$<TARGET_PROPERTY:TOLMIRA_PIE>>,-pie,-no-pie>)

# What is released calls the C library without the detour through the linkage table, which the
# mailbox's lock would take twice for each access, and is hardened.
target_compile_options(language_flags INTERFACE
  "$<$<CONFIG:Release>:-fno-plt;-fstack-protector-strong;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2;-ffat-lto-objects>")
target_link_options(language_flags INTERFACE "$<$<CONFIG:Release>:LINKER:-z,relro,-z,now>")

option(TOLMIRA_COVERAGE "Count what is run, for gcov; for hand-written targets")

function(add_sanitizers target sanitizers)
  if(sanitizers)
    list(JOIN sanitizers "," joined)
    # Without vptr: that check looks at memory through a pipe of its own and so fails where a test
    # takes away all descriptors.
    target_compile_options(${target} INTERFACE
      -fsanitize=${joined} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} INTERFACE -fsanitize=${joined})
  endif()
endfunction()

string(REPLACE "," ";" sanitizers "${TOLMIRA_SANITIZE}")

add_library(build_flags INTERFACE)
target_link_libraries(build_flags INTERFACE language_flags)
target_compile_options(build_flags INTERFACE
  -Wall -Wextra -Wshadow -Wconversion -Werror
  "$<$<CXX_COMPILER_ID:Clang>:-Wthread-safety;-Wthread-safety-beta>")
add_sanitizers(build_flags "${sanitizers}")
if(TOLMIRA_COVERAGE)
  target_compile_options(build_flags INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(build_flags INTERFACE --coverage)
endif()

# Generated units are many small constructors that run once: optimising them further or describing
# them to a debugger multiplies build time and size, and so do the checks for undefined behaviour.
# What is inline in their headers gets the flags of its users.
add_library(generated_flags INTERFACE)
target_link_libraries(generated_flags INTERFACE language_flags)
target_compile_options(generated_flags INTERFACE -O1 -g0)
list(REMOVE_ITEM sanitizers undefined)
add_sanitizers(generated_flags "${sanitizers}")
