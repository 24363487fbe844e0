option(TOLMIRA_UNITY "Compile the files of each companion and test program as one unit" ON)

# compile_as_one(TARGET...)
#
# Most of the time to compile these files goes into the headers that they share.
function(compile_as_one)
  set_target_properties(${ARGN} PROPERTIES
    UNITY_BUILD ${TOLMIRA_UNITY}
    UNITY_BUILD_BATCH_SIZE 0
    UNITY_BUILD_CODE_BEFORE_INCLUDE "// NOLINTNEXTLINE(bugprone-suspicious-include)")
endfunction()

# add_tolmira_library(NAME SOURCES file... [PUBLIC target...] [PRIVATE target...])
#
# A library of hand-written code, or an interface library if it has no .cpp file. Its users get the include roots
# and the PUBLIC libraries, but not its compiler flags.
function(add_tolmira_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;PUBLIC;PRIVATE")
  set(compiled ${arg_SOURCES})
  list(FILTER compiled INCLUDE REGEX "[.]cpp$")
  if(compiled)
    add_library(${name} STATIC ${arg_SOURCES})
    target_link_libraries(${name}
      PUBLIC usage_flags ${arg_PUBLIC}
      PRIVATE $<BUILD_INTERFACE:build_flags> ${arg_PRIVATE})
  else()
    add_library(${name} INTERFACE ${arg_SOURCES})
    target_link_libraries(${name} INTERFACE usage_flags ${arg_PUBLIC})
  endif()
endfunction()

# add_companion(NAME SOURCES file... LIBRARIES target...)
#
# A program around the tool. TOLMIRA_VERSION is the project's version, for --version.
function(add_companion name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  add_executable(${name} ${arg_SOURCES})
  target_compile_definitions(${name} PRIVATE TOLMIRA_VERSION="${PROJECT_VERSION}")
  target_link_libraries(${name} PRIVATE build_flags commandline standarddescriptors ${arg_LIBRARIES})
  target_link_options(${name} PRIVATE -pie)
  compile_as_one(${name})
endfunction()
