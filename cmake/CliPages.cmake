# The manual page and the shell completions of quillmor-cli, made by a program from its table of
# commands, below ${QUILLMOR_SHARE} as they are installed.
set(QUILLMOR_SHARE ${CMAKE_BINARY_DIR}/share)

add_executable(quillmor-cli-pages cli/generate/main.cpp)
target_link_libraries(quillmor-cli-pages PRIVATE quillmor_cli_commands)
set_target_properties(quillmor-cli-pages PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})

set(cli_page_folders man/man1 bash-completion/completions zsh/site-functions fish/vendor_completions.d)
set(cli_page_names quillmor-cli.1 quillmor-cli _quillmor-cli quillmor-cli.fish)
set(cli_page_destinations
  ${CMAKE_INSTALL_MANDIR}/man1
  ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  ${CMAKE_INSTALL_DATADIR}/zsh/site-functions
  ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

set(cli_pages)
foreach(folder name destination IN ZIP_LISTS cli_page_folders cli_page_names cli_page_destinations)
  list(APPEND cli_pages ${QUILLMOR_SHARE}/${folder}/${name})
  install(FILES ${QUILLMOR_SHARE}/${folder}/${name} DESTINATION ${destination})
endforeach()
list(TRANSFORM cli_page_folders PREPEND ${QUILLMOR_SHARE}/)

add_custom_command(
  OUTPUT ${cli_pages}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${cli_page_folders}
  COMMAND quillmor-cli-pages ${QUILLMOR_SHARE}
  DEPENDS quillmor-cli-pages
  COMMENT "Writing the manual page and the completions of quillmor-cli"
  VERBATIM)
add_custom_target(quillmor_cli_pages ALL DEPENDS ${cli_pages})
# Whoever builds the program has them too.
add_dependencies(quillmor-cli quillmor_cli_pages)
