# Installs files that name the installed programs. They are made when they are installed, because only then the prefix is known:
# cmake --install BUILD --prefix PREFIX.
include(GNUInstallDirs)

# TEMPLATE.in of `folder`, with @CMAKE_INSTALL_FULL_BINDIR@, as TEMPLATE into `destination` below the prefix. A copy by the prefix of
# the configuration lies in the build folder, as ${CMAKE_CURRENT_BINARY_DIR}/TEMPLATE.
function(kelvane_install_configured folder template destination)
    configure_file(${folder}/${template}.in ${CMAKE_CURRENT_BINARY_DIR}/${template} @ONLY)
    install(CODE "
        get_filename_component(prefix \"\${CMAKE_INSTALL_PREFIX}\" ABSOLUTE)
        get_filename_component(CMAKE_INSTALL_FULL_BINDIR \"${CMAKE_INSTALL_BINDIR}\" ABSOLUTE BASE_DIR \"\${prefix}\")
        configure_file(\"${folder}/${template}.in\" \"${CMAKE_CURRENT_BINARY_DIR}/installed/${template}\" @ONLY)
        file(INSTALL \"${CMAKE_CURRENT_BINARY_DIR}/installed/${template}\" DESTINATION \"\${prefix}/${destination}\")")
endfunction()

# cmake --build BUILD --target uninstall
add_custom_target(uninstall
    COMMAND ${CMAKE_COMMAND} -DMANIFEST=${CMAKE_BINARY_DIR}/install_manifest.txt -P ${CMAKE_SOURCE_DIR}/cmake/Uninstall.cmake)
