# The development packages: headers, static libraries, and their files for CMake and pkg-config.
include(CMakePackageConfigHelpers)

set(headers include/tolmira-frame)
set(libraryRoot lib/${CMAKE_LIBRARY_ARCHITECTURE})
set(archives ${libraryRoot}/tolmira-frame)

# install_exported(NAME COMPONENT TARGETS target... DEPENDENCIES call...)
function(install_exported name component)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "TARGETS;DEPENDENCIES")
  set(folder ${libraryRoot}/cmake/${name})
  install(TARGETS ${arg_TARGETS} EXPORT ${name}
    ARCHIVE DESTINATION ${archives} COMPONENT ${component})
  # Remove the sections of link-time optimisation: their names are random, and only the same compiler can read them.
  install(CODE "
    file(GLOB libraries \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${archives}/*.a\")
    foreach(library IN LISTS libraries)
      execute_process(COMMAND \"${CMAKE_OBJCOPY}\" --enable-deterministic-archives
        --remove-section=.gnu.lto_* --remove-section=.gnu.debuglto_* \"\${library}\"
        COMMAND_ERROR_IS_FATAL ANY)
    endforeach()"
    COMPONENT ${component})
  install(EXPORT ${name} NAMESPACE ${name}:: DESTINATION ${folder} COMPONENT ${component})
  list(TRANSFORM arg_DEPENDENCIES REPLACE "(.+)" "find_dependency(\\1)")
  list(JOIN arg_DEPENDENCIES "\n" dependencies)
  file(CONFIGURE OUTPUT ${name}Config.cmake @ONLY CONTENT [=[
include(CMakeFindDependencyMacro)
@dependencies@
include(${CMAKE_CURRENT_LIST_DIR}/@name@.cmake)
]=])
  write_basic_package_version_file(${name}ConfigVersion.cmake COMPATIBILITY SameMinorVersion)
  install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/${name}Config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/${name}ConfigVersion.cmake
    DESTINATION ${folder} COMPONENT ${component})
  foreach(target IN LISTS arg_TARGETS)
    get_target_property(type ${target} TYPE)
    if(type STREQUAL STATIC_LIBRARY)
      add_dependencies(packaged ${target})
    endif()
  endforeach()
endfunction()

foreach(folder IN LISTS frameFolders)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${folder} DESTINATION ${headers}
    COMPONENT frame_dev FILES_MATCHING PATTERN "*.h" PATTERN "*_test.h" EXCLUDE)
endforeach()
install_exported(TolmiraFrame frame_dev
  TARGETS ${exportedFrame}
  DEPENDENCIES "Boost 1.74" Threads)

# Archives by path, because one has the name of a system library.
set(archiveList)
foreach(target IN LISTS exportedFrame)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL STATIC_LIBRARY)
    string(APPEND archiveList " \${archives}/lib${target}.a")
  endif()
endforeach()
configure_file(tolmira-frame.pc.in tolmira-frame.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tolmira-frame.pc
  DESTINATION ${libraryRoot}/pkgconfig COMPONENT frame_dev)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
  DESTINATION share/doc/libtolmira-frame-dev COMPONENT frame_dev)
install(DIRECTORY ${PROJECT_BINARY_DIR}/api/html
  DESTINATION share/doc/libtolmira-frame-dev COMPONENT frame_dev OPTIONAL)
debian_package(frame_dev libtolmira-frame-dev libdevel
  DESCRIPTION
    "framework for a video switcher frame's programs (development files)"
    "Configuration, logging, locks, threads, shell commands through a slave"
    "process, mapped card memory and typed register access: headers, static"
    "libraries, the CMake package TolmiraFrame and a pkg-config file."
  RELATIONS
    SHLIBDEPS OFF
    DEPENDS "libboost-dev (>= 1.74)"
    SUGGESTS "tolmira-upgrade (= ${debianVersion}), libtolmira-maps-dev")

install(DIRECTORY ${PROJECT_BINARY_DIR}/src DESTINATION ${headers}
  COMPONENT maps_dev FILES_MATCHING PATTERN "genfpga_*.h"
  PATTERN "*_walk.h" EXCLUDE PATTERN CMakeFiles EXCLUDE PATTERN generator EXCLUDE PATTERN hw EXCLUDE)
install_exported(TolmiraMaps maps_dev TARGETS ${exportedMaps} DEPENDENCIES TolmiraFrame)
debian_package(maps_dev libtolmira-maps-dev libdevel
  DESCRIPTION
    "register maps of a video switcher frame's FPGA designs (development files)"
    "The registers of five FPGA designs as C++ classes over mapped memory:"
    "headers, static libraries and the CMake package TolmiraMaps."
  RELATIONS SHLIBDEPS OFF DEPENDS "libtolmira-frame-dev (= ${debianVersion})")
