# Targets for other programs: TolmiraFrame::NAME for each library of the framework and TolmiraFrame::frame for all
# of them; TolmiraMaps::genfpga_velnor_vp_NAME for the register map of each design and TolmiraMaps::maps for all
# five. The names are the same in the build tree and installed.
#
# Sets exportedFrame and exportedMaps to the targets that are installed.
set(frameFolders logger cpputils thread link memory include platform)

set(exportedFrame usage_flags fixed_position)
foreach(folder IN LISTS frameFolders)
  get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    if(type MATCHES "^(STATIC|INTERFACE)_LIBRARY$")
      list(APPEND libraries ${target})
    endif()
  endforeach()
endforeach()
add_library(frame INTERFACE)
target_link_libraries(frame INTERFACE ${libraries})
list(APPEND exportedFrame frame ${libraries})

get_target_property(exportedMaps genfpga_velnor_vp INTERFACE_LINK_LIBRARIES)
list(APPEND exportedMaps genfpga_velnor_vp)
set_target_properties(genfpga_velnor_vp PROPERTIES EXPORT_NAME maps)

foreach(target IN LISTS exportedFrame)
  add_library(TolmiraFrame::${target} ALIAS ${target})
endforeach()
foreach(target IN LISTS exportedMaps)
  get_target_property(name ${target} EXPORT_NAME)
  if(NOT name)
    set(name ${target})
  endif()
  add_library(TolmiraMaps::${name} ALIAS ${target})
endforeach()
