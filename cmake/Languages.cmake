# What of the languages in package/Strings stands outside of the window. Each folder but the English one has Desktop.properties: the
# name that its Locale has on a desktop, texts of the desktop entry, and the summary of each man page.
file(GLOB kelvane_properties CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/package/Strings/*/Desktop.properties)
set_property(DIRECTORY ${CMAKE_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${kelvane_properties})

# The text of `key`, in which ";" stands as it is.
function(kelvane_property file key result)
    file(READ ${file} content)
    if(NOT "\n${content}" MATCHES "\n${key}=([^\n]*)")
        message(FATAL_ERROR "${file} has no ${key}")
    endif()
    set(${result} "${CMAKE_MATCH_1}" PARENT_SCOPE)
endfunction()

# Installs package/man/NAME.SECTION, and the same page for each language with its summary in that language.
function(kelvane_install_man name section)
    set(page ${CMAKE_SOURCE_DIR}/package/man/${name}.${section})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${page})
    install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
    file(READ ${page} content)
    foreach(file IN LISTS kelvane_properties)
        kelvane_property(${file} Locale locale)
        kelvane_property(${file} ${name}.${section} summary)
        string(REGEX REPLACE "\n${name} \\\\- [^\n]*" "\n${name} \\\\- ${summary}" translated "${content}")
        set(made ${CMAKE_BINARY_DIR}/man/${locale}/${name}.${section})
        file(CONFIGURE OUTPUT ${made} CONTENT "@translated@" @ONLY)
        install(FILES ${made} DESTINATION ${CMAKE_INSTALL_MANDIR}/${locale}/man${section})
    endforeach()
endfunction()

# Writes `made`: the desktop entry `file` with the texts of all languages.
function(kelvane_translate_desktop_entry file made)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    file(READ ${file} content)
    foreach(properties IN LISTS kelvane_properties)
        kelvane_property(${properties} Locale locale)
        foreach(key GenericName Comment Keywords)
            kelvane_property(${properties} ${key} text)
            string(APPEND content "${key}[${locale}]=${text}\n")
        endforeach()
    endforeach()
    file(CONFIGURE OUTPUT ${made} CONTENT "@content@" @ONLY)
endfunction()
