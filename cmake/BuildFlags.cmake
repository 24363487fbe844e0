# The flags of every target.
#
#   usage_flags      for users of the libraries: language and include roots; PUBLIC
#   build_flags      for hand-written code; PRIVATE
#   generated_flags  for generated code; PRIVATE
#
# All code is compiled with -fPIE and fits any program. `fixed_position` links a program without PIE, so that
# the addresses in its symbol file are the addresses at run time.
set(TOLMIRA_SANITIZE "" CACHE STRING "Sanitizers for every target, as -fsanitize= takes them")
option(TOLMIRA_COVERAGE "Count the executed lines of hand-written targets, for gcov")
option(TOLMIRA_WERROR "Treat warnings as errors" $ENV{TOLMIRA_WERROR})

add_library(usage_flags INTERFACE)
target_compile_features(usage_flags INTERFACE cxx_std_17)
target_include_directories(usage_flags INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
  $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}>
  $<INSTALL_INTERFACE:include/tolmira-frame>)

# Source paths in log lines are relative. The build tree is inside the source tree; for its files the second
# prefix map takes precedence.
add_library(common_flags INTERFACE)
target_link_libraries(common_flags INTERFACE usage_flags)
target_compile_options(common_flags INTERFACE
  -fPIE
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=
  -fmacro-prefix-map=${PROJECT_BINARY_DIR}/=)

# Released programs are hardened.
target_compile_options(common_flags INTERFACE
  "$<$<CONFIG:Release>:-fstack-protector-strong;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2;-ffat-lto-objects>")
target_link_options(common_flags INTERFACE "$<$<CONFIG:Release>:LINKER:-z,relro,-z,now>")

# Libraries that look up addresses in a symbol file pass this on to their programs.
add_library(fixed_position INTERFACE)
target_compile_options(fixed_position INTERFACE -fno-pie)
target_link_options(fixed_position INTERFACE -no-pie)

function(add_sanitizers target sanitizers)
  if(sanitizers)
    list(JOIN sanitizers "," joined)
    # Without vptr: that check needs a pipe, and fails in a test that uses up all descriptors.
    target_compile_options(${target} INTERFACE
      -fsanitize=${joined} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} INTERFACE -fsanitize=${joined})
  endif()
endfunction()

string(REPLACE "," ";" sanitizers "${TOLMIRA_SANITIZE}")

add_library(build_flags INTERFACE)
target_link_libraries(build_flags INTERFACE common_flags)
target_compile_options(build_flags INTERFACE
  -Wall -Wextra -Wshadow -Wconversion
  "$<$<BOOL:${TOLMIRA_WERROR}>:-Werror>"
  # At -O3, g++ 12 wrongly reports strings in variants and aggregates as uninitialised. The other builds keep
  # the warning.
  "$<$<CONFIG:Release>:-Wno-maybe-uninitialized>"
  "$<$<CXX_COMPILER_ID:Clang>:-Wthread-safety;-Wthread-safety-beta>")
add_sanitizers(build_flags "${sanitizers}")
if(TOLMIRA_COVERAGE)
  target_compile_options(build_flags INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(build_flags INTERFACE --coverage)
endif()

# Generated units are many small constructors that run once. More optimisation, debug information or checks for
# undefined behaviour would multiply build time and size. Inline code of their headers gets its user's flags.
add_library(generated_flags INTERFACE)
target_link_libraries(generated_flags INTERFACE common_flags)
target_compile_options(generated_flags INTERFACE -O1 -g0)
list(REMOVE_ITEM sanitizers undefined)
add_sanitizers(generated_flags "${sanitizers}")
