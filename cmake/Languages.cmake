# What of the languages in package/Strings stands outside of the window, in the Desktop.properties of each folder: the name that its
# Locale has on a desktop, texts of the desktop entry and of the store page, and, but for English, the summary of each man page.
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
        if(locale STREQUAL en)
            continue()
        endif()
        kelvane_property(${file} ${name}.${section} summary)
        string(REGEX REPLACE "\n${name} \\\\- [^\n]*" "\n${name} \\\\- ${summary}" translated "${content}")
        set(made ${CMAKE_BINARY_DIR}/man/${locale}/${name}.${section})
        file(CONFIGURE OUTPUT ${made} CONTENT "@translated@" @ONLY)
        install(FILES ${made} DESTINATION ${CMAKE_INSTALL_MANDIR}/${locale}/man${section})
    endforeach()
endfunction()

# Sets `variable` to the text of `key` in all languages, a line each: `english`, then `translated` for each other, with LOCALE and
# TEXT replaced.
function(kelvane_texts variable key english translated)
    set(others "")
    foreach(file IN LISTS kelvane_properties)
        kelvane_property(${file} Locale locale)
        kelvane_property(${file} ${key} text)
        if(locale STREQUAL en)
            string(REPLACE TEXT "${text}" first "${english}")
        else()
            string(REPLACE LOCALE ${locale} line "${translated}")
            string(REPLACE TEXT "${text}" line "${line}")
            string(APPEND others "\n${line}")
        endif()
    endforeach()
    set(${variable} "${first}${others}" PARENT_SCOPE)
endfunction()

# The same as lines of a desktop entry, for its key `name`.
function(kelvane_entry_texts variable key name)
    kelvane_texts(lines ${key} "${name}=TEXT" "${name}[LOCALE]=TEXT")
    set(${variable} "${lines}" PARENT_SCOPE)
endfunction()

# The same as elements.
function(kelvane_element_texts variable key indent element)
    kelvane_texts(lines ${key} "${indent}<${element}>TEXT</${element}>" "${indent}<${element} xml:lang=\"LOCALE\">TEXT</${element}>")
    set(${variable} "${lines}" PARENT_SCOPE)
endfunction()
