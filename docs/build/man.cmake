# The manual pages (target "man"): tovelkarin(1) by the program itself, the file formats out of the
# documents in docs/formats/.
find_program(GO_MD2MAN go-md2man)
find_program(MAN man)
if(NOT GO_MD2MAN OR TOVELKARIN_FUZZ)
  return()
endif()

set(man_folder ${CMAKE_CURRENT_BINARY_DIR}/man) # as it is installed, see cmake/install_man.cmake
file(MAKE_DIRECTORY ${man_folder}/man1 ${man_folder}/man5)
set(man_pages ${man_folder}/man1/tovelkarin.1)
add_custom_command(OUTPUT ${man_pages}
                   COMMAND $<TARGET_FILE:tovelkarin_program> help --man > ${man_pages}
                   DEPENDS tovelkarin_program VERBATIM)

# tovelkarin_page(<page> <document> <what it is>)
function(tovelkarin_page page document what)
  set(source ${CMAKE_SOURCE_DIR}/docs/formats/${document}.md)
  set(target ${man_folder}/man5/tovelkarin-${page}.5)
  add_custom_command(OUTPUT ${target}
                     COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/man_page ${GO_MD2MAN} ${source}
                             tovelkarin-${page} ${what} ${PROJECT_VERSION} > ${target}
                     DEPENDS ${source} ${CMAKE_CURRENT_SOURCE_DIR}/man_page
                             ${CMAKE_CURRENT_SOURCE_DIR}/man_tables.awk
                     VERBATIM)
  set(man_pages ${man_pages} ${target} PARENT_SCOPE)
endfunction()

tovelkarin_page(mutex-table   mutex-table-file    "which operations exclude each other")
tovelkarin_page(timeouts      timeout-file        "how long to wait for the reply to a request")
tovelkarin_page(configuration configuration-files "files that are read at start")
tovelkarin_page(items         item-file           "configuration items, key = value")
tovelkarin_page(language      language-files      "texts that a process shows to its users")
tovelkarin_page(operation-log operation-log       "who did what, in a database")
tovelkarin_page(lists         list-notations      "lists of numbers as text")
tovelkarin_page(backup        backup-string       "a managed object as text")
tovelkarin_page(fdn           fdn                 "the text name of a managed object")
tovelkarin_page(otn           otn-path            "a path through the optical hierarchy as text")
tovelkarin_page(ne            ne-identifier       "NE identifiers as text")
tovelkarin_page(json          json                "what the program prints with --json")
tovelkarin_page(asn           asn-trace           "messages of NEs as files, and their traces")

add_custom_target(man ALL DEPENDS ${man_pages})

if(BUILD_TESTING AND MAN)
  foreach(page IN LISTS man_pages)
    get_filename_component(name ${page} NAME)
    add_test(NAME docs.man.${name} COMMAND ${CMAKE_SOURCE_DIR}/tests/docs/man ${page})
  endforeach()
  add_test(NAME docs.man_commands
           COMMAND ${CMAKE_SOURCE_DIR}/tests/docs/man_commands $<TARGET_FILE:tovelkarin_program>
                   ${man_folder}/man1/tovelkarin.1)
endif()
