# Defines the object library tovelkarin_<name> of one folder. Its sources see their own folder, the
# folders after SEES, base/, the exported headers and the seam: an include of anything else does not
# compile.
function(tovelkarin_layer name)
  cmake_parse_arguments(PARSE_ARGV 1 layer "" "" "SEES;SOURCES")
  set(view ${CMAKE_BINARY_DIR}/views/${name})
  file(MAKE_DIRECTORY ${view})
  foreach(folder IN ITEMS base ${name} ${layer_SEES})
    if(NOT IS_DIRECTORY ${CMAKE_SOURCE_DIR}/${folder})
      continue() # the layer is a part of a folder that it sees
    endif()
    file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${folder} ${view}/${folder} SYMBOLIC)
  endforeach()
  add_library(tovelkarin_${name} OBJECT ${layer_SOURCES})
  target_include_directories(tovelkarin_${name} PRIVATE ${view} ${CMAKE_SOURCE_DIR}/include)
  target_link_libraries(tovelkarin_${name} PRIVATE tovelkarin_platform)
endfunction()
