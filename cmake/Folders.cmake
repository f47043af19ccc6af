# A target for each folder, linked with what the table of docs/structure.md allows it and no more.
set_property(DIRECTORY ${CMAKE_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/docs/structure.md)
file(STRINGS ${CMAKE_SOURCE_DIR}/docs/structure.md kelvane_rows REGEX "^\\| `")

# The target of a folder: kelvane_platform_core for platform/core.
function(kelvane_target_of folder result)
    string(REPLACE "/" "_" name "kelvane_${folder}")
    set(${result} ${name} PARENT_SCOPE)
endfunction()

# Links `target` with the folders that the row of `folder` (or of one file) allows.
function(kelvane_use target scope folder)
    if(kelvane_precompiled)
        target_precompile_headers(${target} REUSE_FROM ${kelvane_precompiled})
    endif()
    foreach(row IN LISTS kelvane_rows)
        if(row MATCHES "^\\| `([^`]+)` \\|([^|]*)\\|" AND CMAKE_MATCH_1 STREQUAL folder)
            string(REGEX MATCHALL "[a-z/]+" used "${CMAKE_MATCH_2}")
            foreach(each IN LISTS used)
                kelvane_target_of(${each} library)
                target_link_libraries(${target} ${scope} ${library})
            endforeach()
            return()
        endif()
    endforeach()
    message(FATAL_ERROR "${folder} has no row in docs/structure.md")
endfunction()

# The library of the current folder. OUTSIDE: libraries of others that it links to.
function(kelvane_folder)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "SOURCES;OUTSIDE")
    file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    kelvane_target_of(${folder} target)
    add_library(${target} STATIC ${arg_SOURCES})
    kelvane_use(${target} PUBLIC ${folder})
    target_link_libraries(${target} PRIVATE ${arg_OUTSIDE})
endfunction()
