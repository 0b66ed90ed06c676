# The manual pages, when they have been built.
install(DIRECTORY ${CMAKE_BINARY_DIR}/docs/build/man/ DESTINATION ${CMAKE_INSTALL_MANDIR} OPTIONAL
        FILES_MATCHING PATTERN "*.[15]")
