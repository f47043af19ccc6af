# What shells read to complete the command line of program `target`, made by the program itself.
function(kelvane_install_completions target)
    set(files ${CMAKE_CURRENT_BINARY_DIR}/completions)
    foreach(shell bash zsh fish)
        add_custom_command(TARGET ${target} POST_BUILD
            COMMAND ${CMAKE_COMMAND} -E make_directory ${files}
            COMMAND $<TARGET_FILE:${target}> --completion ${shell} >${files}/${target}.${shell})
    endforeach()
    install(FILES ${files}/${target}.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${target})
    install(FILES ${files}/${target}.zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions RENAME _${target})
    install(FILES ${files}/${target}.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endfunction()
