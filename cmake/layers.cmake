# Defines the object library tovelkarin_<name> of a layer, the folder library/<name>, out of all sources
# that lie there. They see base/, their own folder, the layers after SEES, the exported headers of all of
# these (HEADERS are the layer's own), and the seam: an include of anything else does not compile.
function(tovelkarin_layer name)
  cmake_parse_arguments(PARSE_ARGV 1 layer "" "" "SEES;HEADERS")
  set(TOVELKARIN_HEADERS_${name} ${layer_HEADERS} PARENT_SCOPE)
  set(TOVELKARIN_HEADERS_${name} ${layer_HEADERS})
  set(view ${CMAKE_BINARY_DIR}/views/${name})
  file(REMOVE_RECURSE ${view})
  file(MAKE_DIRECTORY ${view}/tovelkarin)
  foreach(folder IN ITEMS ${name} ${layer_SEES})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${folder} ${view}/${folder} SYMBOLIC)
    foreach(header IN LISTS TOVELKARIN_HEADERS_${folder})
      file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/include/tovelkarin/${header} ${view}/tovelkarin/${header}
           SYMBOLIC)
    endforeach()
  endforeach()
  file(GLOB sources CONFIGURE_DEPENDS ${name}/*.cpp)
  add_library(tovelkarin_${name} OBJECT ${sources})
  target_include_directories(tovelkarin_${name} PRIVATE ${view})
  target_link_libraries(tovelkarin_${name} PRIVATE tovelkarin_base tovelkarin_platform)
endfunction()
