# The flags of every hand-written target: link `build_flags` PRIVATE.
#
# Programs are linked without PIE, so that the addresses in a symbol file are the addresses that
# appear at run time.
set(TOLMIRA_SANITIZE "" CACHE STRING "Sanitizers for every target, as -fsanitize= takes them")

# What generated code needs too: language, include roots, position and source paths.
# The second prefix map wins for files below the build tree, which lies inside the source tree.
add_library(language_flags INTERFACE)
target_include_directories(language_flags INTERFACE ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
target_compile_options(language_flags INTERFACE
  -std=c++17
  -fno-pie
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=
  -fmacro-prefix-map=${PROJECT_BINARY_DIR}/=)
target_link_options(language_flags INTERFACE -no-pie)

if(TOLMIRA_SANITIZE)
  target_compile_options(language_flags INTERFACE
    -fsanitize=${TOLMIRA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(language_flags INTERFACE -fsanitize=${TOLMIRA_SANITIZE})
endif()

add_library(build_flags INTERFACE)
target_link_libraries(build_flags INTERFACE language_flags)
target_compile_options(build_flags INTERFACE -Wall -Wextra -Wshadow -Wconversion -Werror)
