include(GoogleTest)

# add_unit_test(NAME SOURCES file... LIBRARIES target...)
#
# One GoogleTest program; ctest runs each case in a separate process. Test cases are compiled for a short build,
# the tested libraries with their usual flags.
function(add_unit_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE build_flags ${arg_LIBRARIES} GTest::gmock_main)
  target_compile_options(${name} PRIVATE "$<$<NOT:$<CONFIG:Debug>>:-O1;-g1>")
  target_link_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-lto>)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
