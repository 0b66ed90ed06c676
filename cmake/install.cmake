include(CMakePackageConfigHelpers)

# An installed copy finds its parts from where it stands, so that it can be moved.
foreach(dir IN ITEMS BINDIR DATADIR INCLUDEDIR LIBDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
    message(FATAL_ERROR "CMAKE_INSTALL_${dir} must be relative to the prefix: ${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tovelkarin)

install(DIRECTORY library/include/tovelkarin DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# Linking is what loads the module, also into a process that calls nothing of the library: without this
# "--as-needed", which many distributions pass to the linker, leaves it out. One item, as items of their
# own are reordered. In the .pc file it stands likewise.
target_link_libraries(tovelkarin INTERFACE
  $<INSTALL_INTERFACE:-Wl,--push-state,--no-as-needed,$<TARGET_FILE:tovelkarin::tovelkarin>,--pop-state>)
install(TARGETS tovelkarin EXPORT tovelkarin LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(TOVELKARIN_PLATFORM STREQUAL "embedded")
  install(DIRECTORY platform/include/zemb platform/embedded/include/zemb
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  # Who finds the library finds the platform beside it, wherever the prefix is; and the platform finds
  # the modules beside it that a root names.
  set_target_properties(tovelkarin zembedded PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS zembedded EXPORT tovelkarin LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(DIRECTORY share/asn share/root share/scenarios DESTINATION ${CMAKE_INSTALL_DATADIR}/tovelkarin)
endif()
include(cmake/install_man.cmake)
option(TOVELKARIN_INSTALL_DOCS "install the documents" ON)
if(TOVELKARIN_INSTALL_DOCS)
  install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
  install(DIRECTORY docs/guide docs/formats docs/design DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
endif()
install(EXPORT tovelkarin NAMESPACE tovelkarin:: FILE tovelkarinTargets.cmake
        DESTINATION ${package_dir})

configure_package_config_file(cmake/tovelkarinConfig.cmake.in
                              ${CMAKE_BINARY_DIR}/tovelkarinConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/tovelkarinConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
# Relative to where the file ends up, so that any prefix works.
file(RELATIVE_PATH PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
if(TOVELKARIN_PLATFORM STREQUAL "embedded")
  set(PC_PLATFORM_LIBRARY -lzembedded)
endif()
configure_file(cmake/tovelkarin.pc.in ${CMAKE_BINARY_DIR}/tovelkarin.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/tovelkarinConfig.cmake
              ${CMAKE_BINARY_DIR}/tovelkarinConfigVersion.cmake
        DESTINATION ${package_dir})
install(FILES ${CMAKE_BINARY_DIR}/tovelkarin.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
