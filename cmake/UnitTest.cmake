include(GoogleTest)

# add_unit_test(NAME SOURCES file... LIBRARIES target... [PROPERTIES property value...])
#
# One GoogleTest program. ctest runs each case in a separate process; with sanitizers it runs each program
# as a whole, its cases in random order. Test code is compiled for a short build; the tested libraries are
# compiled with their usual flags.
function(add_unit_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES;PROPERTIES")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE build_flags ${arg_LIBRARIES} GTest::gmock_main)
  target_compile_options(${name} PRIVATE "$<$<NOT:$<CONFIG:Debug>>:-O0;-g1>")
  target_link_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-lto>)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
  compile_as_one(${name})
  if(TOLMIRA_SANITIZE)
    add_test(NAME ${name} COMMAND ${name} --gtest_shuffle --gtest_random_seed=1 --gtest_brief=1)
    set_tests_properties(${name} PROPERTIES TIMEOUT 900 ${arg_PROPERTIES})
  else()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300 ${arg_PROPERTIES})
  endif()
endfunction()
